// The 32-byte vector of AVX2. Internal linkage, as vector16.h explains.
#ifndef RQUNI_KIT_SIMD_VECTOR32_H
#define RQUNI_KIT_SIMD_VECTOR32_H

#include <immintrin.h>

#include "kit/simd/vector16.h"

namespace rq::kit::simd {
namespace {

/// As Vector16, but without partial loads: kernels pass fewer than `lanes` lanes to its Half.
template <class U>
struct Vector32 {
  using Lane = U;
  using Half = Vector16<U>;
  static constexpr std::uint64_t bytes = 32, lanes = bytes / sizeof(U);
  static constexpr bool masksAreVectors = true;
  static constexpr bool fastLookUp128 = false;

  struct Mask {
    __m256i v;
    friend RQ_INLINE Mask operator|(Mask a, Mask b) { return {_mm256_or_si256(a.v, b.v)}; }
    friend RQ_INLINE Mask operator&(Mask a, Mask b) { return {_mm256_and_si256(a.v, b.v)}; }
    RQ_INLINE Mask operator~() const { return {_mm256_xor_si256(v, _mm256_set1_epi8(-1))}; }
    RQ_INLINE bool any() const { return _mm256_movemask_epi8(v) != 0; }
    RQ_INLINE std::uint64_t bits() const {
      if constexpr (sizeof(U) == 8) return static_cast<std::uint32_t>(_mm256_movemask_pd(_mm256_castsi256_pd(v)));
      if constexpr (sizeof(U) == 4) return static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(v)));
      return static_cast<std::uint32_t>(_mm256_movemask_epi8(v));
    }
    RQ_INLINE std::uint64_t count() const {
      return countBits(static_cast<std::uint32_t>(_mm256_movemask_epi8(v))) / sizeof(U);
    }
  };

  __m256i v;

