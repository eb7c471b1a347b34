// Kernels that know characters: copies up to a character, case, width.
#ifndef RQUNI_KIT_SIMD_TEXT_H
#define RQUNI_KIT_SIMD_TEXT_H

#include "kit/casemap/case_map.h"
#include "kit/simd/copy.h"
#include "kit/simd/find.h"
#include "kit/simd/wide_ranges.h"

namespace rq::kit::simd {
namespace {

template <class V>
RQ_INLINE void put(V v, typename V::Lane* out) {
  v.store(out);
}
template <class V>
requires(V::bytes > V::lanes) RQ_INLINE void put(V v, std::uint8_t* out) {
  v.storeNarrowed(out);
}

/// Copies fewer than V::lanes units, exactly; bytes from RQChar must be below 0x100.
template <class V, class Out>
RQ_INLINE void copyFewUnits(const typename V::Lane* in, Out* out, std::uint64_t n) {
  static_assert(V::bytes <= 2 * Vector16<Byte>::bytes || sizeof(Out) < sizeof(typename V::Lane));
  if constexpr (sizeof(Out) == sizeof(typename V::Lane))
    moveShort<Vector16<Byte>>(reinterpret_cast<const Byte*>(in), reinterpret_cast<Byte*>(out), n * sizeof(Out));
  else
    for (std::uint64_t i = 0; i < n; ++i) out[i] = static_cast<Out>(loadUnit<typename V::Lane>(in + i));
}

/// Copies `s` and the zero that ends it in one pass. Reads as terminatedLength does; writes nothing behind the zero.
template <template <class> class Vector, class U>
RQ_READS_WHOLE_VECTORS void copyTerminated(const U* s, U* d) {
  using V = Vector<U>;
  const auto address = reinterpret_cast<std::uintptr_t>(s);
  if (address % sizeof(U)) {  // vectors of such units cannot be aligned
    for (U c = 1; c; ++s, ++d) storeUnit(d, c = loadUnit<U>(s));
    return;
  }
  const V zero = V::splat(0);
  const auto zeros = [=](V v) { return V::equal(v, zero); };
  const auto copyShort = [=](std::uint64_t n) {
    moveShort<Vector<Byte>>(reinterpret_cast<const Byte*>(s), reinterpret_cast<Byte*>(d), n * sizeof(U));
  };
  const std::uint64_t before = address % V::bytes / sizeof(U);
  if (const std::uint64_t bits = zeros(V::load(s - before)).bits() >> before) return copyShort(firstBit(bits) + 1);
  std::uint64_t i = V::lanes - before;
  if (const std::uint64_t bits = zeros(V::load(s + i)).bits()) return copyShort(i + firstBit(bits) + 1);
  V::load(s).store(d);
  for (;; i += V::lanes) {
    // Four vectors at a time are within a page as well, if they are aligned together.
    while (reinterpret_cast<std::uintptr_t>(s + i) % (4 * V::bytes) == 0) {
      const V a = V::load(s + i), b = V::load(s + i + V::lanes);
      const V c = V::load(s + i + 2 * V::lanes), e = V::load(s + i + 3 * V::lanes);
      if (V::anyZero(a, b, c, e)) break;
      a.store(d + i);
      b.store(d + i + V::lanes);
      c.store(d + i + 2 * V::lanes);
      e.store(d + i + 3 * V::lanes);
      i += 4 * V::lanes;
    }
    const V v = V::load(s + i);
    if (const std::uint64_t bits = zeros(v).bits()) {
      const std::uint64_t last = i + firstBit(bits) + 1 - V::lanes;
      return V::load(s + last).store(d + last);
    }
    v.store(d + i);
  }
}

/// Copies units up to the first that `Stop<V>` hits and returns their number. Nothing behind them is written.
/// A stop looks quickly at vectors that it is given (what it misses there, it does not hit), then exactly at those
/// behind which another unit follows, and at last at one that ends the text.
template <template <class> class Stop, class V, class Out, class... Args>
RQ_INLINE std::uint64_t copyUntil(const typename V::Lane* in, std::uint64_t n, Out* out, Args... args) {
  if (n < V::lanes) {
    if constexpr (LoadsParts<V>) {
      if (n == 0) return 0;
      const std::uint64_t bits = Stop<V>(args...).last(V::loadPart(in, n), n) & lowBits(n);
      const std::uint64_t copied = bits ? firstBit(bits) : n;
      copyFewUnits<V>(in, out, copied);
      return copied;
    } else {
      return copyUntil<Stop, typename V::Half>(in, n, out, args...);
    }
  }
  const Stop<V> stop(args...);
  const auto finish = [=](std::uint64_t copied) {  // all but at most the last vector is there already
    if (copied >= V::lanes)
      put(V::load(in + copied - V::lanes), out + copied - V::lanes);
    else
      copyFewUnits<V>(in, out, copied);
    return copied;
  };
  std::uint64_t i = 0;
  for (; n - i > 4 * V::lanes; i += 4 * V::lanes) {
    const V a = V::load(in + i), b = V::load(in + i + V::lanes);
    const V c = V::load(in + i + 2 * V::lanes), d = V::load(in + i + 3 * V::lanes);
    if (((stop.quick(a) | stop.quick(b)) | (stop.quick(c) | stop.quick(d))).any()) {
      const auto at = [=](std::uint64_t k) { return stop.exact(in + i + k * V::lanes); };
      if (((at(0) | at(1)) | (at(2) | at(3))).any()) break;
    }
    put(a, out + i);
    put(b, out + i + V::lanes);
    put(c, out + i + 2 * V::lanes);
    put(d, out + i + 3 * V::lanes);
  }
  for (; n - i > V::lanes; i += V::lanes) {
    if (const std::uint64_t bits = stop.exact(in + i).bits()) return finish(i + firstBit(bits));
    put(V::load(in + i), out + i);
  }
  const std::uint64_t bits = stop.last(V::load(in + n - V::lanes), V::lanes);
  return finish(bits ? n - V::lanes + firstBit(bits) : n);
}

/// Stops at `first` followed by a unit that is `second` in the bits of `keep`.
template <class V>
struct Pair {
  using Lane = typename V::Lane;
  V first, second, keep;
  RQ_INLINE Pair(Lane a, Lane b, Lane mask) : first(V::splat(a)), second(V::splat(b)), keep(V::splat(mask)) {}
  RQ_INLINE auto quick(V v) const { return V::equal(v, first); }
  RQ_INLINE auto exact(const Lane* p) const {
    return V::equal(V::load(p), first) & V::equal(V::load(p + 1) & keep, second);
  }
  RQ_INLINE std::uint64_t last(V v, std::uint64_t n) const {
    return V::equal(v, first).bits() & (V::equal(v & keep, second).bits() & lowBits(n)) >> 1;
  }
};

/// Stops at `stop` and at units from `bound` up.
template <class V>
struct StopOrBound {
  using Lane = typename V::Lane;
  V stop, bound;
  RQ_INLINE StopOrBound(Lane a, Lane b) : stop(V::splat(a)), bound(V::splat(b)) {}
  RQ_INLINE auto quick(V v) const { return V::equal(v, stop) | V::atMost(bound, v); }
  RQ_INLINE auto exact(const Lane* p) const { return quick(V::load(p)); }
  RQ_INLINE std::uint64_t last(V v, std::uint64_t) const { return quick(v).bits(); }
};

/// Stops at bytes that are not in a set.
template <class V>
struct NoMember {
  const AsciiSet* set;
  RQ_INLINE explicit NoMember(const AsciiSet* members) : set(members) {}
  RQ_INLINE auto quick(V v) const { return ~v.in(*set); }
  RQ_INLINE auto exact(const Byte* p) const { return quick(V::load(p)); }
  RQ_INLINE std::uint64_t last(V v, std::uint64_t) const { return quick(v).bits(); }
};

template <class V, class U = typename V::Lane>
std::uint64_t copyUntilPair(const U* in, std::uint64_t n, U* out, U first, U second, U keep) {
  return copyUntil<Pair, V>(in, n, out, first, second, keep);
}

template <class V, class Out, class U = typename V::Lane>
std::uint64_t copyWhileBelow(const U* in, std::uint64_t n, Out* out, U stop, U bound) {
  return copyUntil<StopOrBound, V>(in, n, out, stop, bound);
}

template <class V>
std::uint64_t copyMembers(const Byte* in, std::uint64_t n, Byte* out, const AsciiSet& set) {
  return copyUntil<NoMember, V>(in, n, out, &set);
}

/// The other case of the 26 ASCII letters from `first` on.
template <class U, U first>
struct FlipAscii {
  template <class V>
  RQ_INLINE V operator()(V v) const {
    return v ^ V::where(v.within(first, 26), V::splat(0x20));
  }
  template <class V>
  RQ_INLINE void four(V& a, V& b, V& c, V& d) const {
    a = (*this)(a), b = (*this)(b), c = (*this)(c), d = (*this)(d);
  }
};

template <class V, std::uint8_t first>
void flipAscii(std::uint8_t* p, std::uint64_t n) {
  map<V>(p, p, n, FlipAscii<std::uint8_t, first>{});
}

/// A case map applied to vectors. Most need no table: ASCII is arithmetic, characters in the map's gap or beyond the
/// BMP stay. The others are nearly always in one block or two, so that shifts alone are looked up.
struct MapCase {
  CaseMap map;  // a copy, which no store into the text can change

