// Searches: the first or last lane for which something holds. Every search is a probe, which looks at one vector, and
// one loop over it. Nothing is read outside the counted units: short inputs go to narrower vectors and parts, and the
// last vector of a long input overlaps the one before.
#ifndef RQUNI_KIT_SIMD_FIND_H
#define RQUNI_KIT_SIMD_FIND_H

#include "kit/simd/vector16.h"

namespace rq::kit::simd {
namespace {

template <class V>
concept LoadsParts = requires(const typename V::Lane* p) {
  V::loadPart(p, 1);
};

/// The index of the first lane that `Probe<V>` hits among `n`, or -1.
template <template <class> class Probe, class V, class... Args>
RQ_INLINE std::int64_t findFirst(std::uint64_t n, Args... args) {
  if (n < V::lanes) {
    if constexpr (LoadsParts<V>) {
      if (n == 0) return -1;
      const std::uint64_t bits = Probe<V>(args...).part(n).bits() & lowBits(n);
      return bits ? static_cast<std::int64_t>(firstBit(bits)) : -1;
    } else {
      return findFirst<Probe, typename V::Half>(n, args...);
    }
  }
  const Probe<V> probe(args...);
  if constexpr (4 * V::lanes <= 64) {  // one word holds the bits of four vectors, which may overlap
    if (n <= 4 * V::lanes) {
      const auto bitsAt = [=](std::uint64_t i) { return probe.at(i).bits() << i; };
      std::uint64_t bits = bitsAt(0) | bitsAt(n - V::lanes);
      if (n > 2 * V::lanes) bits |= bitsAt(V::lanes) | bitsAt(n - 2 * V::lanes);
      return bits ? static_cast<std::int64_t>(firstBit(bits)) : -1;
    }
  }
  if (const std::uint64_t bits = probe.at(0).bits()) return static_cast<std::int64_t>(firstBit(bits));
  // The next vector begins at an aligned address, or as near after one as the units' own alignment lets it.
  std::uint64_t i = V::lanes - reinterpret_cast<std::uintptr_t>(probe.p) % V::bytes / sizeof(typename V::Lane);
  for (; n - i >= 4 * V::lanes; i += 4 * V::lanes)
    if (((probe.at(i) | probe.at(i + V::lanes)) | (probe.at(i + 2 * V::lanes) | probe.at(i + 3 * V::lanes))).any())
      break;
  for (; n - i >= V::lanes; i += V::lanes)
    if (const std::uint64_t bits = probe.at(i).bits()) return static_cast<std::int64_t>(i + firstBit(bits));
  if (i == n) return -1;
  i = n - V::lanes;
  const std::uint64_t bits = probe.at(i).bits();
  return bits ? static_cast<std::int64_t>(i + firstBit(bits)) : -1;
}

/// Does `Probe<V>` hit any of `n` lanes? Where does not matter, so that short inputs need one test.
template <template <class> class Probe, class V, class... Args>
RQ_INLINE bool findAny(std::uint64_t n, Args... args) {
  constexpr std::uint64_t one = V::lanes, four = 4 * V::lanes;
  if (n < one) {
    if constexpr (LoadsParts<V>)
      return n != 0 && (Probe<V>(args...).part(n).bits() & lowBits(n)) != 0;
    else
      return findAny<Probe, typename V::Half>(n, args...);
  }
  const Probe<V> probe(args...);
  const auto two = [=](std::uint64_t i, std::uint64_t k) { return probe.at(i) | probe.at(k); };
  if (n <= 2 * one) return two(0, n - one).any();
  if (n <= four) return (two(0, one) | two(n - 2 * one, n - one)).any();
  const auto inFour = [=](std::uint64_t i) { return (two(i, i + one) | two(i + 2 * one, i + 3 * one)).any(); };
  if (inFour(0)) return true;
  // From an aligned address, or as near one as the units' own alignment lets it.
  for (std::uint64_t i = four - reinterpret_cast<std::uintptr_t>(probe.p) % V::bytes / sizeof(typename V::Lane);
       i < n - four; i += four)
    if (inFour(i)) return true;
  return inFour(n - four);
}

template <class V>
struct EqualTo {
  using Lane = typename V::Lane;
  const Lane* p;
  V needle;
  RQ_INLINE EqualTo(const Lane* buffer, Lane c) : p(buffer), needle(V::splat(c)) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::equal(V::load(p + i), needle); }
  RQ_INLINE auto part(std::uint64_t n) const { return V::equal(V::loadPart(p, n), needle); }
};

/// Differences are folded as vectors that are not zero: xor and or are cheaper than comparisons.
template <class V>
struct DifferentFrom {
  using Lane = typename V::Lane;
  const Lane* p;
  V value;
  RQ_INLINE DifferentFrom(const Lane* buffer, Lane c) : p(buffer), value(V::splat(c)) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i) ^ value; }
  RQ_INLINE auto part(std::uint64_t n) const { return V::loadPart(p, n) ^ value; }
};

template <class V>
struct Mismatch {
  using Lane = typename V::Lane;
  const Lane *p, *q;
  RQ_INLINE Mismatch(const Lane* a, const Lane* b) : p(a), q(b) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i) ^ V::load(q + i); }
  RQ_INLINE auto part(std::uint64_t n) const { return V::loadPart(p, n) ^ V::loadPart(q, n); }
};

