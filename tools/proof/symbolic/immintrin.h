// In place of the compiler's header: the vector instructions that the library uses, lane by lane as the processor's
// manual defines them.
#ifndef RQUNI_PROOF_SYMBOLIC_IMMINTRIN_H
#define RQUNI_PROOF_SYMBOLIC_IMMINTRIN_H

#include <algorithm>

#include "symbolic/words.h"

namespace rq::proof {

template <std::size_t size>
struct Vector {
  std::array<Byte, size> bytes;

  template <class T>
  static constexpr std::size_t lanes = size / sizeof(T);
  template <class T>
  Word<T> lane(std::size_t i) const {
    return joined<T>(bytes.data() + i * sizeof(T));
  }
  template <class T>
  void set(std::size_t i, Word<T> value) {
    split(value, bytes.data() + i * sizeof(T));
  }
  /// A vector whose lane i is f(i).
  template <class T, class F>
  static Vector of(F f) {
    Vector result;
    for (std::size_t i = 0; i < lanes<T>; ++i) result.set<T>(i, Word<T>(f(i)));
    return result;
  }
  template <class T, class F>
  static Vector each(const Vector& a, F f) {
    return of<T>([&](std::size_t i) { return f(a.lane<T>(i)); });
  }
  template <class T, class F>
  static Vector each(const Vector& a, const Vector& b, F f) {
    return of<T>([&](std::size_t i) { return f(a.lane<T>(i), b.lane<T>(i)); });
  }
  /// All bits of the lanes for which `f` holds.
  template <class T, class F>
  static Vector mask(const Vector& a, const Vector& b, F f) {
    return each<T>(a, b, [&](auto x, auto y) { return select(f(x, y), Word<T>(-1), Word<T>(0)); });
  }
  static Vector read(const void* from) {
    Vector result;
    Memory::get().read(from, result.bytes.data(), size);
    return result;
  }
  void write(void* to) const { Memory::get().write(to, bytes.data(), size); }
};

/// A word whose bit i is bit(i).
template <class F>
Word<unsigned long> wordOfBits(std::size_t count, F bit) {
  z3::context& context = Prover::get().context();
  z3::expr_vector bits(context);
  for (std::size_t i = 64; i-- > 0;) {
    const Word<bool> one = i < count ? Word<bool>(bit(i)) : Word<bool>(false);
    bits.push_back(z3::ite(one.expression(), context.bv_val(1, 1), context.bv_val(0, 1)));
  }
  return Word<unsigned long>::of(z3::concat(bits));
}
template <class T, std::size_t size>
Word<int> signs(const Vector<size>& v) {
  using S = std::make_signed_t<T>;
  return wordOfBits(size / sizeof(T), [&](std::size_t i) { return v.template lane<S>(i) < 0; });
}
template <class T, std::size_t size, class F>
Word<unsigned long> maskOf(const Vector<size>& a, const Vector<size>& b, F f) {
  return wordOfBits(size / sizeof(T), [&](std::size_t i) { return f(a.template lane<T>(i), b.template lane<T>(i)); });
}

/// The nearest value of a narrower type.
template <class To, class From>
Word<To> saturated(Word<From> x) {
  constexpr From least = std::numeric_limits<To>::min(), most = std::numeric_limits<To>::max();
  return Word<To>(select(x < least, Word<From>(least), select(x > most, Word<From>(most), x)));
}
/// packs and packus: within each 16 bytes the lanes of `a`, then those of `b`.
template <class From, class To, std::size_t size>
Vector<size> pack(const Vector<size>& a, const Vector<size>& b) {
  constexpr std::size_t half = 16 / sizeof(From);
  return Vector<size>::template of<To>([&](std::size_t i) {
    const std::size_t block = i / (2 * half), k = i % (2 * half);
    return saturated<To>((k < half ? a : b).template lane<From>(block * half + k % half));
  });
}
/// unpacklo and unpackhi: within each 16 bytes the lanes of one half of `a` and `b` in turn.
template <class T, std::size_t size>
Vector<size> unpack(const Vector<size>& a, const Vector<size>& b, bool high) {
  constexpr std::size_t lanes = 16 / sizeof(T);
  return Vector<size>::template of<T>([&](std::size_t i) {
    return (i % 2 == 0 ? a : b).template lane<T>(i / lanes * lanes + (high ? lanes / 2 : 0) + i % lanes / 2);
  });
}
/// Each lane is that lane of `table`, one vector or two, which the lowest bits of its index name.
template <class T, std::size_t size, std::same_as<Vector<size>>... Others>
Vector<size> permuted(const Vector<size>& index, const Vector<size>& first, const Others&... others) {
  const std::array table{first, others...};
  constexpr std::size_t lanes = size / sizeof(T), all = table.size() * lanes;
  return Vector<size>::template of<T>([&](std::size_t i) {
    Word<T> value = 0;
    for (std::size_t k = 0; k < all; ++k)
      value =
          select((index.template lane<T>(i) & (all - 1)) == k, table[k / lanes].template lane<T>(k % lanes), value);
    return value;
  });
}
template <std::size_t size>
Vector<size> shuffleBytes(const Vector<size>& a, const Vector<size>& control) {
  return Vector<size>::template of<std::uint8_t>([&](std::size_t i) {
    const Word<std::uint8_t> c = control.template lane<std::uint8_t>(i);
    Word<std::uint8_t> value = 0;
    for (std::size_t k = 0; k < 16; ++k)
      value = select((c & 0x8F) == k, a.template lane<std::uint8_t>(i / 16 * 16 + k), value);
    return value;
  });
}

}  // namespace rq::proof

