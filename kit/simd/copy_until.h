// Copies that end early: behind a terminator, or before the first unit that a stop matches.
#ifndef RQUNI_KIT_SIMD_COPY_UNTIL_H
#define RQUNI_KIT_SIMD_COPY_UNTIL_H

#include "kit/simd/copy.h"
#include "kit/simd/find.h"

namespace rq::kit::simd {
namespace {

/// Stores a vector of units. Into bytes every RQChar must be below 0x100.
template <class V>
RQ_INLINE void put(V v, typename V::Lane* out) {
  v.store(out);
}
template <class V>
requires(sizeof(typename V::Lane) > 1) RQ_INLINE void put(V v, std::uint8_t* out) {
  v.storeNarrow(out);
}

/// Copies fewer than V::lanes units. Into bytes every RQChar must be below 0x100.
template <class V, class Out>
RQ_INLINE void copyFewUnits(const typename V::Lane* in, Out* out, std::uint64_t n) {
  static_assert(V::bytes <= 2 * Vector16<Byte>::bytes || sizeof(Out) < sizeof(typename V::Lane));
  if constexpr (sizeof(Out) == sizeof(typename V::Lane))
    moveShort<Vector16<Byte>>(reinterpret_cast<const Byte*>(in), reinterpret_cast<Byte*>(out), n * sizeof(Out));
  else
    for (std::uint64_t i = 0; i < n; ++i) out[i] = static_cast<Out>(load<typename V::Lane>(in + i));
}

/// copyTerminated where no aligned vector holds whole units.
template <class U>
[[gnu::noinline]] void copyUnitByUnit(const U* s, U* d) {
  for (U c = 1; c; ++s, ++d) store(d, c = load<U>(s));
}

/// copyTerminated where the first vector holds no zero. Never inlined, as longLength.
template <class V, class U = typename V::Lane>
[[gnu::noinline]] RQ_READS_WHOLE_VECTORS void copyLongTerminated(const U* s, U* d) {
  V::load(s).store(d);
  const V zero = V::splat(0);
  const auto zeros = [=](V v) { return V::equal(v, zero).bits(); };
  // All units before index i are copied.
  auto i = static_cast<std::uint64_t>(alignedDown(s + V::lanes, V::bytes) - s);
  std::uint64_t bits = 0;
  for (int k = 0; k < 3; ++k, i += V::lanes) {
    const V v = V::load(s + i);
    bits = zeros(v);
    if (bits) break;
    v.store(d + i);
  }
  if (!bits) {
    // Four vectors that are aligned together lie within a page as well.
    for (i = static_cast<std::uint64_t>(alignedDown(s + i, 4 * V::bytes) - s);; i += 4 * V::lanes) {
      const auto four = Four<V>::load(s + i);
      if (V::anyZero(four.a, four.b, four.c, four.d)) break;
      four.store(d + i);
    }
    for (; !(bits = zeros(V::load(s + i))); i += V::lanes) V::load(s + i).store(d + i);
  }
  const std::uint64_t last = i + firstBit(bits) + 1 - V::lanes;
  V::load(s + last).store(d + last);
}

/// Copies `s` and the zero that ends it in one pass. Reads as terminatedLength does. Writes nothing behind the zero.
template <template <class> class Vector, class U>
RQ_READS_WHOLE_VECTORS void copyTerminated(const U* s, U* d) {
  using V = Vector<U>;
  if (reinterpret_cast<std::uintptr_t>(s) % sizeof(U)) [[unlikely]]
    return copyUnitByUnit(s, d);
  if (const std::uint64_t bits = firstZeros<V>(s)) [[likely]]
    return moveShort<Vector<Byte>, sizeof(U)>(reinterpret_cast<const Byte*>(s), reinterpret_cast<Byte*>(d),
                                              (firstBit(bits) + 1) * sizeof(U));
  copyLongTerminated<V>(s, d);
}

/// Copies units up to, not including, the first that `Stop<V>` matches. Returns their number; writes exactly those.
/// A stop has three tests: `quick` of a loaded vector, which may match too much but misses nothing; `exact` of a
/// vector behind which another unit follows; `last` of the vector that ends the text.
template <template <class> class Stop, class V, class Out, class... Args>
// NOLINTNEXTLINE(readability-function-cognitive-complexity): one pass in three sizes of steps; cut up, it is slower
RQ_INLINE std::uint64_t copyUntil(const typename V::Lane* in, std::uint64_t n, Out* out, Args... args) {
  if (n < V::lanes) {
    if constexpr (LoadsPartial<V>) {
      if (n == 0) return 0;
      const std::uint64_t bits = Stop<V>(args...).last(V::loadPartial(in, n), n) & lowBits(n);
      const std::uint64_t copied = bits ? firstBit(bits) : n;
      copyFewUnits<V>(in, out, copied);
      return copied;
    } else {
      return copyUntil<Stop, typename V::Half>(in, n, out, args...);
    }
  }
  static_assert(2 * V::lanes <= 64, "the places in two vectors are bits of one word");
  const Stop<V> stop(args...);
  const auto finish = [=](std::uint64_t copied) {  // all but the last vector at most are stored
    if (copied >= V::lanes)
      put(V::load(in + copied - V::lanes), out + copied - V::lanes);
    else
      copyFewUnits<V>(in, out, copied);
    return copied;
  };
  std::uint64_t i = 0;
  // Most stops are near: one branch for two vectors, and one for how many are stored, mispredicts least.
  for (constexpr std::uint64_t near = 16 * V::lanes; i < near && n - i > 2 * V::lanes; i += 2 * V::lanes) {
    const V a = V::load(in + i), b = V::load(in + i + V::lanes);
    if ((stop.quick(a) | stop.quick(b)).any()) {
      const std::uint64_t bits = stop.exact(in + i).bits() | stop.exact(in + i + V::lanes).bits() << V::lanes;
      if (bits) {
        const std::uint64_t copied = i + firstBit(bits);
        const std::uint64_t other = copied < 2 * V::lanes ? 0 : copied - 2 * V::lanes;
        if (copied >= V::lanes) put(V::load(in + other), out + other);
        return finish(copied);
      }
    }
    put(a, out + i);
    put(b, out + i + V::lanes);
  }
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

/// Stops at `first` before a unit whose bits under `keep` are `second`.
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

/// Stops at `stop` and at every unit that is not below `bound`.
template <class V>
struct StopOrBound {
  using Lane = typename V::Lane;
  V stop, bound;
  RQ_INLINE StopOrBound(Lane a, Lane b) : stop(V::splat(a)), bound(V::splat(b)) {}
  RQ_INLINE auto quick(V v) const { return V::equal(v, stop) | V::lessEqual(bound, v); }
  RQ_INLINE auto exact(const Lane* p) const { return quick(V::load(p)); }
  RQ_INLINE std::uint64_t last(V v, std::uint64_t) const { return quick(v).bits(); }
};

/// Stops at bytes that are not in a set.
template <class V>
struct NoMember {
  const AsciiSet* set;
  RQ_INLINE explicit NoMember(const AsciiSet* members) : set(members) {}
  RQ_INLINE auto quick(V v) const { return ~v.isIn(*set); }
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

}  // namespace
}  // namespace rq::kit::simd

#endif
