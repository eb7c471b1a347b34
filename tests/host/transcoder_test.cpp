#include <array>
#include <cstring>

#include "tests/host/support.h"

namespace rq::test {
namespace {

using host::Outcome;
using namespace std::string_literals;

struct Row {
  const char *source, *target;
  std::string input, output;
  Outcome outcome;
};

void check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    const Converted got = convert(row.source, row.target, row.input);
    EXPECT_EQ(got.bytes, row.output) << row.source << " to " << row.target << ": " << row.input;
    EXPECT_EQ(got.outcome, row.outcome) << row.source << " to " << row.target << ": " << row.input;
  }
}

TEST(Transcoder, ConvertsBetweenKindsOfEncodings) {
  check({
      {"UTF-8", "ISO-8859-1", "caf\u00E9", "caf\xE9", Outcome::done},
      {"ISO-8859-1", "UTF-8", "caf\xE9", "caf\u00E9", Outcome::done},
      {"UTF-16BE", "UTF-8", "\xD8\x3D\xDE\x00"s, "\U0001F600", Outcome::done},
      {"UTF-8", "UTF-16LE", "\U0001F600", "\x3D\xD8\x00\xDE"s, Outcome::done},
      {"UTF-8", "UTF-32BE", "\u00E9", "\0\0\0\xE9"s, Outcome::done},
      {"UTF-32LE", "UTF-32LE", "\xE9\0\0\0"s, "\xE9\0\0\0"s, Outcome::done},
      {"UTF-8", "Shift_JIS", "\u65E5\u672C", "\x93\xFA\x96\x7B", Outcome::done},
      {"Shift_JIS", "UTF-8", "\x93\xFA\x96\x7B", "\u65E5\u672C", Outcome::done},
      {"UTF-8", "ISO-2022-JP", "a\u65E5", "a\x1B$BF|\x1B(B", Outcome::done},
      {"ISO-2022-JP", "UTF-8", "a\x1B$BF|\x1B(B", "a\u65E5", Outcome::done},
      {"UTF-8", "ibm-1047", "A1", "\xC1\xF1", Outcome::done},
      {"UTF-8", "GB18030", "\U0001F600", "\x94\x39\xFC\x36", Outcome::done},
      {"UTF-8", "UTF-8", "", "", Outcome::done},
      {"UTF-8", "ISO-2022-KR", "", "", Outcome::done},
  });
}

TEST(Transcoder, NeitherAddsNorRemovesByteOrderMarks) {
  check({
      {"UTF-8", "UTF-16", "A", "\0A"s, Outcome::done},
      {"UTF-8", "UTF-32", "A", "\0\0\0A"s, Outcome::done},
      {"UTF-8", "UTF-16LE", "\uFEFF", "\xFF\xFE", Outcome::done},
      {"UTF-16", "UTF-8", "\xFE\xFF\0A"s, "\uFEFFA", Outcome::done},
      {"UTF-16LE", "UTF-8", "\xFF\xFE"s, "\uFEFF", Outcome::done},
      {"UTF-8", "UTF-8", "\uFEFF", "\uFEFF", Outcome::done},
  });
}

TEST(Transcoder, ReportsTruncatedInputAndKeepsWhatCameBefore) {
  check({
      {"UTF-8", "UTF-16BE", "A\xC3", "\0A"s, Outcome::truncated},
      {"UTF-8", "UTF-16BE", "A\xE2\x82", "\0A"s, Outcome::truncated},
      {"UTF-8", "UTF-16BE", "A\xF0\x9F\x98", "\0A"s, Outcome::truncated},
      {"UTF-16BE", "UTF-8", "\0A\0"s, "A", Outcome::truncated},
      {"UTF-16BE", "UTF-8", "\0A\xD8\x3D"s, "A", Outcome::truncated},
      {"UTF-32LE", "UTF-8", "A\0\0\0B\0\0"s, "A", Outcome::truncated},
      {"Shift_JIS", "UTF-8", "A\x93", "A", Outcome::truncated},
      {"GB18030", "UTF-8", "A\x94\x39\xFC", "A", Outcome::truncated},
  });
}

TEST(Transcoder, ReportsMalformedInputAndKeepsWhatCameBefore) {
  check({
      {"UTF-8", "UTF-16BE", "A\x80", "\0A"s, Outcome::malformed},
      {"UTF-8", "UTF-16BE", "A\xC0\xAF", "\0A"s, Outcome::malformed},          // overlong
      {"UTF-8", "UTF-16BE", "A\xE0\x80\x80", "\0A"s, Outcome::malformed},      // overlong
      {"UTF-8", "UTF-16BE", "A\xF0\x80\x80\x80", "\0A"s, Outcome::malformed},  // overlong
      {"UTF-8", "UTF-16BE", "A\xF4\x90\x80\x80", "\0A"s, Outcome::malformed},  // above U+10FFFF
      {"UTF-8", "UTF-16BE", "A\xC3(", "\0A"s, Outcome::malformed},
      {"UTF-32LE", "UTF-8", "A\0\0\0\0\0\x11\0"s, "A", Outcome::malformed},  // above U+10FFFF
      {"Shift_JIS", "UTF-8", "A\x93\x01", "A", Outcome::malformed},
      {"windows-1253", "UTF-8", "A\xD2", "A", Outcome::malformed},  // a byte without a character
      {"US-ASCII", "UTF-8", "A\xE9", "A", Outcome::malformed},
  });
}

