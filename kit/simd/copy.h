// Copies and fills. Short ones load all before they store anything and overlap their pieces; long ones align the
// destination. The longest are the C library's, which knows the machine's caches and its string instructions.
#ifndef RQUNI_KIT_SIMD_COPY_H
#define RQUNI_KIT_SIMD_COPY_H

#include "kit/simd/vector16.h"

extern "C" void* memmove(void*, const void*, decltype(sizeof 0)) noexcept;
extern "C" void* memset(void*, int, decltype(sizeof 0)) noexcept;

namespace rq::kit::simd {
namespace {

using Byte = std::uint8_t;

constexpr std::uint64_t longCopy = 4 * 1024, longFill = 16 * 1024;

/// Maps `n` bytes, at most 16, by `f`, which takes and gives a Vector16 and maps each lane by itself. `out` may be
/// `in`. `n` is a multiple of the lane's size.
template <class U, class F>
RQ_INLINE void mapAtMost16(const U* in, U* out, std::uint64_t n, F f) {
  const auto ends = [=](auto unit) {  // two pieces, which meet or overlap
    using Piece = decltype(unit);
    const std::uint64_t last = n - sizeof(Piece);
    const std::uint64_t both[2] = {loadUnit<Piece>(in), loadUnit<Piece>(advanced(in, last))};
    const __m128i pieces = _mm_set_epi64x(static_cast<std::int64_t>(both[1]), static_cast<std::int64_t>(both[0]));
    const __m128i mapped = f(Vector16<U>{pieces}).v;
    storeUnit(out, static_cast<Piece>(_mm_cvtsi128_si64(mapped)));
    storeUnit(advanced(out, last), static_cast<Piece>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(mapped, mapped))));
  };
  if (n >= 8) return ends(std::uint64_t{});
  if (n >= 4) return ends(std::uint32_t{});
  if constexpr (sizeof(U) == 1) {
    if (n >= 2) return ends(std::uint16_t{});
    if (n == 1) return ends(std::uint8_t{});
  }
}

/// out[i] = f(in[i]) for `n` lanes. `out` may be `in`; otherwise the two must not overlap.
template <class V, class U, class F>
RQ_INLINE void map(const U* in, U* out, std::uint64_t n, F f) {
  if (n < V::lanes) {
    if constexpr (requires { typename V::Half; })
      return map<typename V::Half>(in, out, n, f);
    else
      return mapAtMost16(in, out, n * sizeof(U), f);
  }
  // The last vector is loaded first: in place, the one before it may change lanes that both hold.
  const V last = V::load(in + n - V::lanes);
  std::uint64_t i = 0;
  if constexpr (requires(V v) { f.four(v, v, v, v); }) {
    for (; n - i > 4 * V::lanes; i += 4 * V::lanes) {
      V a = V::load(in + i), b = V::load(in + i + V::lanes);
      V c = V::load(in + i + 2 * V::lanes), d = V::load(in + i + 3 * V::lanes);
      f.four(a, b, c, d);
      a.store(out + i);
      b.store(out + i + V::lanes);
      c.store(out + i + 2 * V::lanes);
      d.store(out + i + 3 * V::lanes);
    }
  }
  for (; n - i > V::lanes; i += V::lanes) f(V::load(in + i)).store(out + i);
  f(last).store(out + n - V::lanes);
}

/// Copies at most 16 bytes; the ranges may overlap.
RQ_INLINE void moveAtMost16(const Byte* s, Byte* d, std::uint64_t n) {
  const auto ends = [=](auto unit) {
    using Piece = decltype(unit);
    const auto head = loadUnit<Piece>(s), tail = loadUnit<Piece>(s + n - sizeof(Piece));
    storeUnit(d, head);
    storeUnit(d + n - sizeof(Piece), tail);
  };
  if (n >= 8) return ends(std::uint64_t{});
  if (n >= 4) return ends(std::uint32_t{});
  if (n >= 2) return ends(std::uint16_t{});
  if (n == 1) *d = *s;
}

/// Loads `count` vectors from each end, then stores them: for n bytes of which these vectors hold all.
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
RQ_INLINE void moveAtMost64(const Byte* s, Byte* d, std::uint64_t n) {
  if (n < 16) return moveAtMost16(s, d, n);
  if (n <= 32) return moveEnds<Vector16<Byte>, 1>(s, d, n);
  moveEnds<Vector16<Byte>, 2>(s, d, n);
}

