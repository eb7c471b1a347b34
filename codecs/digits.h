// Runs of digits and their values. Numbers that hold text have its first character in the lowest byte.
#ifndef RQUNI_CODECS_DIGITS_H
#define RQUNI_CODECS_DIGITS_H

#include <cstdint>

#include "codecs/units.h"

namespace rq {

/// Digits beyond these are not read.
constexpr std::uint64_t maxDigits = 8;

/// The digits at the beginning of a field, up to the first unit that is not a digit.
struct Digits {
  std::uint32_t value = 0;
  std::uint32_t count = 0;

  /// Only the first `kept` of these hexadecimal digits.
  constexpr Digits first(std::uint32_t kept) const { return {value >> (4 * (count - kept)), kept}; }
};

constexpr std::uint32_t noDigit = 0xFF;

/// The value of each byte as a hexadecimal digit, or noDigit. A table, because whether a digit is a letter is hard to
/// predict.
struct HexDigits {
  std::uint8_t values[256];
  consteval explicit HexDigits(bool lowerCaseToo) : values{} {
    for (std::uint8_t& value : values) value = static_cast<std::uint8_t>(noDigit);
    for (std::uint8_t digit = 0; digit < 10; ++digit) values['0' + digit] = digit;
    for (std::uint8_t digit = 10; digit < 16; ++digit) {
      values['A' + digit - 10] = digit;
      if (lowerCaseToo) values['a' + digit - 10] = digit;
    }
  }
};
inline constexpr HexDigits hexDigits(true), upperHexDigits(false);

constexpr std::uint32_t hexDigit(std::uint32_t unit) {
  return unit < 256 ? hexDigits.values[unit] : noDigit;
}
/// Lower case letters are not digits.
constexpr std::uint32_t upperHexDigit(std::uint32_t unit) {
  return unit < 256 ? upperHexDigits.values[unit] : noDigit;
}

constexpr std::uint32_t decimalDigit(std::uint32_t unit) {
  return unit - '0' < 10 ? unit - '0' : noDigit;
}

/// Reads the digits of `field` that follow the given ones, `count` units at most. `digit` returns a unit's value.
template <std::uint32_t base, std::uint32_t (*digit)(std::uint32_t), class Unit>
inline Digits readDigits(const Unit* field, std::uint64_t count, Digits digits = {}) {
  while (digits.count < count) {
    const std::uint32_t value = digit(load(field + digits.count));
    if (value == noDigit) break;
    digits.value = digits.value * base + value;
    ++digits.count;
  }
  return digits;
}

/// The numbers below `count` as text: two digits each, in base `base`.
template <std::uint32_t base, std::uint32_t count>
struct Pairs {
  std::uint16_t text[count];
  consteval Pairs() : text{} {
    constexpr char alphabet[] = "0123456789ABCDEF";
    for (std::uint32_t i = 0; i < count; ++i)
      text[i] = static_cast<std::uint16_t>(alphabet[i / base] | alphabet[i % base] << 8);
  }
};
inline constexpr Pairs<16, 256> hexPairs;
inline constexpr Pairs<10, 100> decimalPairs;

/// The lowest 16 bits of `value` as text of four hexadecimal digits.
constexpr std::uint64_t hexText(std::uint32_t value) {
  return hexPairs.text[value >> 8 & 0xFF] | std::uint64_t{hexPairs.text[value & 0xFF]} << 16;
}

}  // namespace rq

#endif
