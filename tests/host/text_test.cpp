#include "host/text.h"

#include <random>

#include "tests/host/support.h"

namespace rq::test {
namespace {

using namespace std::string_literals;

std::string problemOf(const char* source, const char* target, std::string_view text) {
  const host::Encoding& from = **host::findEncoding(source);
  const host::Encoding& to = **host::findEncoding(target);
  const auto problem = host::findProblem(codecNamed(source), codecNamed(target), bytesOf(text));
  return problem ? host::describe(*problem, from, to) : "";
}

TEST(TextTest, SaysWhereAndWhyATextIsInvalid) {
  EXPECT_EQ(problemOf("UTF-8", "UTF-8", "all right \u00E9"), "");
  EXPECT_EQ(problemOf("UTF-8", "UTF-8",
                      "\u00E9\nab\xFF"
                      "c"),
            "invalid bytes FF at offset 5, line 2, column 3: not valid in UTF-8");
  EXPECT_EQ(problemOf("UTF-8", "UTF-8", "\u00E9\xE2\x82"),
            "the text ends inside a character: bytes E2 82 at offset 2, line 1, column 2, are not a whole character "
            "of UTF-8");
  EXPECT_EQ(problemOf("UTF-16BE", "UTF-8", "\0A\0\n\xDE\0\0B"s),
            "invalid bytes DE 00 at offset 4, line 2, column 1: not valid in UTF-16BE");
  EXPECT_EQ(problemOf("UTF-8", "ISO-8859-1", "a\n\n\u00E9\U0001F600"),
            "character U+1F600 at offset 5, line 3, column 2 does not exist in ISO-8859-1");
  EXPECT_EQ(problemOf("Shift_JIS", "UTF-8", "\x93\xFA\x93\x01"),
            "invalid bytes 93 at offset 2, line 1, column 2: not valid in ibm-943_P15A-2003");
  EXPECT_EQ(problemOf("gsm-03.38-2009", "UTF-8", "ab\x80z"),
            "invalid bytes 80 at offset 2, line 1, column 3: not valid in gsm-03.38-2009");
  EXPECT_EQ(problemOf("gsm-03.38-2009", "UTF-8", "a\x1B\x99"),
            "invalid bytes 99 at offset 2, line 1, column 3: not valid in gsm-03.38-2009");
  EXPECT_EQ(problemOf("ISO-2022-JP", "ISO-8859-1", "a\x1B$BF|\x1B(B").substr(0, 16), "character U+65E5");
}

TEST(TextTest, ShowsSixteenBytesOfALongSequence) {
  const host::Encoding& utf8 = encodingNamed("UTF-8");
  std::string sixteen;
  for (int i = 0; i < 16; ++i) sixteen += " 80";
  for (const auto& [length, behind] : {std::pair(16U, " at offset 0"), std::pair(17U, " ... at offset 0")}) {
    const std::string bad(length, '\x80');
    const std::string shown = host::describe({host::Outcome::malformed, {}, bytesOf(bad)}, utf8, utf8);
    EXPECT_TRUE(shown.starts_with("invalid bytes" + sixteen + behind)) << shown;
  }
}

/// Encodings of ICU that can write them: the whole range, and nothing beside it.
TEST(TextTest, FindsLoneSurrogatesInEncodingsOfIcu) {
  EXPECT_EQ(problemOf("UTF-7", "UTF-8", "a+1/8-"), "");  // U+D7FF
  for (const char* lone : {"+2AA-", "+2/8-", "+3AA-", "+3/8-"}) {
    const std::string problem = problemOf("UTF-7", "UTF-8", std::string("a\n") + lone);
    EXPECT_TRUE(problem.ends_with(" at offset 2, line 2, column 1: not valid in UTF-7")) << lone << problem;
  }
  EXPECT_EQ(problemOf("UTF-7", "UTF-8", "a+4AA-"), "");  // U+E000
}

TEST(TextTest, FindsProblemsBehindManyPieces) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "\u65E5\n";
  text += "x\xC0";
  for (const char* target : {"UTF-8", "GB18030"}) {
    EXPECT_EQ(problemOf("UTF-8", target, text),
              "invalid bytes C0 at offset 20001, line 5001, column 2: not valid in UTF-8");
  }
}

/// Whatever does not convert has a place, in every encoding.
TEST(TextTest, FindsAProblemWhereAConversionFails) {
  std::mt19937 random(1);
  const host::Codec& utf8 = codecNamed("UTF-8");
  for (const host::Encoding& encoding : host::encodings()) {
    const host::Codec& codec = *host::codecOf(encoding.identifier);
    for (int round = 0; round < 300; ++round) {
      std::string text = "ab";
      for (auto length = random() % 6; length > 0; --length) {
        text += static_cast<char>(random() % (round % 2 == 0 ? 256 : 128));
      }
      const bool converts = host::convertAll(codec, utf8, bytesOf(text)).has_value();
      const auto problem = host::findProblem(codec, utf8, bytesOf(text));
      ASSERT_EQ(problem.has_value(), !converts) << encoding.name << ", round " << round;
      if (!problem) continue;
      EXPECT_LT(problem->position.offset, text.size()) << encoding.name;
      EXPECT_FALSE(problem->bytes.empty()) << encoding.name;
    }
  }
}

TEST(TextTest, TracksPositions) {
  const std::string text = "a\u00E9\n\xFFz\n";
  host::PositionTracker tracker(codecNamed("UTF-8"), bytesOf(text), {.offset = 100, .line = 7, .column = 1});
  const auto at = [&tracker](std::uint64_t offset) {
    const host::Position& p = tracker.advanceTo(offset);
    return std::array{p.offset, p.line, p.column};
  };
  using Place = std::array<std::uint64_t, 3>;
  EXPECT_EQ(at(0), (Place{100, 7, 1}));
  EXPECT_EQ(at(3), (Place{103, 7, 3}));
  EXPECT_EQ(at(4), (Place{104, 8, 1}));
  EXPECT_EQ(at(5), (Place{105, 8, 2}));
  EXPECT_EQ(at(7), (Place{107, 9, 1}));
}

TEST(TextTest, ConvertsAllOrNothing) {
  EXPECT_EQ(host::convertAll(codecNamed("UTF-8"), codecNamed("UTF-32BE"), bytesOf(std::string(100, 'x')))->size(),
            400U);
  EXPECT_FALSE(host::convertAll(codecNamed("UTF-8"), codecNamed("US-ASCII"), bytesOf("\u00E9")));
}

TEST(TextTest, ReadsCharactersInPieces) {
  std::string text;
  for (int i = 0; i < 2500; ++i) text += "\U0001F600";
  std::size_t count = 0;
  const auto take = [&count](std::span<const char32_t> piece) { count += piece.size(); };
  EXPECT_TRUE(host::readCharacters(codecNamed("UTF-8"), bytesOf(text), take));
  EXPECT_EQ(count, 2500U);
  EXPECT_FALSE(host::readCharacters(codecNamed("UTF-8"), bytesOf("a\xFF"), take));
}

/// A text that stopped in a shifted state leaves nothing of it to the next one.
TEST(TextTest, ReadsEachTextAfresh) {
  for (const auto& [encoding, stopped] :
       {std::pair("ISO-2022-JP", "\x1B$B\xFF"), {"ISO-2022-KR", "\x1B$)C\x0E\xFF"}}) {
    std::u32string read;
    const auto take = [&read](std::span<const char32_t> piece) { read.append(piece.begin(), piece.end()); };
    EXPECT_FALSE(host::readCharacters(codecNamed(encoding), bytesOf(stopped), take)) << encoding;
    read.clear();
    EXPECT_TRUE(host::readCharacters(codecNamed(encoding), bytesOf("0!0!"), take)) << encoding;
    EXPECT_TRUE(read == U"0!0!") << encoding;
  }
}

}  // namespace
}  // namespace rq::test