using __m128i = rq::proof::Vector<16>;
using __m256i = rq::proof::Vector<32>;
using __m512i = rq::proof::Vector<64>;
using __m128 = __m128i;
using __m128d = __m128i;
using __m256 = __m256i;
using __m256d = __m256i;
using __m512d = __m512i;
using __mmask8 = rq::proof::Word<unsigned char>;
using __mmask16 = rq::proof::Word<unsigned short>;
using __mmask32 = rq::proof::Word<unsigned>;
using __mmask64 = rq::proof::Word<unsigned long>;

#define RQ_FOR_EACH_SIZE(X) X(_mm, 16, si128) X(_mm256, 32, si256) X(_mm512, 64, si512)
#define RQ_LANEWISE(P, size, name, T, expression)                                              \
  inline auto P##_##name(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) { \
    return rq::proof::Vector<size>::each<T>(a, b, [](auto x, auto y) { return expression; });  \
  }
#define RQ_COMPARE(P, size, name, T, op)                                                       \
  inline auto P##_##name(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) { \
    return rq::proof::Vector<size>::mask<T>(a, b, [](auto x, auto y) { return x op y; });      \
  }
#define RQ_MASK(name, T, op)                                                  \
  inline auto _mm512_##name(const __m512i& a, const __m512i& b) {             \
    return rq::proof::maskOf<T>(a, b, [](auto x, auto y) { return x op y; }); \
  }
#define RQ_SPLAT(P, size, name, T)                                                                 \
  template <class A>                                                                               \
  auto P##_##name(A value) {                                                                       \
    return rq::proof::Vector<size>::of<T>([=](std::size_t) { return rq::proof::Word<T>(value); }); \
  }

#define RQ_UNPACK(P, size, lanes, T)                                                                     \
  inline auto P##_unpacklo_##lanes(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) { \
    return rq::proof::unpack<T>(a, b, false);                                                            \
  }                                                                                                      \
  inline auto P##_unpackhi_##lanes(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) { \
    return rq::proof::unpack<T>(a, b, true);                                                             \
  }