  /// Of characters whose bits are joined here: ascii() is right for all of them. The first test, for most text.
  template <class V>
  RQ_INLINE bool needsNoTable(V joined) const {
    return !V::atMost(V::splat(map.asciiLast + 1), joined).any();
  }
  /// Right for characters that need no table; leaves the others.
  template <class V>
  RQ_INLINE V ascii(V c) const {
    return c ^ V::where(V::atMost(c + V::splat(0 - map.asciiFirst), V::splat(25)), V::splat(map.asciiFlip));
  }
  /// The characters on either side of the gap.
  template <class V>
  RQ_INLINE auto tabled(V c) const {
    const RQChar first = map.asciiLast + 1;
    return V::atMost(c + V::splat(0 - first), V::splat(map.gapFirst - first - 1)) |
           V::atMost(c + V::splat(0 - map.gapEnd), V::splat(0xFFFF - map.gapEnd));
  }
  template <class V>
  RQ_INLINE V operator()(V c) const {
    V all[] = {c};
    mapAll(all);
    return all[0];
  }
  template <class V, std::size_t count>
  RQ_INLINE void mapAll(V (&c)[count]) const {
    if constexpr (V::looksUpQuickly)
      mapByBlocks(c);
    else
      for (V& v : c) v = mapByGathering(v);
  }
  template <class V>
  RQ_INLINE V mapByGathering(V c) const {
    const auto hits = tabled(c);
    const V result = ascii(c);
    if (!hits.any()) return result;
    const V blocks = c.blocks(), low = c & V::splat(0x7F);
    const RQChar block = c.first(hits) >> 7;
    if ((hits & ~V::equal(blocks, V::splat(block))).any()) return result + gathered(hits, blocks, low);
    const std::int32_t start = map.meta[block];
    return start < 0 ? result : result + V::lookUp(map.shift + start, low, hits);
  }
  /// Maps all vectors block by block: text keeps to few blocks, and one's shifts are loaded once for all vectors.
  template <class V, std::size_t count>
  RQ_INLINE void mapByBlocks(V (&c)[count]) const {
    typename V::Hits left[count];
    V mapped[count];
    for (std::size_t i = 0; i < count; ++i) left[i] = tabled(c[i]), mapped[i] = ascii(c[i]);
    for (;;) {
      V next = c[0];
      typename V::Hits hits = left[0];
      for (std::size_t i = 1; i < count; ++i)
        if (!hits.any()) next = c[i], hits = left[i];
      if (!hits.any()) break;
      const RQChar block = next.first(hits) >> 7;
      const std::int32_t start = map.meta[block];
      for (std::size_t i = 0; i < count; ++i) {
        const auto here = left[i] & V::equal(c[i].blocks(), V::splat(block));
        if (start >= 0) mapped[i] = mapped[i] + V::lookUp(map.shift + start, c[i], here);
        left[i] = left[i] & ~here;
      }
    }
    for (std::size_t i = 0; i < count; ++i) c[i] = mapped[i];
  }
  /// The shifts of characters in several blocks.
  template <class V>
  RQ_INLINE V gathered(typename V::Hits hits, V blocks, V low) const {
    const V starts = V::gather(map.meta, blocks, hits, V::splat(~RQChar{0}));
    return V::gather(map.shift, starts + low, V::atMost(starts, V::splat(INT32_MAX)), V::splat(0));
  }
  template <class V>
  RQ_INLINE void four(V& a, V& b, V& c, V& d) const {
    if (needsNoTable((a | b) | (c | d))) {
      a = ascii(a), b = ascii(b), c = ascii(c), d = ascii(d);
    } else {
      V all[] = {a, b, c, d};
      mapAll(all);
      a = all[0], b = all[1], c = all[2], d = all[3];
    }
  }
  /// The lanes that differ when `count` vectors from either text are mapped, as bits.
  template <class V, std::size_t count>
  RQ_INLINE std::uint64_t differences(const RQChar* a, const RQChar* b) const {
    V both[2 * count], joined = V::splat(0);
    for (std::size_t k = 0; k < count; ++k) {
      both[k] = V::load(a + k * V::lanes), both[count + k] = V::load(b + k * V::lanes);
      joined = joined | (both[k] | both[count + k]);
    }
    if (needsNoTable(joined))
      for (V& v : both) v = ascii(v);
    else
      mapAll(both);
    std::uint64_t bits = 0;
    for (std::size_t k = 0; k < count; ++k) bits |= (both[k] ^ both[count + k]).bits() << (k * V::lanes);
    return bits;
  }
};

template <class V>
void mapCase(RQChar* p, std::uint64_t n, const CaseMap& caseMap) {
  map<V>(p, p, n, MapCase{caseMap});
}

/// Do `count` vectors differ?
template <class V, std::size_t count>
RQ_INLINE bool anyDiffers(const RQChar* a, const RQChar* b) {
  V different = V::load(a) ^ V::load(b);
  for (std::size_t k = 1; k < count; ++k)
    different = different | (V::load(a + k * V::lanes) ^ V::load(b + k * V::lanes));
  return different.any();
}

/// The first index at which two texts differ when both are mapped, or -1.
template <class V>
std::int64_t mappedMismatch(const RQChar* a, const RQChar* b, std::uint64_t n, const CaseMap& caseMap) {
  if (n < V::lanes) {
    if constexpr (requires { typename V::Half; }) {
      return mappedMismatch<typename V::Half>(a, b, n, caseMap);
    } else {
      for (std::uint64_t i = 0; i < n; ++i)
        if (caseMap(loadUnit<RQChar>(a + i)) != caseMap(loadUnit<RQChar>(b + i))) return static_cast<std::int64_t>(i);
      return -1;
    }
  }
  const MapCase mapped{caseMap};
  std::uint64_t i = 0;
  const auto found = [&](std::uint64_t bits) { return static_cast<std::int64_t>(i + firstBit(bits)); };
  for (; n - i > 4 * V::lanes; i += 4 * V::lanes)
    if (anyDiffers<V, 4>(a + i, b + i))
      if (const std::uint64_t bits = mapped.differences<V, 4>(a + i, b + i)) return found(bits);
  for (; n - i > V::lanes; i += V::lanes)
    if (anyDiffers<V, 1>(a + i, b + i))
      if (const std::uint64_t bits = mapped.differences<V, 1>(a + i, b + i)) return found(bits);
  i = n - V::lanes;
  if (!anyDiffers<V, 1>(a + i, b + i)) return -1;
  const std::uint64_t bits = mapped.differences<V, 1>(a + i, b + i);
  return bits ? found(bits) : -1;
}

/// The lanes of `v` in the intervals First to Last - 1.
template <unsigned First, unsigned Last, class V>
RQ_INLINE auto inIntervals(V v) {
  constexpr WideRange range = wideIntervals.interval[First];
  using U = typename V::Lane;
  const auto hits = v.within(static_cast<U>(range.first), static_cast<U>(range.last - range.first + 1));
  if constexpr (First + 1 == Last)
    return hits;
  else
    return hits | inIntervals<First + 1, Last>(v);
}

/// The wide characters among those of one vector, as bits. Most text has none.
template <class V>
RQ_INLINE std::uint64_t wideBits(V v) {
  if (!V::atMost(V::splat(wideRanges[0].first), v).any()) return 0;
  return inIntervals<0, wideIntervals.count>(v).bits();
}

template <class V>
std::uint64_t countWide(const RQChar* p, std::uint64_t n) {
  constexpr unsigned all = wideIntervals.count, low = wideIntervals.inPlane0;
  if (n < V::lanes) {
    if constexpr (LoadsParts<V>)
      return n == 0 ? 0 : countBits(wideBits(V::loadPart(p, n)));  // the zeros behind are narrow
    else
      return countWide<typename V::Half>(p, n);
  }
  const V firstWide = V::splat(wideRanges[0].first), plane1 = V::splat(0x10000);
  std::uint64_t i = 0, count = 0;
  for (; n - i >= 4 * V::lanes; i += 4 * V::lanes) {
    const V a = V::load(p + i), b = V::load(p + i + V::lanes);
    const V c = V::load(p + i + 2 * V::lanes), d = V::load(p + i + 3 * V::lanes);
    const V bitsOfAny = (a | b) | (c | d);  // no less than the greatest
    if (!V::atMost(firstWide, bitsOfAny).any()) continue;
    if (!V::atMost(plane1, bitsOfAny).any()) {
      count += inIntervals<0, low>(V::halves(a, b)).count() + inIntervals<0, low>(V::halves(c, d)).count();
    } else {
      count += inIntervals<0, all>(a).count() + inIntervals<0, all>(b).count();
      count += inIntervals<0, all>(c).count() + inIntervals<0, all>(d).count();
    }
  }
  for (; n - i >= V::lanes; i += V::lanes) count += countBits(wideBits(V::load(p + i)));
  if (i == n) return count;
  const std::uint64_t counted = V::lanes - (n - i);  // lanes of the last vector that were in the one before
  return count + countBits(wideBits(V::load(p + n - V::lanes)) >> counted);
}

}  // namespace
}  // namespace rq::kit::simd

#endif
