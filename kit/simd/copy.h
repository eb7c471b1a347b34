// Copies and fills. Short copies load everything before they store anything, in pieces that overlap. Long ones align
// the destination. The C library does the longest: it knows the machine's caches and string instructions.
#ifndef RQUNI_KIT_SIMD_COPY_H
#define RQUNI_KIT_SIMD_COPY_H

#include "kit/simd/vector16.h"

extern "C" void* memmove(void*, const void*, decltype(sizeof 0)) noexcept;
extern "C" void* memset(void*, int, decltype(sizeof 0)) noexcept;

namespace rq::kit::simd {
namespace {

using Byte = std::uint8_t;

/// From these counts of bytes on the C library is faster. A move shifts bytes to the front of where they lie.
constexpr std::uint64_t longCopy = 16 * 1024, longMove = 8 * 1024, longFill = 16 * 1024;

/// Four vectors side by side.
template <class V>
struct Four {
  using Lane = typename V::Lane;
  static constexpr std::uint64_t lanes = 4 * V::lanes, bytes = 4 * V::bytes;
  V a, b, c, d;

  static RQ_INLINE Four load(const Lane* p) {
    return {V::load(p), V::load(p + V::lanes), V::load(p + 2 * V::lanes), V::load(p + 3 * V::lanes)};
  }
  RQ_INLINE void store(Lane* p) const {
    a.store(p);
    b.store(p + V::lanes);
    c.store(p + 2 * V::lanes);
    d.store(p + 3 * V::lanes);
  }
};

/// out[i] = f(in[i]) for `n` lanes, 16 bytes at least. `out` is `in` or does not overlap it.
template <class V, class U, class F>
RQ_INLINE void map(const U* in, U* out, std::uint64_t n, F f) {
  if constexpr (requires { typename V::Half; }) {
    if (n < V::lanes) return map<typename V::Half>(in, out, n, f);
  }
  // Load the last vector first: in place, storing the one before it may change lanes that both hold.
  const V last = V::load(in + n - V::lanes);
  std::uint64_t i = 0;
  if constexpr (requires(V v) { f.four(v, v, v, v); }) {
    for (; n - i > 4 * V::lanes; i += 4 * V::lanes) {
      auto four = Four<V>::load(in + i);
      f.four(four.a, four.b, four.c, four.d);
      four.store(out + i);
    }
  }
  for (; n - i > V::lanes; i += V::lanes) f(V::load(in + i)).store(out + i);
  f(last).store(out + n - V::lanes);
}

/// Copies fewer than 16 bytes; the ranges may overlap. Of units of 4 bytes there is at least one.
template <unsigned unitBytes = 1>
RQ_INLINE void moveBelow16(const Byte* s, Byte* d, std::uint64_t n) {
  const auto ends = [=](auto unit) {
    using Piece = decltype(unit);
    const auto head = load<Piece>(s), tail = load<Piece>(s + n - sizeof(Piece));
    store(d, head);
    store(d + n - sizeof(Piece), tail);
  };
  if (n >= 8) return ends(std::uint64_t{});
  if (unitBytes >= 4 || n >= 4) return ends(std::uint32_t{});
  if (n >= 2) return ends(std::uint16_t{});
  if (n == 1) store(d, load<Byte>(s));
}

/// Where four vectors of 16 bytes cover 16 to 64 bytes: at both ends, and this far from either. One case for all
/// these sizes spares branches, which sizes by turns mispredict.
RQ_INLINE std::uint64_t innerPlace(std::uint64_t n) {
  return n / 32 * 16;
}

/// Loads `count` vectors from each end, then stores them. Together they must hold all `n` bytes.
template <class V, std::uint64_t count>
RQ_INLINE void moveEnds(const Byte* s, Byte* d, std::uint64_t n) {
  V head[count], tail[count];
  for (std::uint64_t i = 0; i < count; ++i) {
    head[i] = V::load(s + i * V::bytes);
    tail[i] = V::load(s + n - (i + 1) * V::bytes);
  }
  for (std::uint64_t i = 0; i < count; ++i) {
    head[i].store(d + i * V::bytes);
    tail[i].store(d + n - (i + 1) * V::bytes);
  }
}

/// Copies at most 64 bytes with what every processor has; the ranges may overlap.
RQ_INLINE void moveUpTo64(const Byte* s, Byte* d, std::uint64_t n) {
  if (n < 16) return moveBelow16(s, d, n);
  using V = Vector16<Byte>;
  const std::uint64_t inner = innerPlace(n), last = n - V::bytes;
  const V v0 = V::load(s), v1 = V::load(s + inner), v2 = V::load(s + last - inner), v3 = V::load(s + last);
  v0.store(d);
  v1.store(d + inner);
  v2.store(d + last - inner);
  v3.store(d + last);
}

/// Copies four to eight vectors of bytes; the ranges may overlap.
template <class V>
RQ_INLINE void moveUpTo8(const Byte* s, Byte* d, std::uint64_t n) {
  const std::uint64_t last = n - Four<V>::bytes;
  const auto head = Four<V>::load(s), tail = Four<V>::load(s + last);
  head.store(d);
  tail.store(d + last);
}

/// Copies at most two vectors of bytes; the ranges may overlap. Of units of 4 bytes there is at least one.
template <class V, unsigned unitBytes = 1>
RQ_INLINE void moveShort(const Byte* s, Byte* d, std::uint64_t n) {
  if constexpr (requires { typename V::Half; }) {
    if (n <= V::bytes) return moveShort<typename V::Half, unitBytes>(s, d, n);
  } else {
    if (n < V::bytes) return moveBelow16<unitBytes>(s, d, n);
  }
  moveEnds<V, 1>(s, d, n);
}

/// How far `to` lies behind `from`, modulo 2^64.
RQ_INLINE std::uint64_t bytesBetween(const Byte* from, const Byte* to) {
  return reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
}

/// The bytes from d to the first aligned vector behind it.
template <class V>
RQ_INLINE std::uint64_t toAligned(const Byte* d) {
  return V::bytes - reinterpret_cast<std::uintptr_t>(d) % V::bytes;
}

/// Copies as if through a temporary buffer, unless d lies inside (s, s + n).
template <class V>
RQ_INLINE void moveForwards(const Byte* s, Byte* d, std::uint64_t n) {
  if (n <= 2 * V::bytes) return moveShort<V>(s, d, n);
  if (n <= 4 * V::bytes) return moveEnds<V, 2>(s, d, n);
  if (n <= 8 * V::bytes) return moveUpTo8<V>(s, d, n);
  if (n >= longMove && (n >= longCopy || bytesBetween(d, s) < n)) return static_cast<void>(memmove(d, s, n));
  // Each load comes before the store that may overwrite its source, and not earlier: the bytes may just be written.
  const std::uint64_t last = n - Four<V>::bytes;
  std::uint64_t i = toAligned<V>(d);
  const V head = V::load(s);
  auto next = Four<V>::load(s + i);
  head.store(d);
  for (; last - i > Four<V>::bytes; i += Four<V>::bytes) {
    next.store(d + i);
    next = Four<V>::load(s + i + Four<V>::bytes);
  }
  const auto tail = Four<V>::load(s + last);
  next.store(d + i);
  tail.store(d + last);
}

/// Copies more than four vectors strictly forwards, if d does not lie less than four vectors behind s.
template <class V>
RQ_INLINE void copyFar(const Byte* s, Byte* d, std::uint64_t n) {
  const std::uint64_t last = n - Four<V>::bytes;
  V::load(s).store(d);
  for (std::uint64_t i = toAligned<V>(d); i < last; i += Four<V>::bytes) Four<V>::load(s + i).store(d + i);
  Four<V>::load(s + last).store(d + last);
}

/// Copies from the end to the front as if through a temporary buffer, for d inside (s, s + n) and n greater than 64.
template <class V>
RQ_INLINE void moveBackwards(const Byte* s, Byte* d, std::uint64_t n) {
  static_assert(2 * V::bytes <= 64, "two vectors must hold the shortest copy");
  if (n <= 4 * V::bytes) return moveEnds<V, 2>(s, d, n);
  const V tail = V::load(s + n - V::bytes);
  const auto head = Four<V>::load(s);
  for (std::uint64_t i = n - reinterpret_cast<std::uintptr_t>(d + n) % V::bytes; i > Four<V>::bytes;) {
    i -= Four<V>::bytes;
    Four<V>::load(s + i).store(d + i);
  }
  tail.store(d + n - V::bytes);
  head.store(d);
}

/// Does d lie inside (s, s + n)? Then a forward copy reads bytes that it has written.
RQ_INLINE bool beginsInside(const Byte* s, const Byte* d, std::uint64_t n) {
  return n != 0 && bytesBetween(s, d) - 1 < n - 1;
}

template <class V>
void copySafe(const Byte* s, Byte* d, std::uint64_t n) {
  beginsInside(s, d, n) ? moveBackwards<V>(s, d, n) : moveForwards<V>(s, d, n);
}

/// Stores `c` into `n` units, at most 64 bytes, with what every processor has.
template <class U>
RQ_INLINE void fillUpTo64(U* p, U c, std::uint64_t n) {
  constexpr std::uint64_t copies = sizeof(U) == 1 ? 0x0101010101010101 : 0x0000000100000001;
  const std::uint64_t eight = c * copies, bytes = n * sizeof(U);
  const auto ends = [=](auto piece) {
    store(p, piece);
    store(advanced(p, bytes - sizeof piece), piece);
  };
  if (bytes >= 16) {
    const auto v = Vector16<U>::splat(c);
    const std::uint64_t inner = innerPlace(bytes), last = bytes - v.bytes;
    v.store(p);
    v.store(advanced(p, inner));
    v.store(advanced(p, last - inner));
    return v.store(advanced(p, last));
  }
  if (bytes >= 8) return ends(eight);
  if (bytes >= 4) return ends(static_cast<std::uint32_t>(eight));
  if constexpr (sizeof(U) == 1) {
    if (bytes >= 2) return ends(static_cast<std::uint16_t>(eight));
    if (bytes == 1) *p = c;
  }
}

/// Stores `c` into `n` units, more than 64 bytes.
template <class V, class U = typename V::Lane>
void fill(U* p, U c, std::uint64_t n) {
  if constexpr (sizeof(U) == 1)
    if (n >= longFill) return static_cast<void>(memset(p, c, n));
  const V value = V::splat(c);
  const auto store = [=](std::uint64_t i) { value.store(p + i); };
  store(0);
  store(n - V::lanes);
  if (n <= 2 * V::lanes) return;
  if (n <= 4 * V::lanes) return store(V::lanes), store(n - 2 * V::lanes);
  // Aligned, if the units are: a store across two cache lines costs twice.
  std::uint64_t i = V::lanes - reinterpret_cast<std::uintptr_t>(p) % V::bytes / sizeof(U);
  for (; n - i > 4 * V::lanes; i += 4 * V::lanes) {
    store(i);
    store(i + V::lanes);
    store(i + 2 * V::lanes);
    store(i + 3 * V::lanes);
  }
  for (; n - i > V::lanes; i += V::lanes) store(i);
}

/// Stores the first `n` bytes, at most 16, of a vector.
RQ_INLINE void storePartial(Byte* d, __m128i v, std::uint64_t n) {
  if (n == 16) return _mm_storeu_si128(reinterpret_cast<__m128i*>(d), v);
  auto rest = static_cast<std::uint64_t>(_mm_cvtsi128_si64(v));
  if (n & 8) {
    store(d, rest);
    d += 8;
    rest = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(v, v)));
  }
  if (n & 4) {
    store(d, static_cast<std::uint32_t>(rest));
    d += 4;
    rest >>= 32;
  }
  if (n & 2) {
    store(d, static_cast<std::uint16_t>(rest));
    d += 2;
    rest >>= 16;
  }
  if (n & 1) store(d, static_cast<Byte>(rest));
}

