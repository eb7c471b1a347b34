// The 64-byte vector of AVX-512 (F, BW, VL, DQ). Internal linkage, as vector16.h explains.
#ifndef RQUNI_KIT_SIMD_VECTOR64_H
#define RQUNI_KIT_SIMD_VECTOR64_H

#include "kit/simd/vector32.h"

namespace rq::kit::simd {
namespace {

/// As Vector16, but a Mask is a mask register, and a partial load uses one, which never faults. There is no partial
/// store: a load soon after a masked store has to wait for it. Copies use the Half.
template <class U>
struct Vector64 {
  using Lane = U;
  using Half = Vector32<U>;
  static constexpr std::uint64_t bytes = 64, lanes = bytes / sizeof(U);
  static constexpr bool masksAreVectors = false;
  static constexpr bool fastLookUp128 = true;

  struct Mask {
    std::uint64_t v;
    friend RQ_INLINE Mask operator|(Mask a, Mask b) { return {a.v | b.v}; }
    friend RQ_INLINE Mask operator&(Mask a, Mask b) { return {a.v & b.v}; }
    RQ_INLINE Mask operator~() const { return {~v & lowBits(lanes)}; }
    RQ_INLINE bool any() const { return v != 0; }
    RQ_INLINE std::uint64_t bits() const { return v; }
    RQ_INLINE std::uint64_t count() const { return countBits(v); }
  };

  __m512i v;

  static RQ_INLINE Vector64 load(const U* p) { return {_mm512_loadu_si512(p)}; }
  static RQ_INLINE Vector64 loadPartial(const U* p, std::uint64_t n) {
    const std::uint64_t mask = lowBits(n);
    if constexpr (sizeof(U) == 1) return {_mm512_maskz_loadu_epi8(mask, p)};
    if constexpr (sizeof(U) == 4) return {_mm512_maskz_loadu_epi32(static_cast<__mmask16>(mask), p)};
    if constexpr (sizeof(U) == 8) return {_mm512_maskz_loadu_epi64(static_cast<__mmask8>(mask), p)};
  }
  RQ_INLINE void store(U* p) const { _mm512_storeu_si512(p, v); }
  RQ_INLINE void storeNarrow(std::uint8_t* p) const {
    static_assert(sizeof(U) == 4);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtepi32_epi8(v));
  }

  static RQ_INLINE Vector16<std::uint8_t> loadNarrow16(const U* p) {
    static_assert(sizeof(U) == 4);
    return {_mm512_maskz_cvtusepi32_epi8(0xFFFF, load(p).v)};
  }

