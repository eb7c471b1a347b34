// Searches: the first or last unit for which something holds. A search is a probe, which tests one vector, and a loop
// over the probe. Searches read only the counted units: narrower vectors and partial loads serve short inputs, and
// the last vector of a long input overlaps the one before it.
#ifndef RQUNI_KIT_SIMD_FIND_H
#define RQUNI_KIT_SIMD_FIND_H

#include "kit/simd/kernels.h"
#include "kit/simd/vector16.h"

namespace rq::kit::simd {
namespace {

/// The bits of the widest mask that one word holds.
constexpr std::uint64_t maxBits = 64;

/// Beyond this the memory is the limit, and narrower loads get more out of it.
constexpr std::uint64_t maxWideBytes = 4 << 20;

template <class V>
concept LoadsPartial = requires(const typename V::Lane* p) {
  V::loadPartial(p, 1);
};

/// The index of the first bit that is set, or -1.
RQ_INLINE std::int64_t firstPlace(std::uint64_t bits) {
  return bits ? static_cast<std::int64_t>(firstBit(bits)) : -1;
}

/// The index of the first lane that `Probe<V>` matches, or -1, among at least one lane and at most `maxBytes`.
template <template <class> class Probe, class V, std::uint64_t maxBytes = maxShortBytes, class... Args>
RQ_INLINE std::int64_t firstMatchShort(std::uint64_t n, Args... args) {
  if constexpr (V::bytes == maxShortBytes) {
    return firstPlace(Probe<V>(args...).partial(n).bits() & lowBits(n));
  } else {
    if (n < V::lanes) {
      if constexpr (LoadsPartial<V>)
        return firstPlace(Probe<V>(args...).partial(n).bits() & lowBits(n));
      else
        return firstMatchShort<Probe, typename V::Half, V::bytes>(n, args...);
    }
    const Probe<V> probe(args...);
    const auto bitsAt = [=](std::uint64_t i) { return probe.at(i).bits() << i; };  // vectors may overlap
    std::uint64_t bits = bitsAt(0) | bitsAt(n - V::lanes);
    if constexpr (maxBytes > 2 * V::bytes)
      if (n > 2 * V::lanes) bits |= bitsAt(V::lanes) | bitsAt(n - 2 * V::lanes);
    return firstPlace(bits);
  }
}

/// The same among more than 64 bytes.
template <template <class> class Probe, class V, class... Args>
RQ_INLINE std::int64_t firstMatchLong(std::uint64_t n, Args... args) {
  const Probe<V> probe(args...);
  if constexpr (4 * V::lanes <= maxBits && 4 * V::bytes > maxShortBytes) {  // one word holds the bits of four vectors
    if (n <= 4 * V::lanes) {
      const auto bitsAt = [=](std::uint64_t i) { return probe.at(i).bits() << i; };
      const std::uint64_t ends = bitsAt(0) | bitsAt(n - V::lanes);
      if constexpr (2 * V::bytes > maxShortBytes)
        if (n <= 2 * V::lanes) return firstPlace(ends);
      return firstPlace(ends | bitsAt(V::lanes) | bitsAt(n - 2 * V::lanes));
    }
  }
  if (const std::uint64_t bits = probe.at(0).bits()) return static_cast<std::int64_t>(firstBit(bits));
  if constexpr (V::bytes == maxShortBytes)
    if (n > maxWideBytes / sizeof(typename V::Lane)) [[unlikely]]
      return firstMatchLong<Probe, typename V::Half>(n, args...);
  std::uint64_t i = V::lanes;
  // Continue at an aligned address, or as near behind one as the alignment of the units allows.
  i -= reinterpret_cast<std::uintptr_t>(probe.p) % V::bytes / sizeof(typename V::Lane);
  for (; n - i >= 4 * V::lanes; i += 4 * V::lanes)
    if (probe.anyOfFour(i)) break;
  const std::uint64_t last = n - V::lanes;
  for (; i < last; i += V::lanes)
    if (const std::uint64_t bits = probe.at(i).bits()) return static_cast<std::int64_t>(i + firstBit(bits));
  const std::uint64_t bits = probe.at(last).bits();
  return bits ? static_cast<std::int64_t>(last + firstBit(bits)) : -1;
}

/// The same among any number of lanes.
template <template <class> class Probe, class V, class... Args>
RQ_INLINE std::int64_t firstMatch(std::uint64_t n, Args... args) {
  if (n == 0) return -1;
  if (n <= maxShortBytes / sizeof(typename V::Lane)) return firstMatchShort<Probe, V>(n, args...);
  return firstMatchLong<Probe, V>(n, args...);
}

/// Does `Probe<V>` match any lane, among at least one and at most `maxBytes`? The place does not matter: one test is
/// enough.
template <template <class> class Probe, class V, std::uint64_t maxBytes = maxShortBytes, class... Args>
RQ_INLINE bool anyMatchShort(std::uint64_t n, Args... args) {
  if constexpr (V::bytes == maxShortBytes) {
    return (Probe<V>(args...).partial(n).bits() & lowBits(n)) != 0;
  } else {
    if (n < V::lanes) {
      if constexpr (LoadsPartial<V>)
        return (Probe<V>(args...).partial(n).bits() & lowBits(n)) != 0;
      else
        return anyMatchShort<Probe, typename V::Half, V::bytes>(n, args...);
    }
    const Probe<V> probe(args...);
    const auto two = [=](std::uint64_t i, std::uint64_t k) { return probe.at(i) | probe.at(k); };
    if constexpr (maxBytes > 2 * V::bytes)
      if (n > 2 * V::lanes) return (two(0, V::lanes) | two(n - 2 * V::lanes, n - V::lanes)).any();
    return two(0, n - V::lanes).any();
  }
}

/// The same among more than 64 bytes.
template <template <class> class Probe, class V, class... Args>
RQ_INLINE bool anyMatchLong(std::uint64_t n, Args... args) {
  constexpr std::uint64_t one = V::lanes, four = 4 * V::lanes;
  const Probe<V> probe(args...);
  if constexpr (four * sizeof(typename V::Lane) > maxShortBytes) {
    const auto two = [=](std::uint64_t i, std::uint64_t k) { return probe.at(i) | probe.at(k); };
    if constexpr (2 * V::bytes > maxShortBytes)
      if (n <= 2 * one) return two(0, n - one).any();
    if (n <= four) return (two(0, one) | two(n - 2 * one, n - one)).any();
  }
  if (probe.anyOfFour(0)) return true;
  if constexpr (V::bytes == maxShortBytes)
    if (n > maxWideBytes / sizeof(typename V::Lane)) [[unlikely]]
      return anyMatchLong<Probe, typename V::Half>(n, args...);
  // Continue at an aligned address, or as near behind one as the alignment of the units allows.
  for (std::uint64_t i = four - reinterpret_cast<std::uintptr_t>(probe.p) % V::bytes / sizeof(typename V::Lane);
       i < n - four; i += four)
    if (probe.anyOfFour(i)) return true;
  return probe.anyOfFour(n - four);
}

/// Does a probe match in any of the four vectors from index i on?
template <class Probe, class V>
RQ_INLINE bool anyOfFourMatches(const Probe& probe, std::uint64_t i) {
  constexpr std::uint64_t one = V::lanes;
  return ((probe.at(i) | probe.at(i + one)) | (probe.at(i + 2 * one) | probe.at(i + 3 * one))).any();
}

template <class V>
struct EqualTo {
  using Lane = typename V::Lane;
  const Lane* p;
  V needle;
  RQ_INLINE EqualTo(const Lane* buffer, Lane c) : p(buffer), needle(V::splat(c)) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::equal(V::load(p + i), needle); }
  RQ_INLINE auto partial(std::uint64_t n) const { return V::equal(V::loadPartial(p, n), needle); }
  RQ_INLINE bool anyOfFour(std::uint64_t i) const {
    if constexpr (V::masksAreVectors) return anyOfFourMatches<EqualTo, V>(*this, i);
    const auto difference = [this, i](std::uint64_t k) { return V::load(p + i + k * V::lanes) ^ needle; };
    return V::anyZero(difference(0), difference(1), difference(2), difference(3));
  }
};

/// Differences stay vectors whose lanes are not zero: xor and or are cheaper than comparisons.
template <class V>
struct DifferentFrom {
  using Lane = typename V::Lane;
  const Lane* p;
  V value;
  RQ_INLINE DifferentFrom(const Lane* buffer, Lane c) : p(buffer), value(V::splat(c)) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i) ^ value; }
  RQ_INLINE auto partial(std::uint64_t n) const { return V::notEqual(V::loadPartial(p, n), value); }
  RQ_INLINE bool anyOfFour(std::uint64_t i) const { return anyOfFourMatches<DifferentFrom, V>(*this, i); }
};