/// Up to here a forward copy onto itself stores its pattern 16 bytes at a time.
constexpr std::uint64_t maxPatternBytes = 128;

/// Of a pattern that repeats after fewer than 16 bytes: the bytes of whole periods in 16, and 8 modulo the period.
struct Period {
  Byte whole, phase;
};
constexpr Period periods[16] = {{0, 0},  {16, 0}, {16, 0}, {15, 2}, {16, 0}, {15, 3}, {12, 2}, {14, 1},
                                {16, 0}, {9, 8},  {10, 8}, {11, 8}, {12, 8}, {13, 8}, {14, 8}, {15, 8}};

/// 16 bytes that repeat the first `period` bytes at `s`, 2 to 15.
RQ_INLINE __m128i repeated(const Byte* s, std::uint64_t period) {
  const __m128i once = loadBytes(s, period);
  auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(once));
  auto high = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(once, once)));
  if (period > 8) {
    high |= low << (8 * (period - 8));
  } else {
    for (std::uint64_t filled = period; filled < 8; filled *= 2) low |= low << (8 * filled);
    // The second half begins `phase` bytes into the pattern. Behind the rest of that period the first half follows.
    const std::uint64_t phase = periods[period].phase;
    high = low >> (8 * phase) | low << 1 << (8 * (period - phase) - 1);
  }
  return _mm_set_epi64x(static_cast<std::int64_t>(high), static_cast<std::int64_t>(low));
}

