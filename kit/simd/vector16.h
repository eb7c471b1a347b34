// The 16-byte vector that every x86-64 processor has, over lanes of 1, 2, 4 or 8 bytes.
//
// Everything here has internal linkage. The library compiles this header with several instruction sets, and the
// linker must not merge a function of one set with that of another.
#ifndef RQUNI_KIT_SIMD_VECTOR16_H
#define RQUNI_KIT_SIMD_VECTOR16_H

#include <immintrin.h>

#include <cstdint>

#include "frame/types.h"
#include "kit/ascii.h"
#include "kit/unaligned.h"

#define RQ_INLINE __attribute__((always_inline)) inline

// For a function that reads whole aligned vectors around its input: the sanitizers would report that.
#ifdef __clang__
#define RQ_READS_WHOLE_VECTORS __attribute__((no_sanitize("address", "memory")))
#else
#define RQ_READS_WHOLE_VECTORS __attribute__((no_sanitize("address")))
#endif

namespace rq::kit::simd {
namespace {

using rq::load;
using rq::store;

/// `p` moved by a number of bytes.
template <class T>
RQ_INLINE T* advanced(T* p, std::uint64_t bytes) {
  return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(p) + bytes);
}

/// The lowest `n` bits set; n is 0 to 64.
RQ_INLINE std::uint64_t lowBits(std::uint64_t n) {
#ifdef __BMI2__
  return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(n));
#else
  return n < 64 ? (std::uint64_t{1} << n) - 1 : ~std::uint64_t{0};
#endif
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
#else  // without the instruction the built-in function is a call into the compiler's library
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  return ((bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F) * 0x0101010101010101 >> 56;
#endif
}

/// The `n` bytes at `p`, 1 to 15, and zeros behind them. Reads nothing else.
RQ_INLINE __m128i loadBytes(const void* p, std::uint64_t n) {
  if (n >= 8) {
    const auto low = load<std::int64_t>(p);
    const auto high = load<std::uint64_t>(advanced(p, n - 8));
    // The upper half holds the last n - 8 bytes. Shift twice: for n = 8 one shift by 64 would do nothing.
    return _mm_set_epi64x(static_cast<std::int64_t>(high >> 8 >> (8 * (15 - n))), low);
  }
  if (n >= 4) {
    const std::uint64_t low = load<std::uint32_t>(p);
    const std::uint64_t high = load<std::uint32_t>(advanced(p, n - 4));
    return _mm_cvtsi64_si128(static_cast<std::int64_t>(low | high << (8 * (n - 4))));
  }
  const auto byte = [p](std::uint64_t i) { return std::uint32_t{load<std::uint8_t>(advanced(p, i))} << (8 * i); };
  return _mm_cvtsi32_si128(static_cast<int>(byte(0) | byte(n / 2) | byte(n - 1)));
}

/// By the high half of a byte, the bit that an AsciiSet tests: 1 << half, and for 8 to 15 a byte that no row can
/// match.
constexpr std::int64_t bitsOfLowHalves = INT64_MIN + 0x40201008040201, bitsOfHighHalves = -1;

/// The bits of a double that is infinite. Those of a NaN, without its sign, are a greater number.
constexpr std::int64_t infinity = 0x7FF0000000000000;
constexpr std::int32_t infinityHigh = infinity >> 32;

/// A vector as the kernels use it. Comparisons are unsigned and give a Mask. Kernels fold masks with | and &, and ask
/// for one bit a lane only when they need the place.
template <class U>
struct Vector16 {
  using Lane = U;
  static constexpr std::uint64_t bytes = 16, lanes = bytes / sizeof(U);
  /// Is folding masks as cheap as folding vectors?
  static constexpr bool masksAreVectors = true;
  /// Is lookUp128 cheaper than a gather?
  static constexpr bool fastLookUp128 = false;