TEST(Transcoder, CarriesNoLoneSurrogates) {
  check({
      {"UTF-8", "UTF-16BE", "A\xED\xA0\xBD", "\0A"s, Outcome::malformed},
      {"UTF-16BE", "UTF-8", "\0A\xD8\x3D\0A"s, "A", Outcome::malformed},
      {"UTF-16LE", "UTF-32LE", "\x00\xDE"s, "", Outcome::malformed},
      {"UTF-32LE", "UTF-8", "\x3D\xD8\0\0"s, "", Outcome::malformed},
      {"UTF-32LE", "UTF-32BE", "\x3D\xD8\0\0"s, "", Outcome::malformed},
      {"UTF-32BE", "GB18030", "\0\0\xDE\x00"s, "", Outcome::malformed},
      {"UTF-7", "UTF-8", "A+2D0-", "A", Outcome::malformed},
  });
}

TEST(Transcoder, ReportsUnmappableCharacters) {
  check({
      {"UTF-8", "ISO-8859-1",
       "A\u20AC"
       "B",
       "A", Outcome::unmappable},
      {"UTF-8", "US-ASCII", "A\u00E9", "A", Outcome::unmappable},
      {"UTF-8", "Shift_JIS", "\u65E5\U0001F600", "\x93\xFA", Outcome::unmappable},
      {"UTF-8", "ISO-2022-JP", "\u65E5\U0001F600", "\x1B$BF|\x1B(B", Outcome::unmappable},
      {"UTF-8", "ISO-8859-1", "\U0001F600", "", Outcome::unmappable},
      // Invisible characters are not dropped.
      {"UTF-8", "Shift_JIS", "A\u200D", "A", Outcome::unmappable},
      {"UTF-8", "ISO-2022-JP", "A\u200D", "A", Outcome::unmappable},
  });
}

TEST(Transcoder, EndsWithTheTextThatHasNoRoom) {
  // The first character fits, the return to ASCII behind it does not; the next one has no bytes in the encoding.
  const Converted cut = convert("UTF-8", "ISO-2022-JP", "\u65E5\u200D", 7);
  EXPECT_EQ(cut.bytes, "");
  EXPECT_EQ(cut.outcome, Outcome::outputFull);
}

TEST(Transcoder, BeginsEachTextAfresh) {
  for (const char* const encoding : {"ISO-2022-JP", "UTF-7", "SCSU", "HZ"}) {
    const Converted first = convert("UTF-8", encoding, "\u03B1");
    convert("UTF-8", encoding, "\u0416");
    EXPECT_EQ(convert("UTF-8", encoding, "\u03B1").bytes, first.bytes) << encoding;
    convert(encoding, "UTF-8", first.bytes);
    EXPECT_EQ(convert(encoding, "UTF-8", "a").bytes, "a") << encoding;
  }
}

TEST(Transcoder, GivesEachEndAStatusOfItsOwn) {
  const std::array outcomes = {Outcome::done,      Outcome::outputFull, Outcome::truncated,
                               Outcome::malformed, Outcome::unmappable, Outcome::unavailable};
  for (const Outcome a : outcomes) {
    for (const Outcome b : outcomes) EXPECT_EQ(host::statusOf(a) == host::statusOf(b), a == b);
    EXPECT_EQ(host::describe(host::statusOf(a)).empty(), a == Outcome::done);
  }
  EXPECT_EQ(host::statusOf(Outcome::done), RQ_SUCCESS);
}

class Capacity : public testing::TestWithParam<const char*> {};

/// With every capacity: whole characters only, nothing beyond, a text that can be read on its own, and no shorter
/// than the next larger one allows.
TEST_P(Capacity, CutsAtWholeCharacters) {
  std::string text;
  for (const char* part : {"Aa", "\u00E9", "b ", "\u65E5\u672C", "c", "\u0416\u03B1", "\U0001F600", "\uAC00", "z"}) {
    if (convert("UTF-8", GetParam(), part).outcome == Outcome::done) text += part;
  }
  ASSERT_GE(text.size(), 4U);
  const Converted whole = convert("UTF-8", GetParam(), text);
  ASSERT_EQ(whole.outcome, Outcome::done);
  std::size_t longest = 0;
  for (std::size_t capacity = 0; capacity <= whole.bytes.size(); ++capacity) {
    const Converted cut = convert("UTF-8", GetParam(), text, capacity);
    const Converted back = convert(GetParam(), "UTF-8", cut.bytes);
    EXPECT_EQ(back.outcome, Outcome::done) << capacity;
    EXPECT_EQ(back.bytes, text.substr(0, back.bytes.size())) << capacity;
    EXPECT_EQ(cut.outcome, capacity == whole.bytes.size() ? Outcome::done : Outcome::outputFull) << capacity;
    EXPECT_GE(back.bytes.size(), longest) << capacity;
    longest = back.bytes.size();
  }
  EXPECT_EQ(longest, text.size());
}

