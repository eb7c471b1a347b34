// The Unicode encoding forms, a character at a time.
//
// Each form has two functions. read() stores the character at the front of `left` bytes and returns its length, or 0
// where none stands; left is above 0. write() stores a character in at most 4 bytes and returns their number.
#ifndef RQUNI_ENGINES_FORMS_H
#define RQUNI_ENGINES_FORMS_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/rquni.h"

namespace rq::engines {

/// The most bytes that a character takes in any form.
inline constexpr std::uint64_t longestCharacter = 4;

/// Whether a value is a Unicode scalar value: at most U+10FFFF and no surrogate.
constexpr bool isScalar(RQChar value) {
  return (value & ~RQChar{0x7FF}) != 0xD800 && value <= 0x10FFFF;
}

struct Utf8 {
  static std::uint64_t read(const std::uint8_t* in, std::uint64_t left, RQChar* character) {
    const RQChar lead = in[0];
    if (lead < 0x80) {
      *character = lead;
      return 1;
    }
    if (lead < 0xE0) {
      if (lead < 0xC2 || left < 2 || !isTrail(in[1])) return 0;
      *character = (lead & 0x1F) << 6 | bitsOf(in[1]);
      return 2;
    }
    if (lead < 0xF0) {
      if (left < 3 || !isTrail(in[1]) || !isTrail(in[2])) return 0;
      const RQChar value = (lead & 0x0F) << 12 | bitsOf(in[1]) << 6 | bitsOf(in[2]);
      if (value < 0x800 || !isScalar(value)) return 0;
      *character = value;
      return 3;
    }
    // From 0xF5 up a lead gives a value above U+10FFFF.
    if (left < 4 || !isTrail(in[1]) || !isTrail(in[2]) || !isTrail(in[3])) return 0;
    const RQChar value = (lead & 0x0F) << 18 | bitsOf(in[1]) << 12 | bitsOf(in[2]) << 6 | bitsOf(in[3]);
    if (value < 0x10000 || !isScalar(value)) return 0;
    *character = value;
    return 4;
  }

  static std::uint64_t write(RQChar character, std::uint8_t* out) {
    const auto trail = [character](int shift) {
      return static_cast<std::uint8_t>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
      out[0] = static_cast<std::uint8_t>(character);
      return 1;
    }
    if (character < 0x800) {
      out[0] = static_cast<std::uint8_t>(0xC0 | character >> 6);
      out[1] = trail(0);
      return 2;
    }
    if (character < 0x10000) {
      out[0] = static_cast<std::uint8_t>(0xE0 | character >> 12);
      out[1] = trail(6);
      out[2] = trail(0);
      return 3;
    }
    out[0] = static_cast<std::uint8_t>(0xF0 | character >> 18);
    out[1] = trail(12);
    out[2] = trail(6);
    out[3] = trail(0);
    return 4;
  }

 private:
  static bool isTrail(std::uint8_t byte) { return static_cast<std::int8_t>(byte) < -0x40; }  // 0x80 to 0xBF
  static RQChar bitsOf(std::uint8_t trail) { return trail & 0x3F; }
};

constexpr std::uint16_t swapped(std::uint16_t unit) {
  return __builtin_bswap16(unit);
}
constexpr std::uint32_t swapped(std::uint32_t unit) {
  return __builtin_bswap32(unit);
}

/// Code units of a width in a byte order, at any address.
template <std::endian order, class Unit>
struct CodeUnit {
  static RQChar load(const std::uint8_t* in) {
    Unit unit;
    std::memcpy(&unit, in, sizeof unit);
    return order == std::endian::native ? unit : swapped(unit);
  }
  static void store(RQChar value, std::uint8_t* out) {
    const auto narrow = static_cast<Unit>(value);
    const Unit unit = order == std::endian::native ? narrow : swapped(narrow);
    std::memcpy(out, &unit, sizeof unit);
  }
};

template <std::endian order>
struct Utf16 {
  using Unit = CodeUnit<order, std::uint16_t>;

  static std::uint64_t read(const std::uint8_t* in, std::uint64_t left, RQChar* character) {
    if (left < 2) return 0;
    const RQChar unit = Unit::load(in);
    if (isScalar(unit)) {
      *character = unit;
      return 2;
    }
    if (left < 4) return 0;
    const RQChar low = Unit::load(in + 2);
    if ((unit & 0xFC00) != 0xD800 || (low & 0xFC00) != 0xDC00) return 0;
    *character = 0x10000 + ((unit & 0x3FF) << 10 | (low & 0x3FF));
    return 4;
  }

  static std::uint64_t write(RQChar character, std::uint8_t* out) {
    if (character < 0x10000) {
      Unit::store(character, out);
      return 2;
    }
    Unit::store(0xD7C0 + (character >> 10), out);
    Unit::store(0xDC00 | (character & 0x3FF), out + 2);
    return 4;
  }
};

template <std::endian order>
struct Utf32 {
  using Unit = CodeUnit<order, std::uint32_t>;

  static std::uint64_t read(const std::uint8_t* in, std::uint64_t left, RQChar* character) {
    if (left < 4) return 0;
    const RQChar value = Unit::load(in);
    if (!isScalar(value)) return 0;
    *character = value;
    return 4;
  }

  static std::uint64_t write(RQChar character, std::uint8_t* out) {
    Unit::store(character, out);
    return 4;
  }
};

}  // namespace rq::engines

#endif