  /// The lanes for which a comparison holds.
  struct Mask {
    __m128i v;
    friend RQ_INLINE Mask operator|(Mask a, Mask b) { return {_mm_or_si128(a.v, b.v)}; }
    friend RQ_INLINE Mask operator&(Mask a, Mask b) { return {_mm_and_si128(a.v, b.v)}; }
    RQ_INLINE Mask operator~() const { return {_mm_xor_si128(v, _mm_set1_epi8(-1))}; }
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
  /// Loads the first `n` lanes, 1 to lanes - 1; the others are zero.
  static RQ_INLINE Vector16 loadPartial(const U* p, std::uint64_t n) { return {loadBytes(p, n * sizeof(U))}; }
  RQ_INLINE void store(U* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  /// Stores the low byte of each lane. Each lane must be below 0x100.
  RQ_INLINE void storeNarrow(std::uint8_t* p) const {
    static_assert(sizeof(U) == 4);
    const __m128i words = _mm_packs_epi32(v, v);
    simd::store(p, _mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

  /// Sixteen lanes as bytes. One above 0xFF becomes 0xFF.
  static RQ_INLINE Vector16<std::uint8_t> loadNarrow16(const U* p) {
    static_assert(sizeof(U) == 4);
    const auto four = [=](std::uint64_t i) {  // the packs are signed: what has its sign bit set becomes the maximum
      const __m128i x = load(p + i).v, negative = _mm_srai_epi32(x, 31);
      return _mm_andnot_si128(_mm_set1_epi32(INT32_MIN), _mm_or_si128(x, negative));
    };
    const __m128i low = _mm_packs_epi32(four(0), four(4)), high = _mm_packs_epi32(four(8), four(12));
    return {_mm_packus_epi16(low, high)};
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
  /// Each lane divided by 2^count.
  template <int count>
  RQ_INLINE Vector16 shiftRight() const {
    static_assert(sizeof(U) == 4);
    return {_mm_srli_epi32(v, count)};
  }

  static RQ_INLINE Mask equal(Vector16 a, Vector16 b) {
    if constexpr (sizeof(U) == 1) return {_mm_cmpeq_epi8(a.v, b.v)};
    if constexpr (sizeof(U) == 4) return {_mm_cmpeq_epi32(a.v, b.v)};
  }
  static RQ_INLINE Mask notEqual(Vector16 a, Vector16 b) { return ~equal(a, b); }
  static RQ_INLINE Mask lessEqual(Vector16 a, Vector16 b) {
    if constexpr (sizeof(U) == 1) return {_mm_cmpeq_epi8(_mm_min_epu8(a.v, b.v), a.v)};
    if constexpr (sizeof(U) == 4) {
      const __m128i flip = _mm_set1_epi32(INT32_MIN);
      return ~Mask{_mm_cmpgt_epi32(_mm_xor_si128(a.v, flip), _mm_xor_si128(b.v, flip))};
    }
  }
  /// The lanes from `first` to first + count - 1. The count is positive and less than a lane's number of values. One
  /// addition moves the range to the lowest signed values, so that one signed comparison suffices.
  RQ_INLINE Mask within(U first, U count) const {
    constexpr U lowest = static_cast<U>(U{1} << (8 * sizeof(U) - 1));
    const __m128i moved = (*this + splat(static_cast<U>(lowest - first))).v;
    const __m128i limit = splat(static_cast<U>(lowest + count)).v;
    if constexpr (sizeof(U) == 1) return {_mm_cmplt_epi8(moved, limit)};
    if constexpr (sizeof(U) == 2) return {_mm_cmplt_epi16(moved, limit)};
    if constexpr (sizeof(U) == 4) return {_mm_cmplt_epi32(moved, limit)};
  }
  /// The bytes that are in the set.
  RQ_INLINE Mask isIn(const AsciiSet& set) const {
    static_assert(sizeof(U) == 1);
#ifdef __SSSE3__
    const __m128i rows = _mm_load_si128(reinterpret_cast<const __m128i*>(set.rows));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(v, 4), _mm_set1_epi8(15));
    const __m128i bit = _mm_shuffle_epi8(_mm_set_epi64x(bitsOfHighHalves, bitsOfLowHalves), high);
    return {_mm_cmpeq_epi8(_mm_and_si128(_mm_shuffle_epi8(rows, v), bit), bit)};
#else
    alignas(16) std::uint8_t lane[lanes], member[lanes];
    store(lane);
    for (std::uint64_t i = 0; i < lanes; ++i) member[i] = set.has(lane[i]) ? 0xFF : 0;
    return {load(member).v};
#endif
  }
  /// The lanes that hold a NaN. Integer comparisons, because those of floating-point numbers raise exceptions.
  RQ_INLINE Mask isNaN() const {
    static_assert(sizeof(U) == 8);
    const __m128i high = _mm_and_si128(_mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 1, 1)), _mm_set1_epi32(INT32_MAX));
    const __m128i lowIsZero = _mm_shuffle_epi32(_mm_cmpeq_epi32(v, _mm_setzero_si128()), _MM_SHUFFLE(2, 2, 0, 0));
    const __m128i withLow = _mm_or_si128(high, _mm_andnot_si128(lowIsZero, _mm_set1_epi32(1)));
    return {_mm_cmpgt_epi32(withLow, _mm_set1_epi32(infinityHigh))};
  }
  RQ_INLINE Mask nonZero() const {
    if constexpr (sizeof(U) == 1) return ~Mask{_mm_cmpeq_epi8(v, _mm_setzero_si128())};
    if constexpr (sizeof(U) == 4) return ~Mask{_mm_cmpeq_epi32(v, _mm_setzero_si128())};
  }
  RQ_INLINE bool any() const {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) != 0xFFFF;
  }
  /// Is any lane of the four vectors zero?
  static RQ_INLINE bool anyZero(Vector16 a, Vector16 b, Vector16 c, Vector16 d) {
    const Vector16 zero = splat(0);
    return ((equal(a, zero) | equal(b, zero)) | (equal(c, zero) | equal(d, zero))).any();
  }
  RQ_INLINE std::uint64_t bits() const {
    return nonZero().bits();
  }