#define RQ_ALL(P, size, si)                                                                                \
  RQ_LANEWISE(P, size, or_##si, unsigned long, x | y)                                                      \
  RQ_LANEWISE(P, size, and_##si, unsigned long, x& y)                                                      \
  RQ_LANEWISE(P, size, xor_##si, unsigned long, x ^ y)                                                     \
  RQ_LANEWISE(P, size, andnot_##si, unsigned long, ~x& y)                                                  \
  RQ_LANEWISE(P, size, add_epi8, unsigned char, x + y)                                                     \
  RQ_LANEWISE(P, size, add_epi16, unsigned short, x + y)                                                   \
  RQ_LANEWISE(P, size, add_epi32, unsigned, x + y)                                                         \
  RQ_LANEWISE(P, size, min_epu8, unsigned char, rq::proof::select(x < y, x, y))                            \
  RQ_LANEWISE(P, size, min_epu32, unsigned, rq::proof::select(x < y, x, y))                                \
  RQ_COMPARE(P, size, cmpeq_epi8, unsigned char, ==)                                                       \
  RQ_COMPARE(P, size, cmpeq_epi32, unsigned, ==)                                                           \
  RQ_COMPARE(P, size, cmpgt_epi8, signed char, >)                                                          \
  RQ_COMPARE(P, size, cmpgt_epi16, short, >)                                                               \
  RQ_COMPARE(P, size, cmpgt_epi32, int, >)                                                                 \
  RQ_COMPARE(P, size, cmpgt_epi64, long, >)                                                                \
  RQ_COMPARE(P, size, cmplt_epi8, signed char, <)                                                          \
  RQ_COMPARE(P, size, cmplt_epi16, short, <)                                                               \
  RQ_COMPARE(P, size, cmplt_epi32, int, <)                                                                 \
  RQ_SPLAT(P, size, set1_epi8, unsigned char)                                                              \
  RQ_SPLAT(P, size, set1_epi16, unsigned short)                                                            \
  RQ_SPLAT(P, size, set1_epi32, unsigned)                                                                  \
  RQ_SPLAT(P, size, set1_epi64x, unsigned long)                                                            \
  RQ_SPLAT(P, size, set1_epi64, unsigned long)                                                             \
  inline auto P##_setzero_##si() {                                                                         \
    return rq::proof::Vector<size>{};                                                                      \
  }                                                                                                        \
  inline auto P##_loadu_##si(const void* p) {                                                              \
    return rq::proof::Vector<size>::read(p);                                                               \
  }                                                                                                        \
  inline auto P##_load_##si(const void* p) {                                                               \
    return rq::proof::Vector<size>::read(p);                                                               \
  }                                                                                                        \
  inline void P##_storeu_##si(void* p, const rq::proof::Vector<size>& v) {                                 \
    v.write(p);                                                                                            \
  }                                                                                                        \
  inline auto P##_cast##si##_pd(const rq::proof::Vector<size>& v) {                                        \
    return v;                                                                                              \
  }                                                                                                        \
  inline auto P##_cast##si##_ps(const rq::proof::Vector<size>& v) {                                        \
    return v;                                                                                              \
  }                                                                                                        \
  inline auto P##_movemask_epi8(const rq::proof::Vector<size>& v) {                                        \
    return rq::proof::signs<unsigned char>(v);                                                             \
  }                                                                                                        \
  inline auto P##_movemask_ps(const rq::proof::Vector<size>& v) {                                          \
    return rq::proof::signs<unsigned>(v);                                                                  \
  }                                                                                                        \
  inline auto P##_movemask_pd(const rq::proof::Vector<size>& v) {                                          \
    return rq::proof::signs<unsigned long>(v);                                                             \
  }                                                                                                        \
  inline auto P##_srli_epi16(const rq::proof::Vector<size>& v, int count) {                                \
    return rq::proof::Vector<size>::each<unsigned short>(v, [=](auto x) { return x >> count; });           \
  }                                                                                                        \
  inline auto P##_srli_epi32(const rq::proof::Vector<size>& v, int count) {                                \
    return rq::proof::Vector<size>::each<unsigned>(v, [=](auto x) { return x >> count; });                 \
  }                                                                                                        \
  inline auto P##_slli_epi32(const rq::proof::Vector<size>& v, int count) {                                \
    return rq::proof::Vector<size>::each<unsigned>(v, [=](auto x) { return x << count; });                 \
  }                                                                                                        \
  inline auto P##_srai_epi32(const rq::proof::Vector<size>& v, int count) {                                \
    return rq::proof::Vector<size>::each<int>(v, [=](auto x) { return x >> count; });                      \
  }                                                                                                        \
  inline auto P##_packs_epi32(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) {        \
    return rq::proof::pack<int, short>(a, b);                                                              \
  }                                                                                                        \
  inline auto P##_packus_epi32(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) {       \
    return rq::proof::pack<int, unsigned short>(a, b);                                                     \
  }                                                                                                        \
  inline auto P##_packus_epi16(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& b) {       \
    return rq::proof::pack<short, unsigned char>(a, b);                                                    \
  }                                                                                                        \
  RQ_UNPACK(P, size, epi8, unsigned char)                                                                  \
  RQ_UNPACK(P, size, epi16, unsigned short)                                                                \
  inline auto P##_shuffle_epi8(const rq::proof::Vector<size>& a, const rq::proof::Vector<size>& control) { \
    return rq::proof::shuffleBytes(a, control);                                                            \
  }