/// Copies at most two vectors of bytes; the ranges may overlap.
template <class V>
RQ_INLINE void moveShort(const Byte* s, Byte* d, std::uint64_t n) {
  if constexpr (requires { typename V::Half; }) {
    if (n <= V::bytes) return moveShort<typename V::Half>(s, d, n);
  } else {
    if (n < V::bytes) return moveAtMost16(s, d, n);
  }
  moveEnds<V, 1>(s, d, n);
}

/// Copies so that the result is that of a temporary buffer, when d is not inside (s, s + n).
template <class V>
RQ_INLINE void moveForwards(const Byte* s, Byte* d, std::uint64_t n) {
  if (n <= 2 * V::bytes) return moveShort<V>(s, d, n);
  if (n <= 4 * V::bytes) return moveEnds<V, 2>(s, d, n);
  if (n >= longCopy) return static_cast<void>(memmove(d, s, n));
  // Both ends are loaded before the loop and stored after it, so that it may run over their sources.
  const V head = V::load(s);
  const Byte* const tail = s + n - 4 * V::bytes;
  const V t0 = V::load(tail), t1 = V::load(tail + V::bytes);
  const V t2 = V::load(tail + 2 * V::bytes), t3 = V::load(tail + 3 * V::bytes);
  for (std::uint64_t i = V::bytes - reinterpret_cast<std::uintptr_t>(d) % V::bytes; i < n - 4 * V::bytes;
       i += 4 * V::bytes) {
    const V a = V::load(s + i), b = V::load(s + i + V::bytes);
    const V c = V::load(s + i + 2 * V::bytes), e = V::load(s + i + 3 * V::bytes);
    a.store(d + i);
    b.store(d + i + V::bytes);
    c.store(d + i + 2 * V::bytes);
    e.store(d + i + 3 * V::bytes);
  }
  t0.store(d + n - 4 * V::bytes);
  t1.store(d + n - 3 * V::bytes);
  t2.store(d + n - 2 * V::bytes);
  t3.store(d + n - V::bytes);
  head.store(d);
}

/// The same from the other end, for d inside (s, s + n), and n greater than 64.
template <class V>
RQ_INLINE void moveBackwards(const Byte* s, Byte* d, std::uint64_t n) {
  static_assert(2 * V::bytes <= 64, "between 64 bytes and two vectors there would be a gap");
  if (n <= 4 * V::bytes) return moveEnds<V, 2>(s, d, n);
  const V tail = V::load(s + n - V::bytes);
  const V h0 = V::load(s), h1 = V::load(s + V::bytes);
  const V h2 = V::load(s + 2 * V::bytes), h3 = V::load(s + 3 * V::bytes);
  for (std::uint64_t i = n - reinterpret_cast<std::uintptr_t>(d + n) % V::bytes; i > 4 * V::bytes;
       i -= 4 * V::bytes) {
    const V a = V::load(s + i - V::bytes), b = V::load(s + i - 2 * V::bytes);
    const V c = V::load(s + i - 3 * V::bytes), e = V::load(s + i - 4 * V::bytes);
    a.store(d + i - V::bytes);
    b.store(d + i - 2 * V::bytes);
    c.store(d + i - 3 * V::bytes);
    e.store(d + i - 4 * V::bytes);
  }
  tail.store(d + n - V::bytes);
  h0.store(d);
  h1.store(d + V::bytes);
  h2.store(d + 2 * V::bytes);
  h3.store(d + 3 * V::bytes);
}

/// Is d inside (s, s + n)? There a forward copy reads what it has written.
RQ_INLINE bool beginsInside(const Byte* s, const Byte* d, std::uint64_t n) {
  const std::uint64_t distance = reinterpret_cast<std::uintptr_t>(d) - reinterpret_cast<std::uintptr_t>(s);
  return n != 0 && distance - 1 < n - 1;
}

template <class V>
void copySafe(const Byte* s, Byte* d, std::uint64_t n) {
  beginsInside(s, d, n) ? moveBackwards<V>(s, d, n) : moveForwards<V>(s, d, n);
}