  /// The lanes of `a` that the mask selects, and zero in the others.
  static RQ_INLINE Vector16 selectOrZero(Mask mask, Vector16 a) {
    return {_mm_and_si128(mask.v, a.v)};
  }
  /// table[index] in the lanes that the mask selects, `otherwise` in the others, whose index may be anything.
  static RQ_INLINE Vector16 gather(const std::int32_t* table, Vector16 index, Mask mask, Vector16 otherwise) {
    static_assert(sizeof(U) == 4);
    alignas(16) std::uint32_t lane[lanes], value[lanes];
    index.store(lane);
    otherwise.store(value);
    const std::uint64_t bits = mask.bits();
    for (std::uint64_t i = 0; i < lanes; ++i)
      if (bits >> i & 1) value[i] = static_cast<std::uint32_t>(table[lane[i]]);
    return load(value);
  }
  /// The first lane that the mask selects. It must select one.
  RQ_INLINE U firstSelected(Mask mask) const {
    U all[lanes];
    store(all);
    return all[firstBit(mask.bits())];
  }
  /// table[index] in the lanes that the mask selects, 0 in the others. The table has 128 entries.
  static RQ_INLINE Vector16 lookUp128(const std::int32_t* table, Vector16 index, Mask mask) {
    return gather(table, index, mask, splat(0));
  }
  /// The low narrow of all lanes of `a` and `b`, in any order.
  static RQ_INLINE Vector16<std::uint16_t> narrow(Vector16 a, Vector16 b) {
    const auto extended = [](Vector16 x) { return _mm_srai_epi32(_mm_slli_epi32(x.v, 16), 16); };
    return {_mm_packs_epi32(extended(a), extended(b))};
  }
  /// The high bytes of all lanes, which are below 0x10000, in any order.
  static RQ_INLINE Vector16<std::uint8_t> highBytes(Vector16 a, Vector16 b, Vector16 c, Vector16 d) {
    const auto high = [](Vector16 x, Vector16 y) {
      return _mm_packs_epi32(_mm_srli_epi32(x.v, 8), _mm_srli_epi32(y.v, 8));
    };
    return {_mm_packus_epi16(high(a, b), high(c, d))};
  }
};

}  // namespace
}  // namespace rq::kit::simd

#endif