/// As many bytes and their copy stay in the first cache, whatever lies around them.
constexpr std::uint64_t maxRepeated = 4 * 1024;

/// Repeats the bytes from s to d + done, which are whole periods, until d has n bytes. Each copy doubles them while
/// they stay in the cache. Returns d. Never inlined: saving its registers would slow down every copy.
template <class V, template <class> class Filler>
[[gnu::noinline]] Byte* repeat(const Byte* s, Byte* d, std::uint64_t done, std::uint64_t n) {
  const auto period = static_cast<std::uint64_t>(d - s);
  if (period == 1) return fill<Filler<Byte>>(d, *s, n), d;
  if (8 % period == 0) {  // a word repeats as well, and nothing has to be loaded
    const auto word = load<std::uint64_t>(d), last = load<std::uint64_t>(d + n % 8);
    fill<Filler<std::uint64_t>>(reinterpret_cast<std::uint64_t*>(d), word, n / 8);
    return store(d + n - 8, last), d;
  }
  for (std::uint64_t ready = period + done; done < n;) {
    const std::uint64_t piece = ready < n - done ? ready : n - done;
    moveForwards<V>(s, d + done, piece);
    done += piece;
    if (ready < maxRepeated) ready = period + done;
  }
  return d;
}

/// From this period on a loop in order copies up to two periods faster than piece by piece: its loads seldom meet
/// stores that have not reached the cache.
constexpr std::uint64_t minFar = 512;

