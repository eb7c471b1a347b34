// The number of characters that take two columns.
#ifndef RQUNI_KIT_SIMD_WIDTH_H
#define RQUNI_KIT_SIMD_WIDTH_H

#include "kit/simd/find.h"
#include "kit/simd/wide_ranges.h"

namespace rq::kit::simd {
namespace {

/// The lanes of `v` in the intervals First to Last - 1.
template <unsigned First, unsigned Last, class V>
RQ_INLINE auto inIntervals(V v) {
  constexpr WideRange range = wideIntervals.interval[First];
  using U = typename V::Lane;
  const auto mask = v.within(static_cast<U>(range.first), static_cast<U>(range.last - range.first + 1));
  if constexpr (First + 1 == Last)
    return mask;
  else
    return mask | inIntervals<First + 1, Last>(v);
}

/// The wide characters of one vector, as bits. Most text has none.
template <class V>
RQ_INLINE std::uint64_t wideBits(V v) {
  if (!V::lessEqual(V::splat(wideRanges[0].first), v).any()) return 0;
  if (!V::lessEqual(V::splat(firstOfPlane1), v).any()) return inIntervals<0, wideIntervals.inPlane0>(v).bits();
  return inIntervals<0, wideIntervals.count>(v).bits();
}

template <class V>
std::uint64_t countWide(const RQChar* p, std::uint64_t n) {
  constexpr unsigned all = wideIntervals.count, inPlane0 = wideIntervals.inPlane0;
  if (n < V::lanes) {
    if constexpr (LoadsPartial<V>)
      return n == 0 ? 0 : countBits(wideBits(V::loadPartial(p, n)));  // the zeros behind them are narrow
    else
      return countWide<typename V::Half>(p, n);
  }
  const V firstWide = V::splat(wideRanges[0].first), plane1 = V::splat(firstOfPlane1);
  std::uint64_t i = 0, count = 0;
  for (; n - i >= 4 * V::lanes; i += 4 * V::lanes) {
    const V a = V::load(p + i), b = V::load(p + i + V::lanes);
    const V c = V::load(p + i + 2 * V::lanes), d = V::load(p + i + 3 * V::lanes);
    const V joined = (a | b) | (c | d);  // no lane is less than the greatest of the four
    if (!V::lessEqual(firstWide, joined).any()) continue;
    if (!V::lessEqual(plane1, joined).any()) {
      count += inIntervals<0, inPlane0>(V::narrow(a, b)).count() + inIntervals<0, inPlane0>(V::narrow(c, d)).count();
    } else {
      count += inIntervals<0, all>(a).count() + inIntervals<0, all>(b).count();
      count += inIntervals<0, all>(c).count() + inIntervals<0, all>(d).count();
    }
  }
  for (; n - i >= V::lanes; i += V::lanes) count += countBits(wideBits(V::load(p + i)));
  if (i == n) return count;
  const std::uint64_t counted = V::lanes - (n - i);  // lanes that the last vector shares with the one before
  return count + countBits(wideBits(V::load(p + n - V::lanes)) >> counted);
}

}  // namespace
}  // namespace rq::kit::simd

#endif