template <class V>
struct Mismatch {
  using Lane = typename V::Lane;
  const Lane *p, *q;
  RQ_INLINE Mismatch(const Lane* a, const Lane* b) : p(a), q(b) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i) ^ V::load(q + i); }
  RQ_INLINE auto partial(std::uint64_t n) const { return V::notEqual(V::loadPartial(p, n), V::loadPartial(q, n)); }
  RQ_INLINE bool anyOfFour(std::uint64_t i) const { return anyOfFourMatches<Mismatch, V>(*this, i); }
};

template <class V>
struct NotAscii {
  using Lane = typename V::Lane;
  const Lane* p;
  V end = V::splat(asciiEnd);
  RQ_INLINE explicit NotAscii(const Lane* buffer) : p(buffer) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::lessEqual(end, V::load(p + i)); }
  RQ_INLINE auto partial(std::uint64_t n) const { return V::lessEqual(end, V::loadPartial(p, n)); }
  RQ_INLINE bool anyOfFour(std::uint64_t i) const { return anyOfFourMatches<NotAscii, V>(*this, i); }
};

template <class V>
struct IsNaN {
  using Lane = typename V::Lane;
  const Lane* p;
  RQ_INLINE explicit IsNaN(const Lane* array) : p(array) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i).isNaN(); }
  RQ_INLINE auto partial(std::uint64_t n) const { return V::loadPartial(p, n).isNaN(); }
  RQ_INLINE bool anyOfFour(std::uint64_t i) const { return anyOfFourMatches<IsNaN, V>(*this, i); }
};

