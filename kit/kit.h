// The kit as the rest of the library calls it: the chosen kernels as inline functions, for bytes and for RQChar.
//
// Buffers may lie at any address. Every function reads and writes only the counted units, and a count of 0 touches no
// memory. Input and output must not overlap unless stated. frame/kit_exports.h declares what hosts call.
#ifndef RQUNI_KIT_KIT_H
#define RQUNI_KIT_KIT_H

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "frame/types.h"
#include "kit/ascii.h"
#include "kit/simd/copy.h"
#include "kit/simd/kernels.h"

namespace rq::kit {

template <class U>
concept Unit = std::same_as<U, std::uint8_t> || std::same_as<U, RQChar>;

/// A unit's value. Does not take part in deducing the unit.
template <class U>
using Value = std::type_identity_t<U>;

template <Unit U>
inline const simd::UnitKernels<U>& kernelsOf() {
  if constexpr (sizeof(U) == 1)
    return simd::active.bytes;
  else
    return simd::active.units;
}

/// Calls the kernel for `n` units. The hint keeps the compiler from one jump to either kernel, which the processor
/// could not predict.
template <class U, class Result, class... Args>
inline Result call(const simd::ShortAndLong<Result(Args...)>& kernels, std::uint64_t n,
                   std::type_identity_t<Args>... args) {
  if (n > simd::maxShortBytes / sizeof(U)) [[unlikely]]
    return kernels.longOnes(args...);
  return kernels.shortOnes(args...);
}

/// The index of the first unit that equals (findFirst) or differs from (findNot) `c`, or -1. Bytes compare with the
/// low 8 bits of `c`.
template <Unit U>
inline std::int64_t findFirst(const U* p, std::uint64_t n, RQChar c) {
  if (n == 0) return -1;
  return call<U>(kernelsOf<U>().findFirst, n, p, n, c);
}
template <Unit U>
inline std::int64_t findNot(const U* p, std::uint64_t n, RQChar c) {
  if (n == 0) return -1;
  return call<U>(kernelsOf<U>().findNot, n, p, n, c);
}

/// 1 when every unit equals `c`, of bytes the low 8 bits, else 0.
template <Unit U>
inline std::int32_t allEqual(RQChar c, const U* p, std::uint64_t n) {
  if (n == 0) return 1;
  return call<U>(kernelsOf<U>().allEqual, n, c, p, n);
}

/// Up to this count of bytes a jump to the chosen kernel costs more than it gains.
constexpr std::uint64_t maxInlineBytes = 64;

template <Unit U>
inline void fill(U* p, Value<U> c, std::uint64_t n) {
  if (n > maxInlineBytes / sizeof(U)) [[unlikely]]
    return kernelsOf<U>().fill(p, c, n);
  simd::fillUpTo64<U>(p, c, n);
}

/// The index of the first difference, or -1.
template <Unit U>
inline std::int64_t mismatch(const U* a, const U* b, std::uint64_t n) {
  return kernelsOf<U>().mismatch(a, b, n);
}

/// -1, 0 or 1 by the first difference. The sign of the difference modulo 2^32 decides, which is not the order of
/// units 2^31 or more apart. Kept: hosts depend on it.
template <Unit U>
inline std::int32_t compare(const U* a, const U* b, std::uint64_t n) {
  if (n == 0) return 0;
  return call<U>(kernelsOf<U>().compare, n, a, b, n);
}

/// The number of units before the zero that ends `s`.
template <Unit U>
inline std::uint64_t length(const U* s) {
  return kernelsOf<U>().length(s);
}

/// Copies `s` and the zero that ends it, and writes nothing behind that.
template <Unit U>
inline void copyTerminated(const U* s, U* d) {
  kernelsOf<U>().copyTerminated(s, d);
}

/// The number of leading units below U+0080.
template <Unit U>
inline std::uint64_t asciiPrefix(const U* p, std::uint64_t n) {
  return kernelsOf<U>().asciiPrefix(p, n);
}

/// Copies units up to, not including, the first `first` before a unit whose bits under `keep` are `second`. Returns
/// the number of units copied, n if there is no such pair; writes exactly those.
template <Unit U>
inline std::uint64_t copyUntilPair(const U* in, std::uint64_t n, U* out, Value<U> first, Value<U> second,
                                   Value<U> keep) {
  return kernelsOf<U>().copyUntilPair(in, n, out, first, second, keep);
}

/// listPairs may write so many numbers behind the last place.
constexpr std::uint64_t maxPairsBehind = 12;
/// Lists the places in p[0, n) where such a pair begins and returns their number. n is a multiple of 64; p[n] is read
/// as well.
template <Unit U>
inline std::uint64_t listPairs(const U* p, std::uint64_t n, Value<U> first, Value<U> second, Value<U> keep,
                               std::uint16_t* places) {
  return kernelsOf<U>().listPairs(p, n, first, second, keep, places);
}

/// Copies units up to, not including, the first that is `stop` or, compared unsigned, not below `bound`. Returns the
/// number of units copied; writes exactly those. From RQChar to bytes `bound` must not exceed 0x100.
template <Unit U>
inline std::uint64_t copyWhileBelow(const U* in, std::uint64_t n, U* out, Value<U> stop, Value<U> bound) {
  return kernelsOf<U>().copyWhileBelow(in, n, out, stop, bound);
}
inline std::uint64_t copyWhileBelow(const RQChar* in, std::uint64_t n, std::uint8_t* out, RQChar stop, RQChar bound) {
  return simd::active.narrowWhileBelow(in, n, out, stop, bound);
}

/// Copies bytes up to, not including, the first that is not in `set`. Returns their number; writes exactly those.
inline std::uint64_t copyMembers(const std::uint8_t* in, std::uint64_t n, std::uint8_t* out, const AsciiSet& set) {
  return simd::active.copyMembers(in, n, out, set);
}

/// How many characters narrowMembers() takes.
constexpr std::uint64_t memberBlock = 64;
/// One bit for each character of a block, the first lowest, that is in `set`. Also stores the characters as bytes:
/// one above 0xFF becomes 0xFF.
inline std::uint64_t narrowMembers(const RQChar* in, std::uint8_t* out, const AsciiSet& set) {
  return simd::active.narrowMembers(in, out, set);
}

/// Copies whole such blocks while all characters are in `set`. Returns the number of characters.
inline std::uint64_t copyMemberBlocks(const RQChar* in, std::uint64_t n, RQChar* out, const AsciiSet& set) {
  return simd::active.copyMemberBlocks(in, n, out, set);
}
inline std::uint64_t copyMemberBlocks(const RQChar* in, std::uint64_t n, std::uint8_t* out, const AsciiSet& set) {
  return simd::active.narrowMemberBlocks(in, n, out, set);
}

/// 1 when one of `n` doubles, given as their bits, is a NaN, else 0.
inline std::int32_t anyNaN(const std::uint64_t* array, std::uint64_t n) {
  if (n == 0) return 0;
  return call<std::uint64_t>(simd::active.anyNaN, n, array, n);
}

/// Maps ASCII letters in place.
inline void upperAscii(std::uint8_t* p, std::uint64_t n) {
  simd::active.upperAscii(p, n);
}
inline void lowerAscii(std::uint8_t* p, std::uint64_t n) {
  simd::active.lowerAscii(p, n);
}

/// Copies `n` bytes strictly forwards: if d lies inside the source, the bytes before d repeat. Returns d.
inline void* copyForward(const void* s, void* d, std::uint64_t n) {
  const auto* const from = static_cast<const std::uint8_t*>(s);
  auto* const to = static_cast<std::uint8_t*>(d);
  if (n <= maxInlineBytes && !simd::beginsInside(from, to, n)) return simd::moveUpTo64(from, to, n), d;
  return simd::active.copyForward(from, to, n);
}
/// Copies `n` bytes as if through a temporary buffer, however the ranges overlap.
inline void copySafe(const void* s, void* d, std::uint64_t n) {
  const auto* const from = static_cast<const std::uint8_t*>(s);
  auto* const to = static_cast<std::uint8_t*>(d);
  n <= maxInlineBytes ? simd::moveUpTo64(from, to, n) : simd::active.copySafe(from, to, n);
}

constexpr RQChar blank = 0x20;

/// The count without the blanks at the end.
inline std::uint64_t trimBlanks(const RQChar* p, std::uint64_t n) {
  return simd::active.trim(p, n, blank);
}

/// The number of characters that take two columns (kit/simd/wide_ranges.h).
inline std::uint64_t countWide(const RQChar* p, std::uint64_t n) {
  return simd::active.countWide(p, n);
}

}  // namespace rq::kit

#endif
