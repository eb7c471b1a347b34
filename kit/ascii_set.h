// Sets of ASCII characters, in the form that vectors look up.
#ifndef RQUNI_KIT_ASCII_SET_H
#define RQUNI_KIT_ASCII_SET_H

#include <cstdint>

namespace rq::kit {

/// `character` is in the set when bit character >> 4 of rows[character & 15] is set; none is from U+0080 up.
struct AsciiSet {
  alignas(16) std::uint8_t rows[16] = {};

  /// Adds a character below U+0080.
  constexpr void add(std::uint32_t character) {
    rows[character & 15] = static_cast<std::uint8_t>(rows[character & 15] | 1U << (character >> 4));
  }
  constexpr bool has(std::uint32_t character) const {
    return character < 0x80 && (rows[character & 15] >> (character >> 4) & 1) != 0;
  }
};

}  // namespace rq::kit

#endif
