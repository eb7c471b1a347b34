// How far a text can be worked on while the rest is not known: as far as no notation, and no pair of them, is open.
#include "cli/cuts.h"

#include <algorithm>
#include <span>
#include <string>

#include "host/pieces.h"
#include "tests/host/support.h"

namespace rq::cli {
namespace {

using host::Notation;
using test::bytesOf, test::encodingNamed;

struct Row {
  std::string_view text;
  std::size_t cut;
};

/// References end with ';', and one that may be a high surrogate waits for its partner.
constexpr Row ncrRows[] = {{"", 0},
                           {"a", 1},
                           {"abc", 3},
                           {"&", 0},
                           {"a&", 1},
                           {"&&", 1},
                           {"&a", 2},
                           {"a&b", 3},
                           {"&#", 0},
                           {"&#6", 0},
                           {"&#65", 0},
                           {"&#65;", 5},
                           {"a&#65;b", 7},
                           {"&#65;&", 5},
                           {"&#65;&#", 5},
                           {"a&#x", 1},
                           {"&#x41;", 6},
                           {"&#x41", 0},
                           {"&#12345678901234", 0},
                           {"&#x ;", 5},
                           {"#", 1},
                           {"&;#", 3},
                           {"&#65;&#66", 5},
                           {"&#xD83D;", 0},
                           {"a&#xD83D;", 1},
                           {"&#xD83D;a", 9},
                           {"&#xD83D;&", 0},
                           {"&#xD83D;&a", 10},
                           {"&#xD83D;&#", 0},
                           {"&#xD83D;&#x", 0},
                           {"&#xD83D;&#1", 0},
                           {"&#xD83D;&#1;", 0},
                           {"&#xD83D;&#12;", 13},
                           {"&#xD83D;&#xDE00", 0},
                           {"&#xD83D;&#xDE00;", 16},
                           {"&#xD7FF;", 8},
                           {"&#xD800;", 0},
                           {"&#xDBFF;", 0},
                           {"&#xDC00;", 8},
                           {"&#xd800;", 0},
                           {"&#XD800;", 8},
                           {"&#55296;", 0},
                           {"&#56319;", 0},
                           {"&#56320;", 8},
                           {"&#55295;", 8},
                           {"&#x0D800;", 0},
                           {"&#x1D800;", 0},
                           {"&#x0000D800;", 0},
                           {"&#x00000D800;", 13},
                           {"&#000055296;", 12},
                           {"&#00055296;", 0},
                           {"&#xD80;", 7},
                           {"&#D800;", 7},
                           {"&#5529;", 7},
                           {"&#x D800;", 9},
                           {"&#xD800 ;", 0},
                           {"&#xD83D;&#xD83D;", 0},
                           {"&#xD83D;abcd&", 12},
                           {"&#xD83D;abcd", 12},
                           {"&#xD83D", 0},
                           {"a;&#xD83D;b;", 12},
                           {"&#xD83D;&#12", 0},
                           {"&#xD83D;&#123;", 14},
                           {"&#xD83D;&b", 10},
                           {"&#xD83D;b&", 9},
                           {"&amp;", 5},
                           {"&#xD83D;;", 9},
                           {";&#xD83D;", 1}};

/// Escapes have up to eight digits; a high surrogate waits for the escape behind it.
constexpr Row uescRows[] = {{"", 0},
                            {"a", 1},
                            {"\\", 0},
                            {"a\\", 1},
                            {"\\a", 2},
                            {"\\\\", 1},
                            {"\\u", 0},
                            {"\\U", 0},
                            {"\\uu", 3},
                            {"\\u0", 0},
                            {"\\u00", 0},
                            {"\\u004", 0},
                            {"\\u0041", 0},
                            {"\\u0041a", 0},
                            {"\\u00410", 0},
                            {"\\u004100", 0},
                            {"\\u0041000", 0},
                            {"\\u00410000", 10},
                            {"\\u004100001", 11},
                            {"\\U0001F60", 0},
                            {"\\U0001F600", 10},
                            {"\\U0001F600a", 11},
                            {"\\u00g", 5},
                            {"\\u00@", 5},
                            {"\\u00 ", 5},
                            {"\\uD83D", 0},
                            {"\\uD83D\\", 0},
                            {"\\uD83D\\u", 0},
                            {"\\uD83D\\uD", 0},
                            {"\\uD83D\\uDE", 0},
                            {"\\uD83D\\uDE0", 0},
                            {"\\uD83D\\uDE00", 0},
                            {"\\uD83D\\uDE00a", 0},
                            {"\\uD83D\\uDE00\\", 12},
                            {"\\uD83Da", 0},
                            {"\\uD83D\\a", 8},
                            {"\\uD83D\\uD83D", 6},
                            {"\\uD83D\\u0041", 6},
                            {"\\uD83D\\u0041a", 6},
                            {"\\uD83D\\uDBFF", 6},
                            {"\\uD83D\\uDC00", 0},
                            {"\\uD83D\\uDFFF", 0},
                            {"\\uD83D\\uE000", 6},
                            {"\\uD83D\\u00", 0},
                            {"\\uD83D\\u00g", 11},
                            {"\\uDBFFa", 0},
                            {"\\uDBFF", 0},
                            {"\\uDC00", 0},
                            {"\\uD73D\\", 6},
                            {"\\uD93D\\", 0},
                            {"\\uDA3D\\", 0},
                            {"\\uda3d\\", 0},
                            {"\\uDB3D\\", 0},
                            {"\\udb3d\\", 0},
                            {"\\uDC3D\\", 6},
                            {"\\ud800", 0},
                            {"\\uda00", 0},
                            {"\\udb00", 0},
                            {"\\udc00", 0},
                            {"\\uC800", 0},
                            {"\\u\\u", 0},
                            {"\\u\\", 0},
                            {"ab\\u0041", 2},
                            {"ab\\u0041c", 2},
                            {"\\uD83D\\U", 0},
                            {"\\uD83D\\UDE00", 0},
                            {"\\uD83Dg", 7},
                            {"\\uD83D \\uDE00", 7},
                            {"\\u12345678", 10},
                            {"\\u123456789", 11}};

constexpr Row uparenRows[] = {
    {"", 0},    {"a", 1},      {"<", 0},       {"a<", 1},       {"<a", 2},          {"<U", 0},        {"<u", 0},
    {"<V", 2},  {"<U0041", 0}, {"<U0041>", 7}, {"<U0041>a", 8}, {"<U0041><", 7},    {"<U0041><U", 7}, {"a>b<", 3},
    {"<<U", 1}, {"<U<", 0},    {"x<u", 1},     {"<U00 41", 0},  {"<U0041>b<u1", 8}, {"a<b", 3},       {"<uU", 0}};

void checkDecoding(Notation notation, std::span<const Row> rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(cutForDecoding(notation, false)(bytesOf(row.text)), row.cut) << row.text;
    const std::u32string wide(row.text.begin(), row.text.end());
    EXPECT_EQ(cutForDecoding(notation, true)(std::as_bytes(std::span(wide))), 4 * row.cut) << row.text;
  }
}

TEST(Cuts, ForDecodingLieBeforeOpenNotations) {
  checkDecoding(Notation::ncr, ncrRows);
  checkDecoding(Notation::uesc, uescRows);
  checkDecoding(Notation::uparen, uparenRows);
  checkDecoding(Notation::uparenAscii, uparenRows);
}

/// What an encoder lets pass or doubles: `<u0041>` before another character, and a backslash.
struct EncodedRow {
  std::string_view text;
  std::size_t ncr, uesc, uparen;
};
constexpr EncodedRow textRows[] = {{"", 0, 0, 0},
                                   {"a", 1, 1, 1},
                                   {"<", 0, 1, 0},
                                   {"a<", 1, 2, 1},
                                   {"<a", 2, 2, 2},
                                   {"<u", 0, 2, 0},
                                   {"<u0", 0, 3, 0},
                                   {"<u0041", 0, 6, 0},
                                   {"<u0041>", 7, 7, 0},
                                   {"<u0041>a", 8, 8, 8},
                                   {"<u0041>ab", 9, 9, 9},
                                   {"<u0041>abcdef", 13, 13, 13},
                                   {"<u0041>abcdefg", 14, 14, 14},
                                   {"<u0001F600", 10, 10, 0},
                                   {"<u0001F600>", 11, 11, 0},
                                   {"<u0001F600>a", 12, 12, 12},
                                   {"<u0001F600>ab", 13, 13, 13},
                                   {"<u0001F600><u", 11, 13, 11},
                                   {"<u0041><u", 7, 9, 7},
                                   {"<u004", 0, 5, 0},
                                   {"<u004x1", 7, 7, 0},
                                   {"<u0041x", 7, 7, 0},
                                   {"<u0041xabc", 10, 10, 0},
                                   {"<u0041xabcd", 11, 11, 0},
                                   {"<u0041xabcde", 12, 12, 12},
                                   {"<u0041xabcdef", 13, 13, 13},
                                   {"<u0041xabc>e", 12, 12, 12},
                                   {"<u0041xabc>ef", 13, 13, 13},
                                   {"x<u0041>a", 9, 9, 9},
                                   {"<<u0041>", 8, 8, 1},
                                   {"\\", 1, 0, 1},
                                   {"\\u", 2, 0, 2},
                                   {"\\ua", 3, 0, 3},
                                   {"\\u00", 4, 0, 4},
                                   {"\\u004", 5, 0, 5},
                                   {"\\u0041", 6, 6, 6},
                                   {"\\u0041a", 7, 7, 7},
                                   {"a\\", 2, 1, 2},
                                   {"\\a", 2, 2, 2},
                                   {"\\uxxxx", 6, 6, 6},
                                   {"\\uxxxxx", 7, 7, 7},
                                   {"é", 2, 2, 2},
                                   {"é<", 2, 3, 2},
                                   {"日本<u", 6, 8, 6},
                                   {"<u日本語日本語日本語日本語", 38, 38, 38}};

TEST(Cuts, ForEncodingLieBeforeNotationsThatStandInTheText) {
  for (const auto& [notation, cut] : {std::pair(Notation::ncr, &EncodedRow::ncr),
                                      {Notation::uesc, &EncodedRow::uesc},
                                      {Notation::uparen, &EncodedRow::uparen}}) {
    for (const EncodedRow& row : textRows) {
      EXPECT_EQ(cutForEncoding(notation, encodingNamed("UTF-8"))(bytesOf(row.text)), row.*cut) << row.text;
      if (std::ranges::any_of(row.text, [](char c) { return c < 0; })) continue;
      const std::u32string wide(row.text.begin(), row.text.end());
      EXPECT_EQ(cutForEncoding(notation, encodingNamed("UTF-32LE"))(std::as_bytes(std::span(wide))), 4 * row.*cut)
          << row.text;
    }
  }
}

/// Many openers before the one that is open, in encodings that begin each look afresh.
TEST(Cuts, ForEncodingAreThoseOfAsciiInEveryEncoding) {
  const Row rows[] = {{"<x0123456789abcdef<u0041", 18},
                      {"<u<u<u<u<u<u<u<u<u<u<u", 12},
                      {"<x<x<x<x<x<x<x<x<x<u", 18},
                      {"<u0041>abcdefghijkl<u0041>", 19},
                      {"<u0041<u0041<u0041<u0041>x", 26}};
  for (const char* name : {"UTF-8", "ISO-8859-1", "GB18030", "Shift_JIS", "EUC-JP"}) {
    for (const Row& row : rows)
      EXPECT_EQ(cutForEncoding(Notation::uparen, encodingNamed(name))(bytesOf(row.text)), row.cut)
          << name << row.text;
  }
}

/// The second byte of a character is no opener.
TEST(Cuts, ForEncodingSeeCharactersAndNotBytes) {
  const host::Encoding& encoding = encodingNamed("Shift_JIS");
  EXPECT_EQ(cutForEncoding(Notation::uesc, encoding)(bytesOf("\x83\x5C")), 2U);
  EXPECT_EQ(cutForEncoding(Notation::uesc, encoding)(bytesOf("\x83\x5C\x5C")), 2U);
  EXPECT_EQ(cutForEncoding(Notation::uesc, encoding)(bytesOf("\x83")), 0U);
}

/// A byte below 0x80 that is not its character waits for one above, once for each text.
TEST(Cuts, ForEncodingWaitForTheFirstByteAbove) {
  const host::Encoding& encoding = encodingNamed("ibm-1276");
  const std::string foreign = [&] {
    const auto ascii = host::asciiBytes(*host::codecOf(encoding.identifier));
    std::size_t value = 0x21;
    while (ascii[value]) ++value;
    return std::string(1, static_cast<char>(value));
  }();
  Cut cut = cutForEncoding(Notation::uesc, encoding);
  EXPECT_EQ(cut(bytesOf("abc")), 3U);
  EXPECT_EQ(cut(bytesOf("ab" + foreign + "c")), 2U);
  EXPECT_EQ(cut(bytesOf(foreign + "c" + foreign)), 0U);
  EXPECT_EQ(cut(bytesOf("ab" + foreign + "c\xC1")), 5U);
  EXPECT_EQ(cut(bytesOf("ab" + foreign)), 3U);
}

TEST(Cuts, LieBetweenCharactersAsWell) {
  const Cut inside = cutBetween(cutForDecoding(Notation::ncr, false), encodingNamed("UTF-8"));
  EXPECT_EQ(inside(bytesOf("a\xC3")), 1U);
  EXPECT_EQ(inside(bytesOf("&#65;\xE3\x81")), 5U);
  EXPECT_EQ(inside(bytesOf("\xE3\x81\x82&#")), 3U);
  EXPECT_EQ(cutNowhere()(bytesOf("abc")), 0U);
  EXPECT_EQ(cutAtCharacters(encodingNamed("UTF-16BE"))(bytesOf("abc")), 2U);
  EXPECT_EQ(cutForTarget(encodingNamed("UTF-8"), encodingNamed("GB18030"))(bytesOf("abc\xC3")), 3U);
  EXPECT_EQ(cutForTarget(encodingNamed("UTF-8"), encodingNamed("SCSU"))(bytesOf("abc")), 0U);
  EXPECT_EQ(cutForTarget(encodingNamed("UTF-8"), encodingNamed("SCSU"))(bytesOf(std::string(1500, 'x'))), 1024U);
}

}  // namespace
}  // namespace rq::cli