  static RQ_INLINE Vector32 load(const U* p) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))}; }
  RQ_INLINE void store(U* p) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  RQ_INLINE void storeNarrow(std::uint8_t* p) const {
    static_assert(sizeof(U) == 4);
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    simd::store(p, static_cast<std::int64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(words, words))));
  }

  static RQ_INLINE Vector16<std::uint8_t> loadNarrow16(const U* p) {
    static_assert(sizeof(U) == 4);
    const auto eight = [=](std::uint64_t i) { return _mm256_min_epu32(load(p + i).v, _mm256_set1_epi32(0xFF)); };
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(eight(0), eight(8)), _MM_SHUFFLE(3, 1, 2, 0));
    return {_mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1))};
  }

  static RQ_INLINE Vector32 splat(U c) {
    if constexpr (sizeof(U) == 1) return {_mm256_set1_epi8(static_cast<char>(c))};
    if constexpr (sizeof(U) == 2) return {_mm256_set1_epi16(static_cast<short>(c))};
    if constexpr (sizeof(U) == 4) return {_mm256_set1_epi32(static_cast<int>(c))};
    if constexpr (sizeof(U) == 8) return {_mm256_set1_epi64x(static_cast<long long>(c))};
  }
  friend RQ_INLINE Vector32 operator|(Vector32 a, Vector32 b) { return {_mm256_or_si256(a.v, b.v)}; }
  friend RQ_INLINE Vector32 operator&(Vector32 a, Vector32 b) { return {_mm256_and_si256(a.v, b.v)}; }
  friend RQ_INLINE Vector32 operator^(Vector32 a, Vector32 b) { return {_mm256_xor_si256(a.v, b.v)}; }
  friend RQ_INLINE Vector32 operator+(Vector32 a, Vector32 b) {
    if constexpr (sizeof(U) == 1) return {_mm256_add_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 2) return {_mm256_add_epi16(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm256_add_epi32(a.v, b.v)};
  }
  template <int count>
  RQ_INLINE Vector32 shiftRight() const {
    static_assert(sizeof(U) == 4);
    return {_mm256_srli_epi32(v, count)};
  }

  static RQ_INLINE Mask equal(Vector32 a, Vector32 b) {
    if constexpr (sizeof(U) == 1) return {_mm256_cmpeq_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm256_cmpeq_epi32(a.v, b.v)};
  }
  static RQ_INLINE Mask lessEqual(Vector32 a, Vector32 b) {
    if constexpr (sizeof(U) == 1) return {_mm256_cmpeq_epi8(_mm256_min_epu8(a.v, b.v), a.v)};
    if constexpr (sizeof(U) == 4) return {_mm256_cmpeq_epi32(_mm256_min_epu32(a.v, b.v), a.v)};
  }
  RQ_INLINE Mask within(U first, U count) const {
    constexpr U lowest = static_cast<U>(U{1} << (8 * sizeof(U) - 1));
    const __m256i moved = (*this + splat(static_cast<U>(lowest - first))).v;
    const __m256i limit = splat(static_cast<U>(lowest + count)).v;
    if constexpr (sizeof(U) == 1) return {_mm256_cmpgt_epi8(limit, moved)};
    if constexpr (sizeof(U) == 2) return {_mm256_cmpgt_epi16(limit, moved)};
    if constexpr (sizeof(U) == 4) return {_mm256_cmpgt_epi32(limit, moved)};
  }
  RQ_INLINE Mask isIn(const AsciiSet& set) const {
    static_assert(sizeof(U) == 1);
    const auto both = [](__m128i half) { return _mm256_broadcastsi128_si256(half); };
    const __m256i rows = both(_mm_load_si128(reinterpret_cast<const __m128i*>(set.rows)));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(v, 4), _mm256_set1_epi8(15));
    const __m256i bit = _mm256_shuffle_epi8(both(_mm_set_epi64x(bitsOfHighHalves, bitsOfLowHalves)), high);
    return {_mm256_cmpeq_epi8(_mm256_and_si256(_mm256_shuffle_epi8(rows, v), bit), bit)};
  }
  RQ_INLINE Mask isNaN() const {
    static_assert(sizeof(U) == 8);
    const __m256i magnitude = _mm256_and_si256(v, _mm256_set1_epi64x(INT64_MAX));
    return {_mm256_cmpgt_epi64(magnitude, _mm256_set1_epi64x(infinity))};
  }
  RQ_INLINE Mask nonZero() const {
    if constexpr (sizeof(U) == 1) return ~Mask{_mm256_cmpeq_epi8(v, _mm256_setzero_si256())};
    if constexpr (sizeof(U) == 4) return ~Mask{_mm256_cmpeq_epi32(v, _mm256_setzero_si256())};
  }
  RQ_INLINE bool any() const { return !_mm256_testz_si256(v, v); }
  static RQ_INLINE Vector32 min(Vector32 a, Vector32 b) {
    if constexpr (sizeof(U) == 1) return {_mm256_min_epu8(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm256_min_epu32(a.v, b.v)};
  }
  static RQ_INLINE bool anyZero(Vector32 a, Vector32 b, Vector32 c, Vector32 d) {
    return equal(min(min(a, b), min(c, d)), splat(0)).any();
  }
  RQ_INLINE std::uint64_t bits() const { return nonZero().bits(); }

  static RQ_INLINE Vector32 selectOrZero(Mask mask, Vector32 a) { return {_mm256_and_si256(mask.v, a.v)}; }
  static RQ_INLINE Vector32 gather(const std::int32_t* table, Vector32 index, Mask mask, Vector32 otherwise) {
    static_assert(sizeof(U) == 4);
    return {_mm256_mask_i32gather_epi32(otherwise.v, table, index.v, mask.v, 4)};
  }
  RQ_INLINE U firstSelected(Mask mask) const {
    static_assert(sizeof(U) == 4);
    const auto i = static_cast<long long>(firstBit(mask.bits()));
    const __m256i moved = _mm256_permutevar8x32_epi32(v, _mm256_castsi128_si256(_mm_cvtsi64_si128(i)));
    return static_cast<U>(_mm_cvtsi128_si32(_mm256_castsi256_si128(moved)));
  }
  static RQ_INLINE Vector32 lookUp128(const std::int32_t* table, Vector32 index, Mask mask) {
    return gather(table, index, mask, splat(0));
  }
  static RQ_INLINE Vector32<std::uint16_t> narrow(Vector32 a, Vector32 b) {
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    return {_mm256_packus_epi32(_mm256_and_si256(a.v, low), _mm256_and_si256(b.v, low))};
  }
  static RQ_INLINE Vector32<std::uint8_t> highBytes(Vector32 a, Vector32 b, Vector32 c, Vector32 d) {
    const auto high = [](Vector32 x, Vector32 y) {
      return _mm256_packus_epi32(_mm256_srli_epi32(x.v, 8), _mm256_srli_epi32(y.v, 8));
    };
    return {_mm256_packus_epi16(high(a, b), high(c, d))};
  }
};

}  // namespace
}  // namespace rq::kit::simd

#endif
