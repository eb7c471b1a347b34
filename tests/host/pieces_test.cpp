// Where long texts may be cut, against texts of which every character is known.
#include "host/pieces.h"

#include "tests/host/support.h"

namespace rq::test {
namespace {

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
  for (const char* name : {"UTF-8", "UTF-16BE", "UTF-32LE", "ISO-8859-1", "GB18030", "SCSU"}) {
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

constexpr char32_t limits[] = {0,      U'\n',  0x7F,   0x80,    0x7FF,   0x800,   0x3042,  0xD7FF,   0xE000,
                               0xFFFD, 0xFFFE, 0xFFFF, 0x10000, 0x103FF, 0x10400, 0x1F600, 0x10FFFE, 0x10FFFF};

/// Long and short pieces of characters become the bytes of the whole, and these the characters again.
TEST(TextPieces, AreWrittenAndReadAsTheWhole) {
  std::u32string characters;
  while (characters.size() < 5000) characters += std::u32string(std::begin(limits), std::end(limits)) + U"plain text";
  for (const char* name : {"GB18030", "UTF-7", "BOCU-1", "CESU-8"}) {
    const std::string whole =
        *host::convertAll(codecNamed("UTF-32LE"), codecNamed(name), std::as_bytes(std::span(characters)));
    for (const std::size_t piece : {1U, 7U, 1023U, 1024U, 1025U, 3000U, 10'000U}) {
      auto writer = std::move(*host::CharacterWriter::open(encodingNamed(name)));
      auto reader = std::move(*host::CharacterReader::open(encodingNamed(name)));
      std::string written;
      std::u32string read;
      for (std::size_t at = 0; at < characters.size(); at += piece) {
        const std::u32string_view part = std::u32string_view(characters).substr(at, piece);
        const auto bytes = writer.write(std::as_bytes(std::span(part)), at + piece >= characters.size());
        ASSERT_TRUE(bytes) << name;
        written.append(reinterpret_cast<const char*>(bytes->data()), bytes->size());
      }
      EXPECT_TRUE(written == whole) << name << piece;
      for (std::size_t at = 0; at < whole.size(); at += piece) {
        const auto part = reader.read(bytesOf(std::string_view(whole).substr(at, piece)), at + piece >= whole.size());
        ASSERT_TRUE(part) << name << part.error().text;
        read.append(reinterpret_cast<const char32_t*>(part->data()), part->size() / sizeof(char32_t));
      }
      EXPECT_TRUE(read == characters) << name << piece;
    }
  }
}

/// Nothing has no end; a text that began has one even when its last piece is empty.
TEST(TextPieces, EndTheirTextOnce) {
  auto writer = std::move(*host::CharacterWriter::open(encodingNamed("ISO-2022-JP")));
  EXPECT_EQ(writer.write({}, true)->size(), 0U);
  auto other = std::move(*host::CharacterWriter::open(encodingNamed("ISO-2022-JP")));
  const char32_t character = U'\u65E5';
  const std::string begun(
      reinterpret_cast<const char*>(other.write(std::as_bytes(std::span(&character, 1)), false)->data()), 5);
  EXPECT_EQ(begun, "\x1B$BF|");
  EXPECT_EQ(other.write({}, true)->size(), 3U);
  const char32_t lacking = U'\U0001F600';
  EXPECT_FALSE(
      host::CharacterWriter::open(encodingNamed("ISO-2022-JP"))->write(std::as_bytes(std::span(&lacking, 1)), true));
}

/// What is wrong, wherever the pieces end: its bytes and its place.
TEST(TextPieces, NameWhatIsWrongInAnyPiece) {
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"GB18030", "ab\n\xFF!", "invalid bytes FF at offset 3, line 2, column 1: not valid in "},
      {"GB18030", "ab\nc\x81\x30\x81",
       "the text ends inside a character: bytes 81 30 81 at offset 4, line 2, column 2, are not a whole character "
       "of "},
      {"UTF-7", "ab\n+2AA-", " at offset "},
      {"CESU-8", "a\n\n\xC3\xA9\xFFz", "invalid bytes FF at offset 5, line 3, column 2: not valid in "},
  };
  for (const auto& [name, text, message] : rows) {
    for (std::size_t piece = 1; piece <= text.size(); ++piece) {
      auto reader = std::move(*host::CharacterReader::open(encodingNamed(name)));
      std::string problem;
      for (std::size_t at = 0; at < text.size() && problem.empty(); at += piece) {
        const auto read = reader.read(bytesOf(std::string_view(text).substr(at, piece)), at + piece >= text.size());
        if (!read) problem = read.error().text;
      }
      EXPECT_NE(problem.find(message), std::string::npos) << name << ", " << piece << ": " << problem;
      EXPECT_TRUE(problem.ends_with(encodingNamed(name).name)) << problem;
    }
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
