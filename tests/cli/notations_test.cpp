// The notations that are explained, against the decoders: what is found, put in its place, is the decoded text.
#include "cli/notations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "host/host.h"
#include "host/text.h"
#include "host/text_work.h"

namespace rq::cli {
namespace {

bool isScalar(RQChar character) {
  return character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

/// What is found in a text of bytes or characters, whose encoding carries what `carries` says.
template <class Unit, class C, class Carries>
std::vector<Finding> findings(Notation notation, std::basic_string_view<C> text, Carries carries) {
  std::vector<Finding> all;
  findNotations<Unit>(notation, std::span(reinterpret_cast<const Unit*>(text.data()), text.size()), carries,
                      [&all](const Finding& finding) { all.push_back(finding); });
  return all;
}
std::vector<Finding> findingsIn(Notation notation, std::u32string_view text) {
  return findings<RQChar>(notation, text, isScalar);
}
std::vector<Finding> findingsIn(Notation notation, const std::string& text) {
  return findings<unsigned char>(notation, std::string_view(text), isScalar);
}

/// The text with what was found in its place.
std::u32string replaced(const std::u32string& text, const std::vector<Finding>& all) {
  std::u32string result;
  std::size_t at = 0;
  for (const Finding& finding : all) {
    if (!finding.decoded) continue;
    result += text.substr(at, finding.offset - at);
    // A doubled marker stands for the opener and one of them.
    result += finding.character ? std::u32string(1, *finding.character) : text.substr(finding.offset, 2);
    at = finding.offset + finding.length;
  }
  return result + text.substr(at);
}

class Decoder {
 public:
  std::u32string operator()(Notation notation, const std::u32string& text) {
    const host::Result<Bytes> decoded = work_.decode(notation, std::as_bytes(std::span(text)));
    if (!decoded) return U"failed";
    return {reinterpret_cast<const char32_t*>(decoded->data()), decoded->size() / sizeof(char32_t)};
  }

 private:
  using Bytes = host::Bytes;
  const host::Library library_ = std::move(*host::Library::open(RQ_LIBRARY_PATH));
  host::Host host_{RQ_ENCODING_UTF32_LITTLE};
  host::Session session_ = std::move(*host::Session::open(library_, host_));
  host::TextWork work_{session_.object(), session_->wide, *host::findEncoding(RQ_ENCODING_UTF32_LITTLE), true};
};

constexpr Notation notations[] = {Notation::ncr, Notation::uesc, Notation::uparen, Notation::uparenAscii};

const std::vector<std::u32string>& partsOf(Notation notation) {
  static const std::vector<std::u32string> references = {
      U"&",        U"#",    U";",      U"&#",       U"&#x",      U"x",        U"X",       U"0",        U"9",
      U"41",       U"65;",  U"D83D;",  U"DE00;",    U"DE01;",    U"DFFF;",    U"dc00;",   U"&#xD83D;", U"&#x1D83D;",
      U"&#12;",    U"&#1;", U"&#123;", U"&#55357;", U"&#xDE00;", U"&#56832;", U"110000;", U"10FFFF;",  U"1114111;",
      U"12345678", U"a",    U"g",      U" ",        U"/",        U":",        U"@",       U"`"};
  static const std::vector<std::u32string> escapes = {
      U"\\",      U"u",       U"U",       U"\\u",  U"\\U",      U"0041", U"0000", U"D83D",     U"\\uD83D", U"\\uDE00",
      U"\\uDE01", U"\\uDFFF", U"\\udbff", U"0001", U"0010FFFF", U"0011", U"0003", U"000E0001", U"uDE00",   U"DE00",
      U"000D",    U"0",       U"9",       U"a",    U"f",        U"g",    U" ",    U"F600"};
  static const std::vector<std::u32string> parens = {
      U"<",        U"<U",       U"<u", U">", U"0041", U"007F", U"0080", U"00E9", U"D83D", U"0001F600",
      U"0010FFFF", U"00110000", U"0",  U"a", U"F",    U"g",    U" ",    U"U",    U"V"};
  if (notation == Notation::ncr) return references;
  return notation == Notation::uesc ? escapes : parens;
}

TEST(Notations, FoundAndReplacedAreTheDecodedText) {
  std::mt19937 random(3);
  Decoder decode;
  for (const Notation notation : notations) {
    const std::vector<std::u32string>& parts = partsOf(notation);
    for (int round = 0; round < 20'000; ++round) {
      std::u32string text;
      for (auto count = random() % 8; count > 0; --count) text += parts[random() % parts.size()];
      const std::vector<Finding> all = findingsIn(notation, text);
      ASSERT_TRUE(replaced(text, all) == decode(notation, text)) << std::string(text.begin(), text.end());
      // The same in bytes.
      const auto sameFinding = [](const Finding& a, const Finding& b) {
        return std::tie(a.offset, a.length, a.character, a.decoded, a.why) ==
               std::tie(b.offset, b.length, b.character, b.decoded, b.why);
      };
      ASSERT_TRUE(std::ranges::equal(all, findingsIn(notation, std::string(text.begin(), text.end())), sameFinding));
    }
  }
}

struct Row {
  Notation notation;
  std::string text;
  std::size_t offset, length;
  RQChar character;
  bool decoded;
  const char* why;
};
constexpr RQChar none = 0xFFFFFFFF;

TEST(Notations, AreFoundWithTheirPlacesAndReasons) {
  const Row rows[] = {
      {Notation::ncr, "a&#65;", 1, 5, 0x41, true, ""},
      {Notation::ncr, "&#65", 0, 2, none, false, "no ';' follows"},
      {Notation::ncr, "&#x41;", 0, 6, 0x41, true, ""},
      {Notation::ncr, "&#6;", 0, 4, 0x0, true, "fewer than two digits stand for U+0000"},
      {Notation::ncr, "&#;", 0, 3, 0x0, true, "fewer than two digits stand for U+0000"},
      {Notation::ncr, "&#65 x;", 0, 7, 0x41, true, "text behind the digits is dropped"},
      {Notation::ncr, "&#xD83D;&#xDE00;", 0, 16, 0x1F600, true, "a surrogate pair"},
      {Notation::ncr, "&#xD83D;&#xDE01;", 0, 16, 0x1F601, true, "a surrogate pair"},
      {Notation::ncr, "&#xD83D;", 0, 8, 0xD83D, false, "a lone surrogate"},
      {Notation::ncr, "&#xDE00;", 0, 8, 0xDE00, false, "a lone surrogate"},
      {Notation::ncr, "&#x110000;", 0, 10, 0x110000, false, "above U+10FFFF"},
      {Notation::ncr, "&#x10FFFF;", 0, 10, 0x10FFFF, true, ""},
      {Notation::ncr, "&#xD83D;a", 0, 8, 0xD83D, false, "a lone surrogate"},
      {Notation::ncr, "&#xD83D;&#x41;", 0, 8, 0xD83D, false, "a lone surrogate"},
      {Notation::ncr, "&#xD83D;&#x41;", 8, 6, 0x41, true, ""},
      {Notation::ncr, "&#xD83D;&#1", 0, 8, 0xD83D, false, "a lone surrogate"},
      {Notation::ncr, "&#xD83D;&#1", 8, 2, none, false, "no ';' follows"},
      {Notation::ncr, "&#x000000041;", 0, 13, 0x4, true, "text behind the digits is dropped"},
      {Notation::ncr, "&#xDFFF;", 0, 8, 0xDFFF, false, "a lone surrogate"},
      {Notation::ncr, "&#xD7FF;", 0, 8, 0xD7FF, true, ""},
      {Notation::ncr, "&#xE000;", 0, 8, 0xE000, true, ""},
      {Notation::uesc, "a\\u0041", 1, 6, 0x41, true, ""},
      {Notation::uesc, "\\u", 0, 2, none, false, "no digits follow"},
      {Notation::uesc, "\\uu", 0, 3, none, true, "a doubled marker stands for a single one"},
      {Notation::uesc, "\\Uu0041", 0, 3, none, true, "a doubled marker stands for a single one"},
      {Notation::uesc, "\\u004", 0, 5, none, false, "fewer than four digits"},
      {Notation::uesc, "\\u004g", 0, 5, none, false, "fewer than four digits"},
      {Notation::uesc, "\\uD83D\\uDE00", 0, 12, 0x1F600, true, "a surrogate pair"},
      {Notation::uesc, "\\uD83D", 0, 6, 0xD83D, false, "a lone surrogate"},
      {Notation::uesc, "\\uD83D\\u0041", 0, 6, 0xD83D, false, "a lone surrogate"},
      {Notation::uesc, "\\uD83D\\u0041", 6, 6, 0x41, true, ""},
      {Notation::uesc, "\\U0001F600", 0, 10, 0x1F600, true, ""},
      {Notation::uesc, "\\u00410", 0, 6, 0x41, true, ""},
      {Notation::uesc, "\\u00110000", 0, 6, 0x11, true, ""},
      {Notation::uesc, "\\u00030000", 0, 6, 0x3, true, ""},
      {Notation::uesc, "\\u000E0001", 0, 10, 0xE0001, true, ""},
      {Notation::uesc, "\\u0002FFFF", 0, 10, 0x2FFFF, true, ""},
      {Notation::uesc, "\\u000D0000", 0, 6, 0xD, true, ""},
      {Notation::uesc, "\\uD83D uDE00", 0, 6, 0xD83D, false, "a lone surrogate"},
      {Notation::uesc, "\\uD83D\\xDE00", 0, 6, 0xD83D, false, "a lone surrogate"},
      {Notation::uparen, "a<U0041>", 1, 7, 0x41, true, ""},
      {Notation::uparen, "<U0041", 0, 2, none, false, "no '>' follows"},
      {Notation::uparen, "<U>", 0, 3, 0x0, true, "fewer than four digits stand for U+0000"},
      {Notation::uparen, "<U004>", 0, 6, 0x0, true, "fewer than four digits stand for U+0000"},
      {Notation::uparen, "<u0041 x>", 0, 9, 0x41, true, "text behind the digits is dropped"},
      {Notation::uparen, "<UD83D>", 0, 7, 0xD83D, false, "a lone surrogate"},
      {Notation::uparen, "<U00110000>", 0, 11, 0x110000, false, "above U+10FFFF"},
      {Notation::uparen, "<u0001F600>", 0, 11, 0x1F600, true, ""},
      {Notation::uparen, "<U0041><u0042>", 0, 7, 0x41, true, ""},
      {Notation::uparen, "<U0041><u0042>", 7, 7, 0x42, true, ""},
      {Notation::uparenAscii, "<U0041>", 0, 7, 0x41, true, ""},
      {Notation::uparenAscii, "<U007F>", 0, 7, 0x7F, true, ""},
      {Notation::uparenAscii, "<U0080>", 0, 7, 0x80, false, "not below U+0080"},
      {Notation::uparenAscii, "<U>", 0, 3, 0x0, true, "fewer than four digits stand for U+0000"},
      {Notation::uparenAscii, "<U00E9 x>", 0, 9, 0xE9, false, "not below U+0080"},
  };
  for (const Row& row : rows) {
    const std::vector<Finding> all = findingsIn(row.notation, row.text);
    const auto found = std::ranges::find(all, row.offset, &Finding::offset);
    ASSERT_NE(found, all.end()) << row.text;
    EXPECT_EQ(found->length, row.length) << row.text;
    EXPECT_EQ(found->character.value_or(none), row.character) << row.text;
    EXPECT_EQ(found->decoded, row.decoded) << row.text;
    EXPECT_EQ(found->why, row.why) << row.text;
    EXPECT_FALSE(found->lacking) << row.text;
  }
}

TEST(Notations, AreKeptWhereTheEncodingLacksTheCharacter) {
  const std::pair<std::string, const char*> rows[] = {{"&#x80;", "the session encoding lacks it"},
                                                      {"&#xD7FF;", "the session encoding lacks it"},
                                                      {"&#xD800;", "a lone surrogate"},
                                                      {"&#xDFFF;", "a lone surrogate"},
                                                      {"&#xE000;", "the session encoding lacks it"},
                                                      {"&#x10FFFF;", "the session encoding lacks it"},
                                                      {"&#x110000;", "above U+10FFFF"},
                                                      {"&#x7F;", ""}};
  for (const auto& [text, why] : rows) {
    const std::vector<Finding> all = findings<unsigned char>(Notation::ncr, std::string_view(text),
                                                             [](RQChar character) { return character < 0x80; });
    ASSERT_EQ(all.size(), 1U) << text;
    EXPECT_EQ(all[0].why, why) << text;
    EXPECT_EQ(all[0].lacking, std::string_view(why).ends_with("lacks it")) << text;
    EXPECT_EQ(all[0].decoded, text == "&#x7F;") << text;
  }
}

}  // namespace
}  // namespace rq::cli
