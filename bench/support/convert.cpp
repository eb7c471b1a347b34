#include "bench/support/convert.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace rq::bench {
namespace {

using Byte = unsigned char;
constexpr RQStatus stopped = 1;
constexpr RQChar invalid = 0xFFFFFFFF;

/// Reads and writes one character of an encoding form; each returns the bytes it took, 0 when there is no room.
struct Utf8 {
  static std::size_t read(const Byte* p, std::size_t n, RQChar& c) {
    c = *p;
    if (c < 0x80) return 1;
    const std::size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
    if (c < 0xC2 || c > 0xF4 || n < length) return 0;
    c &= 0x7Fu >> length;
    for (std::size_t i = 1; i < length; ++i) {
      if ((p[i] & 0xC0) != 0x80) return 0;
      c = c << 6 | (p[i] & 0x3Fu);
    }
    constexpr RQChar least[] = {0, 0, 0x80, 0x800, 0x10000};
    return c >= least[length] ? length : 0;
  }
  static std::size_t write(Byte* p, std::size_t room, RQChar c) {
    const std::size_t length = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (room < length) return 0;
    if (length == 1) return *p = static_cast<Byte>(c), 1;
    for (std::size_t i = length; --i > 0; c >>= 6) p[i] = static_cast<Byte>(0x80 | (c & 0x3F));
    *p = static_cast<Byte>(0xF00u >> length | c);
    return length;
  }
};

template <bool big>
struct Utf16 {
  static std::uint32_t unit(const Byte* p) { return big ? p[0] << 8u | p[1] : p[1] << 8u | p[0]; }
  static void put(Byte* p, std::uint32_t u) {
    p[big] = static_cast<Byte>(u);
    p[!big] = static_cast<Byte>(u >> 8);
  }
  static std::size_t read(const Byte* p, std::size_t n, RQChar& c) {
    if (n < 2) return 0;
    c = unit(p);
    if (c - 0xD800 >= 0x400) return 2;
    if (n < 4) return 0;
    c = 0x10000 + ((c & 0x3FF) << 10 | (unit(p + 2) & 0x3FF));
    return 4;
  }
  static std::size_t write(Byte* p, std::size_t room, RQChar c) {
    const std::size_t length = c < 0x10000 ? 2 : 4;
    if (room < length) return 0;
    if (length == 2) return put(p, c), 2;
    put(p, 0xD7C0 + (c >> 10));
    put(p + 2, 0xDC00 | (c & 0x3FF));
    return 4;
  }
};

template <bool big>
struct Utf32 {
  static std::size_t read(const Byte* p, std::size_t n, RQChar& c) {
    if (n < 4) return 0;
    std::memcpy(&c, p, 4);
    if (big) c = __builtin_bswap32(c);
    return 4;
  }
  static std::size_t write(Byte* p, std::size_t room, RQChar c) {
    if (room < 4) return 0;
    if (big) c = __builtin_bswap32(c);
    std::memcpy(p, &c, 4);
    return 4;
  }
};

/// 16 ASCII characters at once, where both forms have a way; returns how many were converted.
template <class From, class To>
std::size_t asciiBlock(const Byte*, Byte*) {
  return 0;
}
template <>
std::size_t asciiBlock<Utf8, Utf32<false>>(const Byte* from, Byte* to) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  if (_mm_movemask_epi8(text)) return 0;
  const __m128i zero = _mm_setzero_si128();
  const __m128i halves[] = {_mm_unpacklo_epi8(text, zero), _mm_unpackhi_epi8(text, zero)};
  auto* const out = reinterpret_cast<__m128i*>(to);
  for (int i = 0; i < 2; ++i) {
    _mm_storeu_si128(out + 2 * i, _mm_unpacklo_epi16(halves[i], zero));
    _mm_storeu_si128(out + 2 * i + 1, _mm_unpackhi_epi16(halves[i], zero));
  }
  return 16;
}
template <>
std::size_t asciiBlock<Utf32<false>, Utf8>(const Byte* from, Byte* to) {
  const auto* const in = reinterpret_cast<const __m128i*>(from);
  const __m128i a = _mm_loadu_si128(in), b = _mm_loadu_si128(in + 1), c = _mm_loadu_si128(in + 2),
                d = _mm_loadu_si128(in + 3);
  const __m128i high = _mm_andnot_si128(_mm_set1_epi32(0x7F), _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)));
  if (_mm_movemask_epi8(_mm_cmpeq_epi32(high, _mm_setzero_si128())) != 0xFFFF) return 0;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  return 16;
}

template <class Form>
constexpr std::size_t asciiBytes = 4;
template <>
constexpr std::size_t asciiBytes<Utf8> = 1;
template <bool big>
constexpr std::size_t asciiBytes<Utf16<big>> = 2;

template <class From, class To>
RQStatus convert(const void* input, std::uint64_t inputBytes, void* output, std::uint64_t capacity,
                 std::uint64_t* produced) {
  constexpr std::size_t fromBlock = 16 * asciiBytes<From>, toBlock = 16 * asciiBytes<To>;
  const auto* from = static_cast<const Byte*>(input);
  auto* to = static_cast<Byte*>(output);
  const Byte* const end = from + inputBytes;
  Byte* const limit = to + capacity;
  auto left = [&] { return static_cast<std::size_t>(end - from); };
  auto room = [&] { return static_cast<std::size_t>(limit - to); };
  while (from < end) {
    if (left() >= fromBlock && room() >= toBlock && asciiBlock<From, To>(from, to)) {
      from += fromBlock;
      to += toBlock;
      continue;
    }
    RQChar c = invalid;
    const std::size_t taken = From::read(from, left(), c);
    const std::size_t put = taken && c <= 0x10FFFF && c - 0xD800 >= 0x800 ? To::write(to, room(), c) : 0;
    if (!put) break;
    from += taken;
    to += put;
  }
  *produced = static_cast<std::uint64_t>(to - static_cast<Byte*>(output));
  return from == end ? RQ_SUCCESS : stopped;
}

RQStatus copy(const void* input, std::uint64_t inputBytes, void* output, std::uint64_t capacity,
              std::uint64_t* produced) {
  *produced = std::min(inputBytes, capacity);
  std::memcpy(output, input, *produced);
  return inputBytes <= capacity ? RQ_SUCCESS : stopped;
}

template <class From>
Convert* converterFrom(std::uint32_t target) {
  switch (target) {
    case RQ_ENCODING_UTF8:
      return convert<From, Utf8>;
    case RQ_ENCODING_UTF16_BIG:
      return convert<From, Utf16<true>>;
    case RQ_ENCODING_UTF16_LITTLE:
      return convert<From, Utf16<false>>;
    case RQ_ENCODING_UTF32_BIG:
      return convert<From, Utf32<true>>;
    default:
      return convert<From, Utf32<false>>;
  }
}

}  // namespace

Convert* converter(std::uint32_t source, std::uint32_t target) {
  if (source == target) return copy;
  switch (source) {
    case RQ_ENCODING_UTF8:
      return converterFrom<Utf8>(target);
    case RQ_ENCODING_UTF16_BIG:
      return converterFrom<Utf16<true>>(target);
    case RQ_ENCODING_UTF16_LITTLE:
      return converterFrom<Utf16<false>>(target);
    case RQ_ENCODING_UTF32_BIG:
      return converterFrom<Utf32<true>>(target);
    default:
      return converterFrom<Utf32<false>>(target);
  }
}

}  // namespace rq::bench
