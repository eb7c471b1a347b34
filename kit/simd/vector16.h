// The 16-byte vector that every x86-64 processor has, over lanes of 1, 2, 4 or 8 bytes.
//
// Everything here has internal linkage: this header is compiled with different instruction sets in one library, and
// no function of one set may be merged with another's.
#ifndef RQUNI_KIT_SIMD_VECTOR16_H
#define RQUNI_KIT_SIMD_VECTOR16_H

#include <immintrin.h>

#include <cstdint>

#include "frame/types.h"
#include "kit/ascii_set.h"

#define RQ_INLINE __attribute__((always_inline)) inline

// For a function that reads more of an aligned vector than it was given: the sanitizers must not look.
#ifdef __clang__
#define RQ_READS_WHOLE_VECTORS __attribute__((no_sanitize("address", "memory")))
#else
#define RQ_READS_WHOLE_VECTORS __attribute__((no_sanitize("address")))
#endif

namespace rq::kit::simd {
namespace {

/// The unit at `p`, which may lie at any address.
template <class T>
RQ_INLINE T loadUnit(const void* p) {
  T value;
  __builtin_memcpy(&value, p, sizeof value);
  return value;
}

template <class T>
RQ_INLINE void storeUnit(void* p, T value) {
  __builtin_memcpy(p, &value, sizeof value);
}

template <class T>
RQ_INLINE T* advanced(T* p, std::uint64_t bytes) {
  return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(p) + bytes);
}

/// The lowest `n` bits set; n is 0 to 64.
RQ_INLINE std::uint64_t lowBits(std::uint64_t n) {
  return n < 64 ? (std::uint64_t{1} << n) - 1 : ~std::uint64_t{0};
}

RQ_INLINE std::uint64_t firstBit(std::uint64_t bits) {
  return static_cast<std::uint64_t>(__builtin_ctzll(bits));
}
RQ_INLINE std::uint64_t lastBit(std::uint64_t bits) {
  return 63 - static_cast<std::uint64_t>(__builtin_clzll(bits));
}

RQ_INLINE std::uint64_t countBits(std::uint64_t bits) {
#ifdef __POPCNT__
  return static_cast<std::uint64_t>(__builtin_popcountll(bits));
#else  // the built-in function would be a call
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  return ((bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F) * 0x0101010101010101 >> 56;
#endif
}

/// The `n` bytes at `p`, 1 to 15, then zeros; reads nothing else.
RQ_INLINE __m128i loadBytes(const void* p, std::uint64_t n) {
  if (n >= 8) {
    const auto low = loadUnit<std::int64_t>(p);
    const auto high = loadUnit<std::uint64_t>(advanced(p, n - 8));
    // The upper half of the result: the last n - 8 bytes. Two shifts, for one of 64 would be none.
    return _mm_set_epi64x(static_cast<std::int64_t>(high >> 8 >> (8 * (15 - n))), low);
  }
  if (n >= 4) {
    const std::uint64_t low = loadUnit<std::uint32_t>(p);
    const std::uint64_t high = loadUnit<std::uint32_t>(advanced(p, n - 4));
    return _mm_cvtsi64_si128(static_cast<std::int64_t>(low | high << (8 * (n - 4))));
  }
  const auto* const bytes = static_cast<const std::uint8_t*>(p);
  const std::uint32_t ends = bytes[0] | std::uint32_t{bytes[n - 1]} << (8 * (n - 1));
  return _mm_cvtsi32_si128(static_cast<int>(ends | std::uint32_t{bytes[n / 2]} << (8 * (n / 2))));
}

/// A vector as the kernels use it. Hits are the lanes for which a comparison holds; they are folded with | and become
/// one bit a lane only when it matters. Comparisons are unsigned.
template <class U>
struct Vector16 {
  using Lane = U;
  static constexpr std::uint64_t bytes = 16, lanes = bytes / sizeof(U);
  /// Several lookUps are cheaper than gathering.
  static constexpr bool looksUpQuickly = false;

  struct Hits {
    __m128i v;
    friend RQ_INLINE Hits operator|(Hits a, Hits b) { return {_mm_or_si128(a.v, b.v)}; }
    friend RQ_INLINE Hits operator&(Hits a, Hits b) { return {_mm_and_si128(a.v, b.v)}; }
    RQ_INLINE Hits operator~() const { return {_mm_xor_si128(v, _mm_set1_epi8(-1))}; }
    RQ_INLINE bool any() const { return _mm_movemask_epi8(v) != 0; }
    RQ_INLINE std::uint64_t bits() const {
      if constexpr (sizeof(U) == 8) return static_cast<std::uint32_t>(_mm_movemask_pd(_mm_castsi128_pd(v)));
      if constexpr (sizeof(U) == 4) return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(v)));
      static_assert(sizeof(U) != 2 || lanes == 8);
      return static_cast<std::uint32_t>(_mm_movemask_epi8(v));
    }
    RQ_INLINE std::uint64_t count() const {
      return countBits(static_cast<std::uint32_t>(_mm_movemask_epi8(v))) / sizeof(U);
    }
  };

