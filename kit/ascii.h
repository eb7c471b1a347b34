// ASCII: its limits, its letters, and sets of its characters in the form that vectors look up.
#ifndef RQUNI_KIT_ASCII_H
#define RQUNI_KIT_ASCII_H

#include <cstdint>

namespace rq::kit {

constexpr std::uint8_t asciiEnd = 0x80;  // the first value that is not ASCII
constexpr std::uint8_t asciiLetters = 26;
/// The bit in which the two cases of a letter differ.
constexpr std::uint8_t asciiCaseBit = 0x20;

/// `character` is in the set when bit character >> 4 of rows[character & 15] is set. No set holds U+0080 or more.
struct AsciiSet {
  alignas(16) std::uint8_t rows[16] = {};

  /// Adds a character below U+0080.
  constexpr void add(std::uint32_t character) {
    rows[character & 15] = static_cast<std::uint8_t>(rows[character & 15] | 1U << (character >> 4));
  }
  constexpr bool has(std::uint32_t character) const {
    return character < asciiEnd && (rows[character & 15] >> (character >> 4) & 1) != 0;
  }
};

}  // namespace rq::kit

#endif