/// Stores `c` into `n` units, at most 64 bytes, with what every processor has.
template <class U>
RQ_INLINE void fillAtMost64(U* p, U c, std::uint64_t n) {
  constexpr std::uint64_t copies = sizeof(U) == 1 ? 0x0101010101010101 : 0x0000000100000001;
  const std::uint64_t eight = c * copies, bytes = n * sizeof(U);
  const auto ends = [=](auto piece) {
    storeUnit(p, piece);
    storeUnit(advanced(p, bytes - sizeof piece), piece);
  };
  if (bytes >= 16) {
    const __m128i half = _mm_cvtsi64_si128(static_cast<std::int64_t>(eight)), v = _mm_unpacklo_epi64(half, half);
    const auto store = [=](std::uint64_t at) { _mm_storeu_si128(reinterpret_cast<__m128i*>(advanced(p, at)), v); };
    store(0);
    store(bytes - 16);
    if (bytes <= 32) return;
    store(16);
    return store(bytes - 32);
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
  // Aligned, if the units are: stores across cache lines would cost twice.
  std::uint64_t i = V::lanes - reinterpret_cast<std::uintptr_t>(p) % V::bytes / sizeof(U);
  for (; n - i > 4 * V::lanes; i += 4 * V::lanes) {
    store(i);
    store(i + V::lanes);
    store(i + 2 * V::lanes);
    store(i + 3 * V::lanes);
  }
  for (; n - i > V::lanes; i += V::lanes) store(i);
}

/// The first `n` bytes, at most 16, of a vector.
RQ_INLINE void storePart(Byte* d, __m128i v, std::uint64_t n) {
  if (n == 16) return _mm_storeu_si128(reinterpret_cast<__m128i*>(d), v);
  auto rest = static_cast<std::uint64_t>(_mm_cvtsi128_si64(v));
  if (n & 8) {
    storeUnit(d, rest);
    d += 8;
    rest = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(v, v)));
  }
  if (n & 4) {
    storeUnit(d, static_cast<std::uint32_t>(rest));
    d += 4;
    rest >>= 32;
  }
  if (n & 2) {
    storeUnit(d, static_cast<std::uint16_t>(rest));
    d += 2;
    rest >>= 16;
  }
  if (n & 1) *d = static_cast<Byte>(rest);
}

/// The longest multiple of a period below 16 that 16 bytes hold, and 8 modulo the period.
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
    // The second half begins `phase` bytes into the pattern, and from its next period on it is the first half again.
    const std::uint64_t phase = periods[period].phase;
    high = low >> (8 * phase) | low << 1 << (8 * (period - phase) - 1);
  }
  return _mm_set_epi64x(static_cast<std::int64_t>(high), static_cast<std::int64_t>(low));
}

/// Repeats what lies from s to d + done, whole periods, until d has n bytes: twice as much each time while that stays
/// in the cache. Returns d. Never inlined: the registers that it saves would cost every copy.
template <class V>
[[gnu::noinline]] Byte* repeat(const Byte* s, Byte* d, std::uint64_t done, std::uint64_t n) {
  const auto period = static_cast<std::uint64_t>(d - s);
  if (period == 1) return fill<V>(d, *s, n), d;
  for (std::uint64_t ready = period + done; done < n;) {
    const std::uint64_t piece = ready < n - done ? ready : n - done;
    moveForwards<V>(s, d + done, piece);
    done += piece;
    if (ready < longCopy) ready = period + done;
  }
  return d;
}

/// The forward copy of n bytes to s + period, period < n: repeats s[0..period) through d[0..n). Returns d.
template <class V>
RQ_INLINE Byte* propagate(const Byte* s, Byte* d, std::uint64_t period, std::uint64_t n) {
  if (period == 1 && n <= 64) return fillAtMost64(d, *s, n), d;
  std::uint64_t done = 0;
  if (period > 1 && period < 16) {
    const __m128i pattern = repeated(s, period);
    const std::uint64_t most = n < 128 ? n : 128;
    for (; most - done > 16; done += periods[period].whole)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + done), pattern);
    if (n < 128) return storePart(d + done, pattern, n - done), d;
  }
  return repeat<V>(s, d, done, n);
}

/// Returns d, as the exported routine does, which can then jump here.
template <class V>
Byte* copyForward(const Byte* s, Byte* d, std::uint64_t n) {
  if (beginsInside(s, d, n)) [[unlikely]]
    return propagate<V>(s, d, static_cast<std::uint64_t>(d - s), n);
  moveForwards<V>(s, d, n);
  return d;
}

}  // namespace
}  // namespace rq::kit::simd

#endif
