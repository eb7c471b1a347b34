// Where long texts may be cut, against texts of which every character is known.
#include "host/pieces.h"

#include "tests/host/support.h"

namespace rq::test {
namespace {

const host::Encoding& encodingNamed(const char* name) {
  return **host::findEncoding(name);
}

/// Each character of a text in an encoding, without what the encoding lacks.
std::vector<std::string> charactersIn(const char* encoding, std::initializer_list<const char*> characters) {
  std::vector<std::string> all;
  for (const char* character : characters) {
    const Converted converted = convert("UTF-8", encoding, character);
    if (converted.outcome == host::Outcome::done) all.push_back(converted.bytes);
  }
  return all;
}

/// Cut anywhere, a text has whole characters up to where the last one that is complete ends.
TEST(TextPieces, EndWithWholeCharacters) {
  for (const char* name : {"UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE", "ISO-8859-1", "KOI8-R", "GB18030",
                           "Shift_JIS", "EUC-JP", "CESU-8"}) {
    std::string text;
    std::vector<std::size_t> ends = {0};
    for (const std::string& character :
         charactersIn(name, {"a", "\u00E9", "\u07FF", "\u0800", "\u65E5", "\uFFFD", "\U00010000", "\U0001F600",
                             "\U0010FFFF", "\u0416", "z"})) {
      text += character;
      ends.push_back(text.size());
    }
    for (std::size_t length = 0; length <= text.size(); ++length) {
      const std::size_t whole = *std::prev(std::ranges::upper_bound(ends, length));
      EXPECT_EQ(host::wholeCharacters(encodingNamed(name), bytesOf(text).first(length)), whole)
          << name << ", " << length;
    }
  }
}

/// Nothing that follows makes a character of these.
TEST(TextPieces, CountWhatIsNotValidAsCharacters) {
  for (const std::string_view bad :
       {"\x80", "a\xBF\xBF\xBF\xBF", "\xE3\x81\x82\x80", "\xF0\x9F\x98\x80\x80", "\x80\x80\x80", "\xF8\x80\x80\x80"})
    EXPECT_EQ(host::wholeCharacters(encodingNamed("UTF-8"), bytesOf(bad)), bad.size());
}

TEST(TextPieces, HoldWholeBlocks) {
  constexpr std::size_t block = host::Codec::pieceCharacters;
  for (const char* name : {"UTF-16BE", "UTF-32LE", "ISO-8859-1", "GB18030", "SCSU"}) {
    for (const std::size_t characters :
         {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 2 * block, 3 * block + 5}) {
      std::string text, whole;
      for (std::size_t i = 0; i < characters; ++i) text += "\u00E9";
      whole = text.substr(0, characters / block * block * 2);
      EXPECT_EQ(host::wholeBlocks(encodingNamed(name), bytesOf(convert("UTF-8", name, text, 20'000).bytes)),
                convert("UTF-8", name, whole, 20'000).bytes.size())
          << name << ", " << characters;
    }
  }
}

TEST(TextPieces, AreWrittenInBlocksByEncodingsThatLookAhead) {
  for (const char* name : {"SCSU", "LMBCS-1"}) EXPECT_TRUE(host::writesInBlocks(encodingNamed(name))) << name;
  for (const char* name : {"UTF-8", "ISO-2022-JP", "BOCU-1", "UTF-7", "HZ", "GB18030", "ISO-8859-1", "CESU-8"})
    EXPECT_FALSE(host::writesInBlocks(encodingNamed(name))) << name;
}

/// Characters at the limits of what is counted otherwise, before and behind line ends, and more than a counter holds.
TEST(TextPieces, EndAtThePositionBehindTheirCharacters) {
  const std::vector<const char*> all = {"\n",         "a",          "\v",         "\u0A00",     "\u010A",
                                        "\u7F0A",     "\u00E9",     "\uD7FF",     "\uE000",     "\uFFFD",
                                        "\U00010000", "\U0001F601", "\U000103FF", "\U0010FFFF", "\u0416"};
  for (const char* name : {"UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE", "ISO-8859-1", "ibm-1047",
                           "KOI8-R", "GB18030", "Shift_JIS"}) {
    for (const char* one : all) {
      const Converted character = convert("UTF-8", name, one);
      if (character.outcome != host::Outcome::done) continue;
      const std::string lineEnd = convert("UTF-8", name, "\n").bytes;
      for (const std::size_t count : {1U, 127U, 128U, 129U, 256U, 300U, 1025U}) {
        std::string run;
        for (std::size_t i = 0; i < count; ++i) run += character.bytes;
        const bool ends = std::string_view(one) == "\n";
        const auto behind = [name](const std::string& text) {
          const host::Position at =
              host::positionBehind(encodingNamed(name), bytesOf(text), {.offset = 7, .line = 3, .column = 5});
          EXPECT_EQ(at.offset, 7 + text.size());
          return std::pair(at.line, at.column);
        };
        using Place = std::pair<std::uint64_t, std::uint64_t>;
        EXPECT_EQ(behind(run), ends ? Place(3 + count, 1) : Place(3, 5 + count)) << name << one << count;
        EXPECT_EQ(behind(lineEnd + run), ends ? Place(4 + count, 1) : Place(4, 1 + count)) << name << one << count;
        EXPECT_EQ(behind(run + lineEnd), Place(ends ? 4 + count : 4, 1)) << name << one << count;
      }
    }
  }
  const host::Position stateful =
      host::positionBehind(encodingNamed("ISO-2022-JP"), bytesOf("a\nb"), {.offset = 7, .line = 3, .column = 5});
  EXPECT_EQ(stateful.offset, 10U);
}

TEST(TextPieces, CountBlanksAtTheEnd) {
  const std::pair<const char*, std::uint64_t> rows[] = {{"", 0},         {" ", 1},      {"a", 0},       {"a ", 1},
                                                        {" a", 0},       {"   ", 3},    {"a  b   ", 3}, {"a \n", 0},
                                                        {"\u65E5  ", 2}, {"\u3000 ", 1}};
  for (const char* name :
       {"UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE", "ISO-8859-1", "ibm-1047", "GB18030", "Shift_JIS"}) {
    for (const auto& [text, blanks] : rows) {
      const Converted converted = convert("UTF-8", name, text);
      if (converted.outcome != host::Outcome::done) continue;
      EXPECT_EQ(host::blanksAtEnd(encodingNamed(name), bytesOf(converted.bytes)), blanks) << name << ": " << text;
    }
  }
  const std::string many(5000, ' ');
  for (const char* name : {"ISO-8859-1", "GB18030"}) {
    EXPECT_EQ(host::blanksAtEnd(encodingNamed(name), bytesOf(many)), 5000U) << name;
    EXPECT_EQ(host::blanksAtEnd(encodingNamed(name), bytesOf(many + "a" + many)), 5000U) << name;
  }
}

/// A byte alone, read by a converter of its own, is the character of its number.
TEST(TextPieces, KnowTheBytesThatAreAscii) {
  for (const host::Encoding& encoding : host::encodings()) {
    const host::Codec& codec = *host::codecOf(encoding.identifier);
    const std::bitset<0x80> ascii = host::asciiBytes(codec);
    for (unsigned value = 0; value < 0x80; ++value) {
      const auto byte = static_cast<char>(value);
      std::array<UChar, 8> units;
      UErrorCode error = U_ZERO_ERROR;
      const auto length =
          ucnv_toUChars(host::openConverter(encoding.name).get(), units.data(), units.size(), &byte, 1, &error);
      EXPECT_EQ(ascii[value], U_SUCCESS(error) && length == 1 && units[0] == value) << encoding.name << ", " << value;
    }
    EXPECT_EQ(host::isAsciiCompatible(codec), ascii.all()) << encoding.name;
  }
  EXPECT_TRUE(host::isAsciiCompatible(codecNamed("UTF-8")));
  EXPECT_FALSE(host::isAsciiCompatible(codecNamed("ibm-1047")));
}

}  // namespace
}  // namespace rq::test
