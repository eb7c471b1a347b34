// The number of characters that take two columns.
#ifndef RQUNI_KIT_SIMD_WIDTH_H
#define RQUNI_KIT_SIMD_WIDTH_H

#include <type_traits>

#include "kit/simd/find.h"
#include "kit/simd/wide_ranges.h"

namespace rq::kit::simd {
namespace {

/// The lanes of `v` in the intervals First to Last - 1.
template <const WideIntervals& intervals, unsigned First, unsigned Last, class V>
RQ_INLINE auto inIntervals(V v) {
  constexpr WideRange range = intervals.interval[First];
  using U = typename V::Lane;
  const auto mask = v.within(static_cast<U>(range.first), static_cast<U>(range.last - range.first + 1));
  if constexpr (First + 1 == Last)
    return mask;
  else
    return mask | inIntervals<intervals, First + 1, Last>(v);
}
/// The lanes that are wide, and the same for lanes below U+10000.
template <class V>
RQ_INLINE auto inAll(V v) {
  return inIntervals<wideIntervals, 0, wideIntervals.count>(v);
}
template <class V>
RQ_INLINE auto inPlane0(V v) {
  return inIntervals<wideIntervals, 0, wideIntervals.inPlane0>(v);
}

/// The number of wide characters of four vectors, all below U+10000. Most rows are wide as a whole or not at all, and
/// their numbers are bytes: a quarter of the lanes to test.
template <class V>
RQ_INLINE std::uint64_t countInPlane0(V a, V b, V c, V d) {
  const auto rows = V::highBytes(a, b, c, d);
  using Rows = std::remove_const_t<decltype(rows)>;
  const auto isPart = [=](unsigned i) { return Rows::equal(rows, Rows::splat(wideRows.part[i])); };
  static_assert(wideRows.partCount == 2);
  if (!(isPart(0) | isPart(1)).any()) return inIntervals<wholeRows, 0, wholeRows.count>(rows).count();
  return inPlane0(V::narrow(a, b)).count() + inPlane0(V::narrow(c, d)).count();
}

/// The wide characters of one vector, as bits. Most text has none.
template <class V>
RQ_INLINE std::uint64_t wideBits(V v) {
  if (!V::lessEqual(V::splat(wideRanges[0].first), v).any()) return 0;
  if (!V::lessEqual(V::splat(firstOfPlane1), v).any()) return inPlane0(v).bits();
  return inAll(v).bits();
}

template <class V>
std::uint64_t countWide(const RQChar* p, std::uint64_t n) {
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
      count += countInPlane0(a, b, c, d);
    } else {
      count += inAll(a).count() + inAll(b).count() + inAll(c).count() + inAll(d).count();
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