template <class V>
struct NotAscii {
  using Lane = typename V::Lane;
  const Lane* p;
  V firstOther = V::splat(0x80);
  RQ_INLINE explicit NotAscii(const Lane* buffer) : p(buffer) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::atMost(firstOther, V::load(p + i)); }
  RQ_INLINE auto part(std::uint64_t n) const { return V::atMost(firstOther, V::loadPart(p, n)); }
};

template <class V>
struct NotANumber {
  using Lane = typename V::Lane;
  const Lane* p;
  RQ_INLINE explicit NotANumber(const Lane* array) : p(array) {}
  RQ_INLINE auto at(std::uint64_t i) const { return V::load(p + i).notANumber(); }
  RQ_INLINE auto part(std::uint64_t n) const { return V::loadPart(p, n).notANumber(); }
};

template <class V, class U = typename V::Lane>
std::int64_t scan(const U* p, std::uint64_t n, U c) {
  return findFirst<EqualTo, V>(n, p, c);
}

template <class V, class U = typename V::Lane>
std::int64_t notScan(const U* p, std::uint64_t n, U c) {
  return findFirst<DifferentFrom, V>(n, p, c);
}

template <class V, class U = typename V::Lane>
std::int64_t mismatch(const U* a, const U* b, std::uint64_t n) {
  return findFirst<Mismatch, V>(n, a, b);
}

template <class V, class U = typename V::Lane>
bool allEqual(U c, const U* p, std::uint64_t n) {
  return !findAny<DifferentFrom, V>(n, p, c);
}

/// By the sign of the first difference modulo 2^32. Bytes never differ by so much that this is not their order.
template <class V, class U = typename V::Lane>
std::int32_t compare(const U* a, const U* b, std::uint64_t n) {
  const std::int64_t i = findFirst<Mismatch, V>(n, a, b);
  if (i < 0) return 0;
  const RQChar difference = RQChar{loadUnit<U>(a + i)} - RQChar{loadUnit<U>(b + i)};
  return difference >> 31 != 0 ? -1 : 1;
}

template <class V, class U = typename V::Lane>
std::uint64_t asciiPrefix(const U* p, std::uint64_t n) {
  const std::int64_t i = findFirst<NotAscii, V>(n, p);
  return i < 0 ? n : static_cast<std::uint64_t>(i);
}

template <class V>
bool hasMissing(const std::uint64_t* array, std::uint64_t n) {
  return findAny<NotANumber, V>(n, array);
}

/// `n` without the units at the end that equal `c`.
template <class V, class U = typename V::Lane>
std::uint64_t trim(const U* p, std::uint64_t n, U c) {
  if (n < V::lanes) {
    if constexpr (LoadsParts<V>) {
      if (n == 0) return 0;
      const std::uint64_t bits = (V::loadPart(p, n) ^ V::splat(c)).bits() & lowBits(n);
      return bits ? lastBit(bits) + 1 : 0;
    } else {
      return trim<typename V::Half>(p, n, c);
    }
  }
  const V blank = V::splat(c);
  for (; n >= V::lanes; n -= V::lanes)
    if (const std::uint64_t bits = (V::load(p + n - V::lanes) ^ blank).bits())
      return n - V::lanes + lastBit(bits) + 1;
  // What is left lies in the first vector, whose other lanes are known to be blank.
  const std::uint64_t bits = (V::load(p) ^ blank).bits() & lowBits(n);
  return bits ? lastBit(bits) + 1 : 0;
}

/// The units before the first zero. Only here is more read than was given: the aligned vector that the terminator
/// lies in, which cannot cross a page; the sanitizers cannot know that.
template <class V, class U = typename V::Lane>
RQ_READS_WHOLE_VECTORS std::uint64_t terminatedLength(const U* s) {
  const auto address = reinterpret_cast<std::uintptr_t>(s);
  std::uint64_t i = 0;
  if (address % sizeof(U)) {  // vectors of such units cannot be aligned
    while (loadUnit<U>(s + i)) ++i;
    return i;
  }
  const V zero = V::splat(0);
  const std::uint64_t before = address % V::bytes / sizeof(U);
  const U* p = s - before;
  if (const std::uint64_t bits = V::equal(V::load(p), zero).bits() >> before) return firstBit(bits);
  const auto ended = [=](V v) { return V::equal(v, zero); };  // loads stand outside, where sanitizers do not look
  const auto within = [=](const U* at, V v) {
    return static_cast<std::uint64_t>(at - s) + firstBit(ended(v).bits());
  };
  // Four vectors at a time are within a page as well, if they are aligned together.
  for (p += V::lanes; reinterpret_cast<std::uintptr_t>(p) % (4 * V::bytes) != 0; p += V::lanes)
    if (const V v = V::load(p); ended(v).any()) return within(p, v);
  while (!V::anyZero(V::load(p), V::load(p + V::lanes), V::load(p + 2 * V::lanes), V::load(p + 3 * V::lanes)))
    p += 4 * V::lanes;
  while (!ended(V::load(p)).any()) p += V::lanes;
  return within(p, V::load(p));
}

}  // namespace
}  // namespace rq::kit::simd

#endif