// Kernels in two parts, for short and for long inputs.

template <class V, class U = typename V::Lane>
std::int64_t findFirstShort(const U* p, std::uint64_t n, RQChar c) {
  return firstMatchShort<EqualTo, V>(n, p, static_cast<U>(c));
}
template <class V, class U = typename V::Lane>
std::int64_t findFirstLong(const U* p, std::uint64_t n, RQChar c) {
  return firstMatchLong<EqualTo, V>(n, p, static_cast<U>(c));
}

template <class V, class U = typename V::Lane>
std::int64_t findNotShort(const U* p, std::uint64_t n, RQChar c) {
  return firstMatchShort<DifferentFrom, V>(n, p, static_cast<U>(c));
}
template <class V, class U = typename V::Lane>
std::int64_t findNotLong(const U* p, std::uint64_t n, RQChar c) {
  return firstMatchLong<DifferentFrom, V>(n, p, static_cast<U>(c));
}

template <class V, class U = typename V::Lane>
std::int32_t allEqualShort(RQChar c, const U* p, std::uint64_t n) {
  return !anyMatchShort<DifferentFrom, V>(n, p, static_cast<U>(c));
}
template <class V, class U = typename V::Lane>
std::int32_t allEqualLong(RQChar c, const U* p, std::uint64_t n) {
  return !anyMatchLong<DifferentFrom, V>(n, p, static_cast<U>(c));
}

template <class V>
std::int32_t anyNaNShort(const std::uint64_t* array, std::uint64_t n) {
  return anyMatchShort<IsNaN, V>(n, array);
}
template <class V>
std::int32_t anyNaNLong(const std::uint64_t* array, std::uint64_t n) {
  return anyMatchLong<IsNaN, V>(n, array);
}

/// -1, 0 or 1 by the sign of the difference at index i modulo 2^32, 0 for -1. For bytes that is their order.
template <class U>
RQ_INLINE std::int32_t orderAt(const U* a, const U* b, std::int64_t i) {
  if (i < 0) return 0;
  const RQChar difference = RQChar{load<U>(a + i)} - RQChar{load<U>(b + i)};
  return difference >> 31 != 0 ? -1 : 1;
}
template <class V, class U = typename V::Lane>
std::int32_t compareShort(const U* a, const U* b, std::uint64_t n) {
  return orderAt(a, b, firstMatchShort<Mismatch, V>(n, a, b));
}
template <class V, class U = typename V::Lane>
std::int32_t compareLong(const U* a, const U* b, std::uint64_t n) {
  return orderAt(a, b, firstMatchLong<Mismatch, V>(n, a, b));
}

template <class V, class U = typename V::Lane>
std::int64_t mismatch(const U* a, const U* b, std::uint64_t n) {
  return firstMatch<Mismatch, V>(n, a, b);
}

template <class V, class U = typename V::Lane>
std::uint64_t asciiPrefix(const U* p, std::uint64_t n) {
  const std::int64_t i = firstMatch<NotAscii, V>(n, p);
  return i < 0 ? n : static_cast<std::uint64_t>(i);
}

