/* Rows for the codecs: text in, text out, for each flavour and session, for the library and for its twin. */
#ifndef RQUNI_TESTS_CODECS_ROWS_H
#define RQUNI_TESTS_CODECS_ROWS_H

#include <gtest/gtest.h>

#include "tests/model/calls.h"
#include "tests/model/codec_twin.h"

namespace rq::test {

/// Where a row holds.
enum class Where {
  everywhere,  // any session that extends ASCII and carries no surrogates; UTF-32 in the wide flavour
  latin,       // sessions that hold U+0080 to U+00FF
  unicode,     // sessions that hold every character
  lax,         // sessions that carry surrogates and any 32-bit value
  cyrillic,    // a session that holds no Latin letters beyond ASCII; wide flavour left out
  narrow,      // the plain and served flavours in Latin-1
  plain,       // the plain flavour alone, in Latin-1
  served,      // the served flavour alone, in Latin-1
  wide,        // the wide flavour alone, UTF-32
  wideLax,     // the wide flavour alone, any 32-bit value
  expanding,   // sessions in which U+00FE stands for `<U00E9>`
};

inline constexpr std::uint64_t ample = 4096;
inline constexpr RQStatus tooSmall = 0x803FE807, doesNotFit = 0xFFFFFFFF, noMemory = 0x803FC002;

struct CodecRow {
  const char* name;
  RQCodec RQOperations::*codec;
  Where where;
  std::u32string_view input;
  std::u32string_view output;
  std::uint64_t capacity = ample;
  RQStatus status = 0;
  bool stored = true;
  MockHost::Services services = {};
};
inline void PrintTo(const CodecRow& row, std::ostream* out) {
  *out << row.name;
}
inline std::string nameOfRow(const ::testing::TestParamInfo<CodecRow>& row) {
  return row.param.name;
}

/// Runs the row wherever it holds.
void check(const CodecRow& row);

/// The text `piece`, `count` times.
std::u32string times(std::u32string_view piece, unsigned count);

}  // namespace rq::test

#endif