RQ_FOR_EACH_SIZE(RQ_ALL)

#ifndef _MM_SHUFFLE
#define _MM_SHUFFLE(d, c, b, a) ((d) << 6 | (c) << 4 | (b) << 2 | (a))
#endif
inline __m128i _mm_shuffle_epi32(const __m128i& v, int order) {
  return __m128i::of<unsigned>([&](std::size_t i) { return v.lane<unsigned>(order >> (2 * i) & 3); });
}
template <class A, class B>
__m128i _mm_set_epi64x(A high, B low) {
  using Word = rq::proof::Word<unsigned long>;
  return __m128i::of<unsigned long>([&](std::size_t i) { return i == 0 ? Word(low) : Word(high); });
}
template <class A>
__m128i _mm_cvtsi64_si128(A low) {
  return _mm_set_epi64x(0, low);
}
template <class A>
__m128i _mm_cvtsi32_si128(A low) {
  return _mm_set_epi64x(0, rq::proof::Word<unsigned>(low));
}
inline rq::proof::Word<long> _mm_cvtsi128_si64(const __m128i& v) {
  return v.lane<long>(0);
}
inline rq::proof::Word<int> _mm_cvtsi128_si32(const __m128i& v) {
  return v.lane<int>(0);
}
inline __m128i _mm_unpackhi_epi64(const __m128i& a, const __m128i& b) {
  return _mm_set_epi64x(b.lane<unsigned long>(1), a.lane<unsigned long>(1));
}

inline __m128i _mm256_castsi256_si128(const __m256i& v) {
  return __m128i::of<unsigned>([&](std::size_t i) { return v.lane<unsigned>(i); });
}
inline __m128i _mm256_extracti128_si256(const __m256i& v, int half) {
  return __m128i::of<unsigned>([&](std::size_t i) { return v.lane<unsigned>(4 * half + i); });
}
inline __m256i _mm256_broadcastsi128_si256(const __m128i& v) {
  return __m256i::of<unsigned>([&](std::size_t i) { return v.lane<unsigned>(i % 4); });
}
inline __m256i _mm256_castsi128_si256(const __m128i& v) {
  return __m256i::of<unsigned>(
      [&](std::size_t i) { return i < 4 ? v.lane<unsigned>(i) : rq::proof::Word<unsigned>(0); });
}
inline rq::proof::Word<int> _mm256_testz_si256(const __m256i& a, const __m256i& b) {
  rq::proof::Word<unsigned long> any = 0;
  for (std::size_t i = 0; i < 4; ++i) any |= a.lane<unsigned long>(i) & b.lane<unsigned long>(i);
  return any == 0;
}
inline __m256i _mm256_permutevar8x32_epi32(const __m256i& v, const __m256i& index) {
  return rq::proof::permuted<unsigned>(index, v);
}

inline __m128i _mm512_castsi512_si128(const __m512i& v) {
  return __m128i::of<unsigned>([&](std::size_t i) { return v.lane<unsigned>(i); });
}
RQ_MASK(cmpeq_epi8_mask, unsigned char, ==)
RQ_MASK(cmpeq_epi16_mask, unsigned short, ==)
RQ_MASK(cmpeq_epi32_mask, unsigned, ==)
RQ_MASK(cmpneq_epi8_mask, unsigned char, !=)
RQ_MASK(cmpneq_epi32_mask, unsigned, !=)
RQ_MASK(cmple_epu8_mask, unsigned char, <=)
RQ_MASK(cmple_epu16_mask, unsigned short, <=)
RQ_MASK(cmple_epu32_mask, unsigned, <=)
RQ_MASK(cmplt_epu8_mask, unsigned char, <)
RQ_MASK(cmplt_epu16_mask, unsigned short, <)
RQ_MASK(cmplt_epu32_mask, unsigned, <)
#define RQ_TEST(name, T)                                                            \
  inline auto _mm512_##name(const __m512i& a, const __m512i& b) {                   \
    return rq::proof::maskOf<T>(a, b, [](auto x, auto y) { return (x & y) != 0; }); \
  }
