// The places of all pairs in a text: one pass without a branch that depends on where they are.
#ifndef RQUNI_KIT_SIMD_PAIRS_H
#define RQUNI_KIT_SIMD_PAIRS_H

#include "kit/simd/find.h"

namespace rq::kit::simd {
namespace {

/// Lists the places in p[0, n) where `first` is followed by a unit that equals `second` in the bits of `keep`, and
/// returns their number. n is a multiple of 64; p[n] is read. Writes up to 12 numbers behind the last place.
template <class V, class U = typename V::Lane>
std::uint64_t listPairs(const U* p, std::uint64_t n, U first, U second, U keep, std::uint16_t* places) {
  const V firsts = V::splat(first), seconds = V::splat(second), kept = V::splat(keep);
  std::uint16_t* end = places;
  for (std::uint64_t i = 0; i < n; i += 64) {
    std::uint64_t bits = 0;
    for (std::uint64_t k = 0; k < 64; k += V::lanes) {
      const auto pairs = V::equal(V::load(p + i + k), firsts) & V::equal(V::load(p + i + k + 1) & kept, seconds);
      bits |= pairs.bits() << k;
    }
    const std::uint64_t count = countBits(bits);
    constexpr std::uint64_t last = std::uint64_t{1} << 63;  // there must be a bit to find
    const auto next = [&](std::uint64_t k) {
      end[k] = static_cast<std::uint16_t>(i + firstBit(bits | last));
      bits &= bits - 1;
    };
    for (std::uint64_t k = 0; k < 4; ++k) next(k);
    if (count > 4)
      for (std::uint64_t k = 4; k < 12; ++k) next(k);
    for (std::uint64_t k = 12; k < count; ++k) next(k);
    end += count;
  }
  return static_cast<std::uint64_t>(end - places);
}

}  // namespace
}  // namespace rq::kit::simd

#endif