/// The count without the units at the end that equal `c`.
template <class V, class U = typename V::Lane>
std::uint64_t trim(const U* p, std::uint64_t n, U c) {
  if (n < V::lanes) {
    if constexpr (LoadsPartial<V>) {
      if (n == 0) return 0;
      const std::uint64_t bits = (V::loadPartial(p, n) ^ V::splat(c)).bits() & lowBits(n);
      return bits ? lastBit(bits) + 1 : 0;
    } else {
      return trim<typename V::Half>(p, n, c);
    }
  }
  const V blank = V::splat(c);
  for (; n >= V::lanes; n -= V::lanes)
    if (const std::uint64_t bits = (V::load(p + n - V::lanes) ^ blank).bits())
      return n - V::lanes + lastBit(bits) + 1;
  // The first vector holds the rest. Its lanes from n on are blank, as the loop has seen.
  const std::uint64_t bits = (V::load(p) ^ blank).bits() & lowBits(n);
  return bits ? lastBit(bits) + 1 : 0;
}

/// Does a vector at `p` lie within one page? Then reading it is safe if one byte of it is the string's.
template <class V>
RQ_INLINE bool isWithinPage(const void* p) {
  return reinterpret_cast<std::uintptr_t>(p) % pageBytes <= pageBytes - V::bytes;
}

/// `p` rounded down to a multiple of `alignment` bytes.
template <class U>
RQ_INLINE const U* alignedDown(const U* p, std::uint64_t alignment) {
  return reinterpret_cast<const U*>(reinterpret_cast<std::uintptr_t>(p) & ~(alignment - 1));
}

/// terminatedLength where no aligned vector holds whole units.
template <class U>
[[gnu::noinline]] std::uint64_t lengthUnitByUnit(const U* s) {
  std::uint64_t i = 0;
  while (load<U>(s + i)) ++i;
  return i;
}

/// The zeros of the vector at `s`, as bits. The next page is read only when this one holds no zero: then the string
/// goes on there.
template <class V, class U>
RQ_INLINE RQ_READS_WHOLE_VECTORS std::uint64_t firstZeros(const U* s) {
  const V zero = V::splat(0);
  if (!isWithinPage<V>(s)) [[unlikely]] {
    const U* const p = alignedDown(s, V::bytes);
    if (const std::uint64_t bits = V::equal(V::load(p), zero).bits() >> (s - p)) return bits;
  }
  return V::equal(V::load(s), zero).bits();
}

template <class V, class U = typename V::Lane>
std::uint64_t terminatedLength(const U* s);

/// The units before the first zero, of which the first vector holds none. Never inlined: short strings are the common
/// case, and their way is to fill one cache line.
template <class V, class U = typename V::Lane>
[[gnu::noinline]] RQ_READS_WHOLE_VECTORS std::uint64_t longLength(const U* s) {
  const V zero = V::splat(0);
  // The lambdas take loaded vectors: sanitizers look at loads inside a lambda.
  const auto zeros = [=](V v) { return V::equal(v, zero).bits(); };
  const auto lengthTo = [=](const U* p, std::uint64_t bits) {
    return static_cast<std::uint64_t>(p - s) + firstBit(bits);
  };
  const U* p = alignedDown(s, V::bytes);
  for (int i = 0; i < 3; ++i) {
    p += V::lanes;
    if (const std::uint64_t bits = zeros(V::load(p))) return lengthTo(p, bits);
  }
  // Four vectors that are aligned together lie within a page as well.
  p = alignedDown(p + V::lanes, 4 * V::bytes);
  [[maybe_unused]] const U* const wideEnd = s + maxWideBytes / sizeof(U);
  while (!V::anyZero(V::load(p), V::load(p + V::lanes), V::load(p + 2 * V::lanes), V::load(p + 3 * V::lanes))) {
    p += 4 * V::lanes;
    if constexpr (V::bytes == maxShortBytes)
      if (p > wideEnd) [[unlikely]]
        return static_cast<std::uint64_t>(p - s) + terminatedLength<typename V::Half>(p);
  }
  while (!zeros(V::load(p))) p += V::lanes;
  return lengthTo(p, zeros(V::load(p)));
}

/// The units before the first zero. A string has no count, so this reads whole vectors around it, but no other page.
/// The sanitizers do not know that.
template <class V, class U>
RQ_READS_WHOLE_VECTORS std::uint64_t terminatedLength(const U* s) {
  if (reinterpret_cast<std::uintptr_t>(s) % sizeof(U)) [[unlikely]]
    return lengthUnitByUnit(s);
  if (const std::uint64_t bits = firstZeros<V>(s)) [[likely]]
    return firstBit(bits);
  return longLength<V>(s);
}

}  // namespace
}  // namespace rq::kit::simd

#endif