/// The forward copy of n bytes to d = s + period, period < n, which repeats s[0..period) through d[0..n). Returns d.
template <class V, template <class> class Filler>
RQ_INLINE Byte* propagate(const Byte* s, Byte* d, std::uint64_t period, std::uint64_t n) {
  if (period == 1 && n <= 64) return fillUpTo64(d, *s, n), d;
  if (period >= minFar && n <= 2 * period) return copyFar<V>(s, d, n), d;
  std::uint64_t done = 0;
  if (period > 1 && period < 16) {
    const __m128i pattern = repeated(s, period);
    const std::uint64_t head = n < maxPatternBytes ? n : maxPatternBytes;
    for (; head - done > 16; done += periods[period].whole)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + done), pattern);
    if (n < maxPatternBytes) return storePartial(d + done, pattern, n - done), d;
  }
  return repeat<V, Filler>(s, d, done, n);
}

/// Copies strictly forwards. Returns d, so that the exported routine is a jump to it.
template <class V, template <class> class Filler>
Byte* copyForward(const Byte* s, Byte* d, std::uint64_t n) {
  if (beginsInside(s, d, n)) [[unlikely]]
    return propagate<V, Filler>(s, d, static_cast<std::uint64_t>(d - s), n);
  moveForwards<V>(s, d, n);
  return d;
}

}  // namespace
}  // namespace rq::kit::simd

#endif