RQ_TEST(test_epi8_mask, unsigned char)
RQ_TEST(test_epi16_mask, unsigned short)
RQ_TEST(test_epi32_mask, unsigned)
RQ_TEST(test_epi64_mask, unsigned long)

#define _CMP_UNORD_Q 3
#define _MM_FROUND_NO_EXC 8
/// Of the comparisons only the unordered one: a NaN has an exponent of ones and a fraction that is not zero.
inline auto _mm512_cmp_round_pd_mask(const __m512d& a, const __m512d& b, int, int) {
  const auto isNaN = [](auto x) { return rq::proof::both((x >> 52 & 0x7FF) == 0x7FF, (x & 0xFFFFFFFFFFFFF) != 0); };
  return rq::proof::maskOf<unsigned long>(a, b,
                                          [=](auto x, auto y) { return rq::proof::either(isNaN(x), isNaN(y)); });
}

/// The lanes of `a` whose bit is set, else those of `b`.
template <class T>
__m512i selected(rq::proof::Word<unsigned long> mask, const __m512i& a, const __m512i& b) {
  return __m512i::of<T>([&](std::size_t i) {
    return rq::proof::select(rq::proof::bitAt(mask, static_cast<unsigned>(i)), a.lane<T>(i), b.lane<T>(i));
  });
}
inline __m512i _mm512_maskz_mov_epi8(__mmask64 mask, const __m512i& a) {
  return selected<unsigned char>(mask, a, {});
}
inline __m512i _mm512_maskz_mov_epi16(__mmask32 mask, const __m512i& a) {
  return selected<unsigned short>(mask, a, {});
}
inline __m512i _mm512_maskz_mov_epi32(__mmask16 mask, const __m512i& a) {
  return selected<unsigned>(mask, a, {});
}
inline __m512i _mm512_mask_mov_epi16(const __m512i& b, __mmask32 mask, const __m512i& a) {
  return selected<unsigned short>(mask, a, b);
}
/// Reads what the mask selects and nothing else.
template <class T>
__m512i maskedLoad(rq::proof::Word<unsigned long> mask, const void* p) {
  __m512i result{};
  for (std::size_t i = 0; i < __m512i::lanes<T>; ++i)
    if (rq::proof::bitAt(mask, static_cast<unsigned>(i)).value())
      result.set<T>(i, rq::proof::loadWord<T>(static_cast<const char*>(p) + i * sizeof(T)));
  return result;
}
inline __m512i _mm512_maskz_loadu_epi8(__mmask64 mask, const void* p) {
  return maskedLoad<unsigned char>(mask, p);
}
inline __m512i _mm512_maskz_loadu_epi32(__mmask16 mask, const void* p) {
  return maskedLoad<unsigned>(mask, p);
}
inline __m512i _mm512_maskz_loadu_epi64(__mmask8 mask, const void* p) {
  return maskedLoad<unsigned long>(mask, p);
}
inline __m128i _mm512_cvtepi32_epi8(const __m512i& v) {
  return __m128i::of<unsigned char>(
      [&](std::size_t i) { return rq::proof::Word<unsigned char>(v.lane<unsigned>(i)); });
}
inline __m512i _mm512_permutexvar_epi16(const __m512i& index, const __m512i& v) {
  return rq::proof::permuted<unsigned short>(index, v);
}
inline __m512i _mm512_permutex2var_epi16(const __m512i& a, const __m512i& index, const __m512i& b) {
  return rq::proof::permuted<unsigned short>(index, a, b);
}

/// The lowest bits of x, as many as `count` says; all when it is beyond the width.
template <class A, class B>
rq::proof::Word<unsigned long> _bzhi_u64(A x, B count) {
  const rq::proof::Word<unsigned long> value = x, n = rq::proof::Word<unsigned long>(count) & 0xFF;
  const auto low = (rq::proof::Word<unsigned long>(1) << rq::proof::select(n < 64, n, 0UL)) - 1;
  return value & rq::proof::select(n < 64, low, ~0UL);
}

#undef RQ_ALL
#undef RQ_COMPARE
#undef RQ_FOR_EACH_SIZE
#undef RQ_LANEWISE
#undef RQ_MASK
#undef RQ_SPLAT
#undef RQ_TEST
#undef RQ_UNPACK

#endif
