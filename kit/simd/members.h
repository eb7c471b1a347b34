// Which of 64 characters are in a set, as the bits of a word.
#ifndef RQUNI_KIT_SIMD_MEMBERS_H
#define RQUNI_KIT_SIMD_MEMBERS_H

#include "kit/simd/copy.h"

namespace rq::kit::simd {
namespace {

/// Also stores the characters as bytes, one above 0xFF as 0xFF.
template <class V>
std::uint64_t narrowMembers(const RQChar* in, Byte* out, const AsciiSet& set) {
  std::uint64_t bits = 0;
  for (std::uint64_t i = 0; i < 64; i += 16) {
    const auto narrow = V::loadNarrow16(in + i);
    narrow.store(out + i);
    bits |= narrow.isIn(set).bits() << i;
  }
  return bits;
}

}  // namespace
}  // namespace rq::kit::simd

#endif
