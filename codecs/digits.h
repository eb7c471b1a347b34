// Runs of digits and what they are worth.
#ifndef RQUNI_CODECS_DIGITS_H
#define RQUNI_CODECS_DIGITS_H

#include "codecs/units.h"

namespace rq {

/// At most this many digits of a notation are read.
constexpr uint64_t mostDigits = 8;

/// The digits at the beginning of a field, up to the first unit that is none.
struct Digits {
  uint32_t value = 0;
  uint32_t count = 0;

  /// The first `kept` of these hexadecimal digits alone.
  constexpr Digits first(uint32_t kept) const { return {value >> (4 * (count - kept)), kept}; }
};

constexpr uint32_t noDigit = 0xFFFFFFFF;

/// The value of a hexadecimal digit, letters in upper case only, or noDigit.
constexpr uint32_t upperHexDigit(uint32_t unit) {
  if (unit - '0' < 10) return unit - '0';
  if (unit - 'A' < 6) return unit - 'A' + 10;
  return noDigit;
}

/// The same for letters in either case.
struct HexDigits {
  uint8_t values[256];  // 0xFF: no digit
  constexpr HexDigits() : values{} {
    for (uint32_t c = 0; c < 256; ++c) {
      const bool letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'f';
      values[c] = static_cast<uint8_t>(upperHexDigit(letter ? c & ~0x20u : c));
    }
  }
};
inline constexpr HexDigits hexDigits;

constexpr uint32_t hexDigit(uint32_t unit) {
  const uint8_t value = unit < 256 ? hexDigits.values[unit] : 0xFF;
  return value == 0xFF ? noDigit : value;
}

constexpr uint32_t decimalDigit(uint32_t unit) {
  return unit - '0' < 10 ? unit - '0' : noDigit;
}

/// Reads at most `count` units of `field`; `digit` gives each one's value in base `base`.
template <uint32_t base, uint32_t (*digit)(uint32_t), class Unit>
inline Digits readDigits(const Unit* field, uint64_t count) {
  Digits digits;
  while (digits.count < count) {
    const uint32_t value = digit(load(field + digits.count));
    if (value == noDigit) break;
    digits.value = digits.value * base + value;
    ++digits.count;
  }
  return digits;
}

/// The numbers below `count`, each as two digits in base `base`.
template <uint32_t base, uint32_t count>
struct Pairs {
  uint8_t text[count][2];
  constexpr Pairs() : text{} {
    constexpr char alphabet[] = "0123456789ABCDEF";
    for (uint32_t i = 0; i < count; ++i) {
      text[i][0] = static_cast<uint8_t>(alphabet[i / base]);
      text[i][1] = static_cast<uint8_t>(alphabet[i % base]);
    }
  }
};
inline constexpr Pairs<16, 256> hexPairs;
inline constexpr Pairs<10, 100> decimalPairs;

inline void storePair(uint8_t* out, const uint8_t (&pair)[2]) {
  std::memcpy(out, pair, sizeof pair);
}
inline void storePair(RQChar* out, const uint8_t (&pair)[2]) {
  store(out, RQChar{pair[0]});
  store(out + 1, RQChar{pair[1]});
}

/// Writes the lowest `bytes` bytes of `value` as two digits each, the most significant first, and returns the end.
template <uint32_t bytes, class Unit>
inline Unit* writeHex(Unit* out, uint32_t value) {
  for (uint32_t i = bytes; i-- > 0; out += 2) storePair(out, hexPairs.text[(value >> (8 * i)) & 0xFF]);
  return out;
}

}  // namespace rq

#endif