INSTANTIATE_TEST_SUITE_P(Encodings, Capacity,
                         testing::Values("UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE", "ISO-8859-1",
                                         "windows-1251", "ibm-1047", "Shift_JIS", "EUC-JP", "GB18030", "Big5-HKSCS",
                                         "windows-949", "ISO-2022-JP", "ISO-2022-KR", "ISO-2022-CN", "HZ", "ibm-1390",
                                         "UTF-7", "IMAP-mailbox-name", "SCSU", "BOCU-1", "CESU-8"));

TEST(Transcoder, ConvertsTextsLongerThanAPiece) {
  for (const char* encoding : {"UTF-8", "UTF-16LE", "GB18030", "UTF-7", "ISO-2022-JP", "ibm-1047"}) {
    std::string text(host::Codec::pieceCharacters - 1, 'x');
    for (int i = 0; i < 3000; ++i) {
      for (const char* c : {"\u65E5", "\U0001F600", "e"}) {
        if (i == 0 || convert("UTF-8", encoding, c).outcome == Outcome::done) text += c;
        if (convert("UTF-8", encoding, text.substr(text.size() - std::strlen(c))).outcome != Outcome::done) {
          text.erase(text.size() - std::strlen(c));
        }
      }
      if (i % 100 == 0) text += "tail of a line\n";
    }
    const Converted there = convert("UTF-8", encoding, text, 16 * text.size());
    ASSERT_EQ(there.outcome, Outcome::done) << encoding;
    const Converted back = convert(encoding, "UTF-8", there.bytes, 16 * text.size());
    EXPECT_EQ(back.outcome, Outcome::done) << encoding;
    EXPECT_TRUE(back.bytes == text) << encoding;
  }
}

class Pieces : public testing::TestWithParam<const char*> {};

/// A text that ends, or whose character beyond U+FFFF begins, just before, at and behind the end of a piece.
TEST_P(Pieces, MeetAtEveryCharacter) {
  constexpr std::size_t piece = host::Codec::pieceCharacters;
  for (std::size_t before = piece - 3; before <= piece + 1; ++before) {
    for (const char* end : {"", "\U0001F600", "\U0001F600\U00010000z"}) {
      const std::string text = std::string(before, 'x') + end;
      const Converted there = convert("UTF-8", GetParam(), text, 8 * text.size());
      ASSERT_EQ(there.outcome, Outcome::done) << before << end;
      EXPECT_EQ(convert(GetParam(), "UTF-8", there.bytes, text.size()).outcome, Outcome::done) << before << end;
      EXPECT_TRUE(convert(GetParam(), "UTF-8", there.bytes, text.size()).bytes == text) << before << end;
      const Converted exact = convert("UTF-8", GetParam(), text, there.bytes.size());
      EXPECT_EQ(exact.outcome, Outcome::done) << before << end;
      EXPECT_TRUE(exact.bytes == there.bytes) << before << end;
    }
  }
}

/// A piece that is exactly full at the end of the text ends the text.
TEST_P(Pieces, EndWithTheTextWhenExactlyFull) {
  for (const std::size_t length : {std::size_t{1}, std::size_t{2}, std::size_t{15}, host::Codec::pieceCharacters}) {
    const std::string text = convert("UTF-8", GetParam(), std::string(length, 'x'), 8 * length + 8).bytes;
    std::vector<char32_t> room(length);
    const host::Step step = codecNamed(GetParam()).decode(bytesOf(text), room, true);
    EXPECT_EQ(step.outcome, Outcome::done) << length;
    EXPECT_EQ(step.produced, length);
    EXPECT_EQ(step.consumed, text.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Encodings, Pieces,
                         testing::Values("UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE", "GB18030", "UTF-7",
                                         "SCSU", "BOCU-1", "CESU-8"));

TEST(Transcoder, EverySingleByteEncodingRoundTripsItsBytes) {
  int checked = 0;
  for (const host::Encoding& encoding : host::encodings()) {
    const host::Codec* codec = host::codecOf(encoding.identifier);
    ASSERT_NE(codec, nullptr) << encoding.name;
    if (codec->stateful() || !host::makeSingleByteCodec(encoding.name)) continue;
    ++checked;
    for (int value = 0; value < 256; ++value) {
      const std::string byte(1, static_cast<char>(value));
      const Converted there = convert(encoding.name, "UTF-32LE", byte);
      if (there.outcome != Outcome::done) continue;
      const Converted back = convert("UTF-32LE", encoding.name, there.bytes);
      if (back.outcome == Outcome::done) {
        EXPECT_EQ(convert(encoding.name, "UTF-32LE", back.bytes).bytes, there.bytes) << encoding.name << value;
      }
    }
  }
  EXPECT_GT(checked, 80);
}

}  // namespace
}  // namespace rq::test
