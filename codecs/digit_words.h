// Digits that are read several at a time, without a loop and without a branch for their number.
#ifndef RQUNI_CODECS_DIGIT_WORDS_H
#define RQUNI_CODECS_DIGIT_WORDS_H

#include <emmintrin.h>

#include <cstdint>

#include "codecs/digits.h"
#include "codecs/units.h"

namespace rq {

// --- Exactly four digits, or three.

/// No number of four digits reaches this.
constexpr std::uint32_t noFourDigits = 0x10000;

/// What each byte adds to a number as one of its four digits, or noFourDigits.
template <std::uint32_t base, std::uint32_t (*digit)(std::uint32_t)>
struct FourDigits {
  std::uint32_t places[4][256];
  consteval FourDigits() : places{} {
    std::uint32_t weight = 1;
    for (std::uint32_t place = 4; place-- > 0; weight *= base)
      for (std::uint32_t c = 0; c < 256; ++c)
        places[place][c] = digit(c) == noDigit ? noFourDigits : digit(c) * weight;
  }
  /// The value of the four digits at `text`, or noFourDigits and more.
  template <class Unit>
  std::uint32_t at(const Unit* text) const {
    return value(load(text), text + 1);
  }
  /// The digits at `text`: three when `end` stands behind them, else four. Their value is as above.
  template <class Unit>
  Digits before(const Unit* text, Unit end) const {
    if (load(text + 3) == end) return {value(Unit{'0'}, text), 3};
    return {at(text), 4};
  }

 private:
  template <class Unit>
  std::uint32_t value(Unit a, const Unit* others) const {
    const Unit b = load(others), c = load(others + 1), d = load(others + 2);
    if constexpr (sizeof(Unit) > 1)
      if ((a | b | c | d) > 0xFF) return noFourDigits;
    return sum(a, b, c, d);
  }
  constexpr std::uint32_t sum(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) const {
    return (places[0][a] + places[1][b]) + (places[2][c] + places[3][d]);
  }
};
inline constexpr FourDigits<16, hexDigit> fourHexDigits;
inline constexpr FourDigits<16, upperHexDigit> fourUpperHexDigits;
inline constexpr FourDigits<10, decimalDigit> fourDecimalDigits;

// --- A run of digits. Most have four: these are read at once, and the rest are counted with branches. Well
// predicted, branches hide the latency of finding the next notation.

template <std::uint32_t base, std::uint32_t (*digit)(std::uint32_t), class Unit>
inline Digits readRun(const FourDigits<base, digit>& fourDigits, const Unit* field, std::uint64_t count) {
  Digits digits;
  if (count >= 4) {
    const std::uint32_t value = fourDigits.at(field);
    if (value < noFourDigits) digits = {value, 4};
  }
  return readDigits<base, digit>(field, count, digits);
}
template <class Unit>
inline Digits readHexDigits(const Unit* field, std::uint64_t count) {
  return readRun(fourHexDigits, field, count);
}
template <class Unit>
inline Digits readDecimalDigits(const Unit* field, std::uint64_t count) {
  return readRun(fourDecimalDigits, field, count);
}

// --- Up to eight digits, in a word that holds eight bytes of text, the first of them lowest.

/// The eight units at `at` as bytes. A unit above 0xFF becomes 0 or 0xFF, which is no digit either.
inline std::uint64_t loadText(const std::uint8_t* at) {
  return load<std::uint64_t>(static_cast<const void*>(at));
}
inline std::uint64_t loadText(const RQChar* at) {
  const auto four = [=](std::uint64_t i) { return load<__m128i>(static_cast<const void*>(at + 4 * i)); };
  const __m128i words = _mm_packs_epi32(four(0), four(1));
  return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(words, words)));
}

constexpr std::uint64_t eachByte(std::uint8_t value) {
  return value * std::uint64_t{0x0101010101010101};
}
constexpr std::uint64_t highBits = eachByte(0x80);

/// The bits of a text in front of the first byte whose high bit is set in `others`; 64 when there is none.
constexpr std::uint64_t bitsBefore(std::uint64_t others) {
  return others == 0 ? 64 : static_cast<std::uint64_t>(__builtin_ctzll(others)) & ~std::uint64_t{7};
}

/// The bits of the digits at the beginning of a text. A sum of two bytes sets the high bit from a limit on.
constexpr std::uint64_t hexDigitBits(std::uint64_t text) {
  const std::uint64_t ascii = text & ~highBits, lower = ascii | eachByte(0x20);
  const std::uint64_t decimal = (ascii + eachByte(0x80 - '0')) & ~(ascii + eachByte(0x7F - '9'));
  const std::uint64_t letter = (lower + eachByte(0x80 - 'a')) & ~(lower + eachByte(0x7F - 'f'));
  return bitsBefore((~(decimal | letter) | text) & highBits);
}
constexpr std::uint64_t decimalDigitBits(std::uint64_t text) {
  const std::uint64_t digits = text ^ eachByte('0');  // a carry can only come from a byte that is no digit
  return bitsBefore((digits | (digits + eachByte(0x7F - 9))) & highBits);
}

/// The value of the digits in the first `bits` bits, 8 to 64. Pairs, then fours, then eights are joined.
constexpr std::uint32_t hexValue(std::uint64_t text, std::uint64_t bits) {
  const std::uint64_t letters = text >> 6 & eachByte(1);
  std::uint64_t digits = ((text & eachByte(0xF)) + letters * 9) << (64 - bits);
  digits = (digits << 4 | digits >> 8) & 0x00FF00FF00FF00FF;
  digits = (digits << 8 | digits >> 16) & 0x0000FFFF0000FFFF;
  return static_cast<std::uint32_t>(digits << 16 | digits >> 32);
}
constexpr std::uint32_t decimalValue(std::uint64_t text, std::uint64_t bits) {
  std::uint64_t digits = (text ^ eachByte('0')) << (64 - bits);
  digits = (digits * (10 << 8 | 1)) >> 8 & 0x00FF00FF00FF00FF;
  digits = (digits * (100 << 16 | 1)) >> 16 & 0x0000FFFF0000FFFF;
  return static_cast<std::uint32_t>((digits * (std::uint64_t{10000} << 32 | 1)) >> 32);
}

/// The digits at the beginning of a text.
constexpr Digits hexDigitsOf(std::uint64_t text) {
  const std::uint64_t bits = hexDigitBits(text);
  return {bits == 0 ? 0 : hexValue(text, bits), static_cast<std::uint32_t>(bits / 8)};
}
constexpr Digits decimalDigitsOf(std::uint64_t text) {
  const std::uint64_t bits = decimalDigitBits(text);
  return {bits == 0 ? 0 : decimalValue(text, bits), static_cast<std::uint32_t>(bits / 8)};
}

static_assert(hexValue(0x3E66343361, hexDigitBits(0x3E66343361)) == 0xA34F);
static_assert(decimalValue(0x3B38373031, decimalDigitBits(0x3B38373031)) == 1078);

}  // namespace rq

#endif
