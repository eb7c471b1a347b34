// Characters of a set, 64 at a time: which they are, as the bits of a word, and a copy of them.
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

/// Copies whole blocks of 64 characters while all of a block are in `set`. Returns the number of characters.
template <class V, class Out>
std::uint64_t copyMemberBlocks(const RQChar* in, std::uint64_t n, Out* out, const AsciiSet& set) {
  std::uint64_t i = 0;
  for (; n - i >= 64; i += 64) {
    const auto narrow = [=](std::uint64_t k) { return V::loadNarrow16(in + i + 16 * k); };
    const auto a = narrow(0), b = narrow(1), c = narrow(2), d = narrow(3);
    if ((~((a.isIn(set) & b.isIn(set)) & (c.isIn(set) & d.isIn(set)))).any()) break;
    if constexpr (sizeof(Out) > 1) {
      for (std::uint64_t k = 0; k < 64; k += V::lanes) V::load(in + i + k).store(out + i + k);
    } else {
      a.store(out + i);
      b.store(out + i + 16);
      c.store(out + i + 32);
      d.store(out + i + 48);
    }
  }
  return i;
}

}  // namespace
}  // namespace rq::kit::simd

#endif