  static RQ_INLINE Vector64 splat(U c) {
    if constexpr (sizeof(U) == 1) return {_mm512_set1_epi8(static_cast<char>(c))};
    if constexpr (sizeof(U) == 2) return {_mm512_set1_epi16(static_cast<short>(c))};
    if constexpr (sizeof(U) == 4) return {_mm512_set1_epi32(static_cast<int>(c))};
    if constexpr (sizeof(U) == 8) return {_mm512_set1_epi64(static_cast<long long>(c))};
  }
  friend RQ_INLINE Vector64 operator|(Vector64 a, Vector64 b) { return {_mm512_or_si512(a.v, b.v)}; }
  friend RQ_INLINE Vector64 operator&(Vector64 a, Vector64 b) { return {_mm512_and_si512(a.v, b.v)}; }
  friend RQ_INLINE Vector64 operator^(Vector64 a, Vector64 b) { return {_mm512_xor_si512(a.v, b.v)}; }
  friend RQ_INLINE Vector64 operator+(Vector64 a, Vector64 b) {
    if constexpr (sizeof(U) == 1) return {_mm512_add_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 2) return {_mm512_add_epi16(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_add_epi32(a.v, b.v)};
  }
  template <int count>
  RQ_INLINE Vector64 shiftRight() const {
    static_assert(sizeof(U) == 4);
    return {_mm512_srli_epi32(v, count)};
  }

  static RQ_INLINE Mask equal(Vector64 a, Vector64 b) {
    if constexpr (sizeof(U) == 1) return {_mm512_cmpeq_epi8_mask(a.v, b.v)};
    if constexpr (sizeof(U) == 2) return {_mm512_cmpeq_epi16_mask(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_cmpeq_epi32_mask(a.v, b.v)};
  }
  static RQ_INLINE Mask notEqual(Vector64 a, Vector64 b) {
    if constexpr (sizeof(U) == 1) return {_mm512_cmpneq_epi8_mask(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_cmpneq_epi32_mask(a.v, b.v)};
  }
  static RQ_INLINE Mask lessEqual(Vector64 a, Vector64 b) {
    if constexpr (sizeof(U) == 1) return {_mm512_cmple_epu8_mask(a.v, b.v)};
    if constexpr (sizeof(U) == 2) return {_mm512_cmple_epu16_mask(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_cmple_epu32_mask(a.v, b.v)};
  }
  RQ_INLINE Mask within(U first, U count) const {
    const __m512i moved = (*this + splat(static_cast<U>(0 - first))).v, limit = splat(count).v;
    if constexpr (sizeof(U) == 1) return {_mm512_cmplt_epu8_mask(moved, limit)};
    if constexpr (sizeof(U) == 2) return {_mm512_cmplt_epu16_mask(moved, limit)};
    if constexpr (sizeof(U) == 4) return {_mm512_cmplt_epu32_mask(moved, limit)};
  }
  /// One unordered comparison tests two vectors for NaN. It suppresses all exceptions.
  struct NaNTest {
    __m512d v;
    friend RQ_INLINE Mask operator|(NaNTest a, NaNTest b) {
      return {_mm512_cmp_round_pd_mask(a.v, b.v, _CMP_UNORD_Q, _MM_FROUND_NO_EXC)};
    }
    RQ_INLINE std::uint64_t bits() const { return (*this | *this).bits(); }
  };
  RQ_INLINE NaNTest isNaN() const {
    static_assert(sizeof(U) == 8);
    return {_mm512_castsi512_pd(v)};
  }
  RQ_INLINE Mask nonZero() const {
    if constexpr (sizeof(U) == 1) return {_mm512_test_epi8_mask(v, v)};
    if constexpr (sizeof(U) == 4) return {_mm512_test_epi32_mask(v, v)};
  }
  RQ_INLINE bool any() const { return _mm512_test_epi64_mask(v, v) != 0; }
  static RQ_INLINE Vector64 min(Vector64 a, Vector64 b) {
    if constexpr (sizeof(U) == 1) return {_mm512_min_epu8(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_min_epu32(a.v, b.v)};
  }
  static RQ_INLINE bool anyZero(Vector64 a, Vector64 b, Vector64 c, Vector64 d) {
    return equal(min(min(a, b), min(c, d)), splat(0)).any();
  }
  RQ_INLINE std::uint64_t bits() const { return nonZero().bits(); }

  static RQ_INLINE Vector64 selectOrZero(Mask mask, Vector64 a) {
    if constexpr (sizeof(U) == 1) return {_mm512_maskz_mov_epi8(mask.v, a.v)};
    if constexpr (sizeof(U) == 2) return {_mm512_maskz_mov_epi16(static_cast<__mmask32>(mask.v), a.v)};
    if constexpr (sizeof(U) == 4) return {_mm512_maskz_mov_epi32(static_cast<__mmask16>(mask.v), a.v)};
  }
  RQ_INLINE U firstSelected(Mask mask) const {
    static_assert(sizeof(U) == 2);
    const __m512i first = _mm512_set1_epi16(static_cast<short>(firstBit(mask.v)));
    return static_cast<U>(_mm_cvtsi128_si32(_mm512_castsi512_si128(_mm512_permutexvar_epi16(first, v))));
  }
  /// Permutes the whole table through registers, which is far cheaper than a gather. Uses the low 7 bits of an index.
  static RQ_INLINE Vector64 lookUp128(const U* table, Vector64 index, Mask mask) {
    static_assert(sizeof(U) == 2);
    const auto from = [=](const U* half) {
      return _mm512_permutex2var_epi16(_mm512_loadu_si512(half), index.v, _mm512_loadu_si512(half + lanes));
    };
    const __mmask32 upper = _mm512_test_epi16_mask(index.v, _mm512_set1_epi16(64));
    return selectOrZero(mask, {_mm512_mask_mov_epi16(from(table), upper, from(table + 2 * lanes))});
  }
  /// The low and the high halves of all lanes of `a` and `b`, in an order that `join` undoes.
  static RQ_INLINE Vector64<std::uint16_t> lowHalves(Vector64 a, Vector64 b) { return narrow(a, b); }
  static RQ_INLINE Vector64<std::uint16_t> highHalves(Vector64 a, Vector64 b) {
    return {_mm512_packus_epi32(_mm512_srli_epi32(a.v, 16), _mm512_srli_epi32(b.v, 16))};
  }
  static RQ_INLINE void join(Vector64<std::uint16_t> low, Vector64<std::uint16_t> high, Vector64& a, Vector64& b) {
    a = {_mm512_unpacklo_epi16(low.v, high.v)};
    b = {_mm512_unpackhi_epi16(low.v, high.v)};
  }
  static RQ_INLINE Vector64<std::uint16_t> narrow(Vector64 a, Vector64 b) {
    const __m512i low = _mm512_set1_epi32(0xFFFF);
    return {_mm512_packus_epi32(_mm512_and_si512(a.v, low), _mm512_and_si512(b.v, low))};
  }
  static RQ_INLINE Vector64<std::uint8_t> highBytes(Vector64 a, Vector64 b, Vector64 c, Vector64 d) {
    const auto high = [](Vector64 x, Vector64 y) {
      return _mm512_packus_epi32(_mm512_srli_epi32(x.v, 8), _mm512_srli_epi32(y.v, 8));
    };
    return {_mm512_packus_epi16(high(a, b), high(c, d))};
  }
};

}  // namespace
}  // namespace rq::kit::simd

#endif