  __m128i v;

  static RQ_INLINE Vector16 load(const U* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
  /// The first `n` lanes from memory, 1 to lanes - 1, the others zero.
  static RQ_INLINE Vector16 loadPart(const U* p, std::uint64_t n) { return {loadBytes(p, n * sizeof(U))}; }
  RQ_INLINE void store(U* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  /// Stores `lanes` bytes; each lane must be below 0x100.
  RQ_INLINE void storeNarrowed(std::uint8_t* p) const {
    static_assert(sizeof(U) == 4);
    const __m128i words = _mm_packs_epi32(v, v);
    storeUnit(p, _mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

  static RQ_INLINE Vector16 splat(U c) {
    if constexpr (sizeof(U) == 1) return {_mm_set1_epi8(static_cast<char>(c))};
    if constexpr (sizeof(U) == 2) return {_mm_set1_epi16(static_cast<short>(c))};
    if constexpr (sizeof(U) == 4) return {_mm_set1_epi32(static_cast<int>(c))};
    if constexpr (sizeof(U) == 8) return {_mm_set1_epi64x(static_cast<long long>(c))};
  }
  friend RQ_INLINE Vector16 operator|(Vector16 a, Vector16 b) { return {_mm_or_si128(a.v, b.v)}; }
  friend RQ_INLINE Vector16 operator&(Vector16 a, Vector16 b) { return {_mm_and_si128(a.v, b.v)}; }
  friend RQ_INLINE Vector16 operator^(Vector16 a, Vector16 b) { return {_mm_xor_si128(a.v, b.v)}; }
  friend RQ_INLINE Vector16 operator+(Vector16 a, Vector16 b) {
    if constexpr (sizeof(U) == 1) return {_mm_add_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 2) return {_mm_add_epi16(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm_add_epi32(a.v, b.v)};
  }
  /// Each lane shifted right by 7: the block of 128 that a character lies in.
  RQ_INLINE Vector16 blocks() const { return {_mm_srli_epi32(v, 7)}; }

  static RQ_INLINE Hits equal(Vector16 a, Vector16 b) {
    if constexpr (sizeof(U) == 1) return {_mm_cmpeq_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm_cmpeq_epi32(a.v, b.v)};
  }
  static RQ_INLINE Hits atMost(Vector16 a, Vector16 b) {
    if constexpr (sizeof(U) == 1) return {_mm_cmpeq_epi8(_mm_min_epu8(a.v, b.v), a.v)};
    if constexpr (sizeof(U) == 4) {
      const __m128i flip = _mm_set1_epi32(INT32_MIN);
      return ~Hits{_mm_cmpgt_epi32(_mm_xor_si128(a.v, flip), _mm_xor_si128(b.v, flip))};
    }
  }
  /// first <= lane < first + count, where 0 < count < the number of values of a lane: the lane is moved so that the
  /// range becomes the lowest signed values.
  RQ_INLINE Hits within(U first, U count) const {
    constexpr U lowest = static_cast<U>(U{1} << (8 * sizeof(U) - 1));
    const __m128i moved = (*this + splat(static_cast<U>(lowest - first))).v;
    const __m128i limit = splat(static_cast<U>(lowest + count)).v;
    if constexpr (sizeof(U) == 1) return {_mm_cmplt_epi8(moved, limit)};
    if constexpr (sizeof(U) == 2) return {_mm_cmplt_epi16(moved, limit)};
    if constexpr (sizeof(U) == 4) return {_mm_cmplt_epi32(moved, limit)};
  }
  /// Bytes that are in the set.
  RQ_INLINE Hits in(const AsciiSet& set) const {
    static_assert(sizeof(U) == 1);
#ifdef __SSSE3__
    const __m128i rows = _mm_load_si128(reinterpret_cast<const __m128i*>(set.rows));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(v, 4), _mm_set1_epi8(15));
    const __m128i bit = _mm_shuffle_epi8(_mm_set_epi64x(-1, INT64_MIN + 0x40201008040201), high);
    return {_mm_cmpeq_epi8(_mm_and_si128(_mm_shuffle_epi8(rows, v), bit), bit)};
#else
    alignas(16) std::uint8_t lane[lanes], hit[lanes];
    store(lane);
    for (std::uint64_t i = 0; i < lanes; ++i) hit[i] = set.has(lane[i]) ? 0xFF : 0;
    return {load(hit).v};
#endif
  }
  /// Lanes that hold the bits of a NaN, looked at as integers: a signalling one raises nothing.
  RQ_INLINE Hits notANumber() const {
    static_assert(sizeof(U) == 8);
    const __m128i high = _mm_and_si128(_mm_shuffle_epi32(v, 0xF5), _mm_set1_epi32(INT32_MAX));
    const __m128i lowIsZero = _mm_shuffle_epi32(_mm_cmpeq_epi32(v, _mm_setzero_si128()), 0xA0);
    const __m128i withLow = _mm_or_si128(high, _mm_andnot_si128(lowIsZero, _mm_set1_epi32(1)));
    return {_mm_cmpgt_epi32(withLow, _mm_set1_epi32(0x7FF00000))};
  }
  RQ_INLINE Hits nonZero() const {
    if constexpr (sizeof(U) == 1) return ~Hits{_mm_cmpeq_epi8(v, _mm_setzero_si128())};
    if constexpr (sizeof(U) == 4) return ~Hits{_mm_cmpeq_epi32(v, _mm_setzero_si128())};
  }
  RQ_INLINE bool any() const {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) != 0xFFFF;
  }
  /// Is a lane of one of the four zero?
  static RQ_INLINE bool anyZero(Vector16 a, Vector16 b, Vector16 c, Vector16 d) {
    const Vector16 zero = splat(0);
    return ((equal(a, zero) | equal(b, zero)) | (equal(c, zero) | equal(d, zero))).any();
  }
  RQ_INLINE std::uint64_t bits() const {
    return nonZero().bits();
  }

  /// The lanes of `a` where `hits` holds, zero elsewhere.
  static RQ_INLINE Vector16 where(Hits hits, Vector16 a) {
    return {_mm_and_si128(hits.v, a.v)};
  }
  /// table[index] for the lanes of `hits`, `otherwise` for the others, whose index may be anything.
  static RQ_INLINE Vector16 gather(const std::int32_t* table, Vector16 index, Hits hits, Vector16 otherwise) {
    static_assert(sizeof(U) == 4);
    alignas(16) std::uint32_t lane[lanes], value[lanes];
    index.store(lane);
    otherwise.store(value);
    const std::uint64_t bits = hits.bits();
    for (std::uint64_t i = 0; i < lanes; ++i)
      if (bits >> i & 1) value[i] = static_cast<std::uint32_t>(table[lane[i]]);
    return load(value);
  }
  /// The first lane of `hits`, which has one.
  RQ_INLINE U first(Hits hits) const {
    U all[lanes];
    store(all);
    return all[firstBit(hits.bits())];
  }
  /// table[index] for the lanes of `hits`, 0 for the others; every index is below 128.
  static RQ_INLINE Vector16 lookUp(const std::int32_t* table, Vector16 index, Hits hits) {
    return gather(table, index, hits, splat(0));
  }
  /// The low halves of all lanes of `a` and `b`, in any order.
  static RQ_INLINE Vector16<std::uint16_t> halves(Vector16 a, Vector16 b) {
    const auto extended = [](Vector16 x) { return _mm_srai_epi32(_mm_slli_epi32(x.v, 16), 16); };
    return {_mm_packs_epi32(extended(a), extended(b))};
  }
};

}  // namespace
}  // namespace rq::kit::simd

#endif
