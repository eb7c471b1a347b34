// From here on the library's words are symbolic. Include everything of others before.
#ifndef RQUNI_PROOF_SYMBOLIC_BEGIN_H
#define RQUNI_PROOF_SYMBOLIC_BEGIN_H

#include <string_view>

#include "immintrin.h"
#include "symbolic/words.h"

using RqUnsigned64 = rq::proof::Word<unsigned long>;
using RqSigned64 = rq::proof::Word<long>;
using RqUnsigned32 = rq::proof::Word<unsigned>;
using RqSigned32 = rq::proof::Word<int>;
namespace std {
using ::RqSigned32;
using ::RqSigned64;
using ::RqUnsigned32;
using ::RqUnsigned64;
}  // namespace std
#define uint64_t RqUnsigned64
#define int64_t RqSigned64
#define uint32_t RqUnsigned32
#define int32_t RqSigned32

#define static_cast rq::proof::cast
#define reinterpret_cast rq::proof::reinterpret
// A statement without instructions only hides a value from the optimizer.
#define asm(...) static_assert(std::string_view(#__VA_ARGS__).starts_with("\"\" :"), "it computes something")
#define __builtin_ctzll rq::proof::countTrailingZeros
#define __builtin_clzll rq::proof::countLeadingZeros
#define __builtin_popcountll rq::proof::countOnes

#endif
