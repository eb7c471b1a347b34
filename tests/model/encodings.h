/* Small session encodings for the tests: one of each kind, each written from its definition.
 *
 * Conversions keep to the capacity, write whole characters only, always report what they produced, and refuse lone
 * surrogates and values above U+10FFFF unless one of the two sides is lax. */
#ifndef RQUNI_TESTS_MODEL_ENCODINGS_H
#define RQUNI_TESTS_MODEL_ENCODINGS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/types.h"

namespace rq::test {

/// The statuses of the mock's conversions; any non-zero value would do.
inline constexpr std::uint32_t outputFull = 0x805F0001;
inline constexpr std::uint32_t malformed = 0x805F0002;
inline constexpr std::uint32_t unmappable = 0x805F0003;

/// Identifiers of session encodings: those of the Unicode forms, and others of the tests' own.
enum SessionId : std::uint32_t {
  utf8 = RQ_ENCODING_UTF8,
  utf16Big = RQ_ENCODING_UTF16_BIG,
  utf16Little = RQ_ENCODING_UTF16_LITTLE,
  utf32Big = RQ_ENCODING_UTF32_BIG,
  utf32 = RQ_ENCODING_UTF32_LITTLE,
  latin1 = 101,      // one byte for U+0000 to U+00FF
  ascii = 102,       // one byte for U+0000 to U+007F
  cyrillic = 103,    // ASCII, and 0x80 to 0xDF for U+0400 to U+045F
  doubleByte = 104,  // ASCII, and two bytes for U+3000 up; trail bytes may look like '&', '<' or a backslash
  shifted = 105,   // stateful: SO and SI switch between ASCII and Greek; every conversion starts and ends shifted in
  laxBytes = 106,  // UTF-8 stretched to all 32-bit values, lone surrogates included
  laxUnits = 107,  // UTF-32 of any 32-bit values
  substituting = 108,    // Latin-1 that writes '?' for what it cannot hold, and succeeds
  expanding = 109,       // Latin-1 whose byte 0xFE stands for the seven characters <U00E9>
  expandingUnits = 110,  // UTF-32 whose U+00FE stands for the same seven
};

/// The characters that one sequence of bytes stands for.
struct Characters {
  std::uint32_t at[8];
  unsigned count;
};

struct Encoding {
  std::uint32_t id;
  const char* name;
  bool lax;
  /// Reads one sequence; returns its length in bytes, 0 when it is malformed or cut. `page` is the shift state.
  std::size_t (*read)(const std::uint8_t* in, std::size_t bytes, bool lax, unsigned& page, Characters& to);
  /// Writes one character (at most 8 bytes); returns their number, 0 when it cannot be held.
  std::size_t (*write)(std::uint32_t character, bool lax, unsigned& page, std::uint8_t* out);
};

/// The encoding of that identifier, or null.
const Encoding* encodingOf(std::uint64_t id);

struct Conversion {
  std::uint32_t status;
  std::uint64_t produced;
};
Conversion convert(const Encoding& from, const Encoding& to, const std::uint8_t* in, std::uint64_t bytes,
                   std::uint8_t* out, std::uint64_t capacity);

/// `text` in that encoding. A character that it cannot hold is a mistake of the test and ends the process.
std::vector<std::uint8_t> encoded(std::uint32_t id, std::u32string_view text);

}  // namespace rq::test

#endif
