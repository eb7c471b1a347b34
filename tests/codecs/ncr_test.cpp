/* Numeric character references, row by row. */
#include "tests/codecs/rows.h"

namespace rq::test {
namespace {

using namespace std::string_view_literals;
constexpr auto get = &RQOperations::getNCR;
constexpr auto put = &RQOperations::putNCR;
constexpr MockHost::Services cachedCharset{true, true, false}, lookedUpCharset{true, false, true},
    caseServiceOnly{true, false, false};

const CodecRow rows[] = {
    {"GetNothing", get, Where::everywhere, U"", U""},
    {"GetNothingIntoNothing", get, Where::everywhere, U"", U"", 0},
    {"GetIntoNothing", get, Where::everywhere, U"&#65;", U"", 0},
    {"GetPlainText", get, Where::everywhere, U"plain text", U"plain text"},
    {"GetDecimal", get, Where::everywhere, U"&#65;", U"A"},
    {"GetHexadecimal", get, Where::everywhere, U"&#x41;", U"A"},
    {"GetLowerCaseHexadecimal", get, Where::everywhere, U"&#x4a;&#x4A;", U"JJ"},
    {"GetCapitalXIsNoHexadecimal", get, Where::everywhere, U"&#X41;", U"\0"sv},
    {"GetOneDigitIsNul", get, Where::everywhere, U"&#5;&#7;", U"\0\0"sv},
    {"GetOneHexadecimalDigitIsNul", get, Where::everywhere, U"&#x5;", U"\0"sv},
    {"GetNeighboursOfHexadecimalDigitsAreNone", get, Where::everywhere, U"&#x04/;&#x04:;&#x04@;&#x04G;&#x04`;&#x04g;",
     U"\4\4\4\4\4\4"},
    {"GetNeighboursOfDecimalDigitsAreNone", get, Where::everywhere,
     U"&#65/;&#65:;&#0065/;&#0065:;&#006:;&#:065;&#6:65;&#65:5;&#065:;", U"AAAA\6\0\0AA"sv},
    {"GetUnitsBeyondBytesAreNoDigits", get, Where::wide, U"&#x04\u0100;&#x04\u0134;&#65\u0134;", U"\4\4A"},
    {"GetLeadingZeros", get, Where::everywhere, U"&#0065;", U"A"},
    {"GetNoDigitsIsNul", get, Where::everywhere, U"&#;", U"\0"sv},
    {"GetNoHexadecimalDigitsIsNul", get, Where::everywhere, U"&#x;", U"\0"sv},
    {"GetNoHexadecimalDigitsAfterOthersIsNul", get, Where::everywhere, U"&#x0041;&#x;", U"A\0"sv},
    {"GetWithoutSemicolon", get, Where::everywhere, U"&#65 and more", U"&#65 and more"},
    {"GetFarSemicolonSwallowsTheStretch", get, Where::everywhere, U"&#65 and more; rest", U"A rest"},
    {"GetUnitFarBelowTheDigitsIsNone", get, Where::wideLax,
     U"&#\xFFFFFFD1"
     U"123;",
     U"\0"sv},
    {"GetSecondUnitFarBelowTheDigitsIsNone", get, Where::wideLax,
     U"&#1\xFFFFFFD1"
     U"23;",
     U"\0"sv},
    {"GetThirdUnitFarBelowTheDigitsIsNone", get, Where::wideLax,
     U"&#65\xFFFFFFD1"
     U"3;",
     U"A"},
    {"GetFourthUnitFarBelowTheDigitsIsNone", get, Where::wideLax,
     U"&#065\xFFFFFFD1"
     U";",
     U"A"},
    {"GetNineDigitsReadsEight", get, Where::unicode, U"&#000000650;x", U"Ax"},
    {"GetNineDigitsOutOfRangeIsKept", get, Where::everywhere, U"&#123456789;", U"&#123456789;"},
    {"GetNineDigitsTakenByALaxSession", get, Where::lax, U"&#123456789;", U"\x00BC614E"},
    {"GetNineHexadecimalDigitsReadsEight", get, Where::everywhere, U"&#x000000419;", U"A"},
    {"GetZerosBeyondTheEighthDigit", get, Where::everywhere, U"&#00000000065;", U"\0"sv},
    {"GetSupplementary", get, Where::unicode, U"&#128512;&#x1F600;", U"\U0001F600\U0001F600"},
    {"GetLatin", get, Where::latin, U"caf&#233;&#xe9;&#xE9;", U"caf\u00E9\u00E9\u00E9"},
    {"GetTheLastByteIsNoDigit", get, Where::latin, U"&#x0041\u00FF;&#x41\u00FF;", U"AA"},
    {"GetWhatTheSessionCannotHoldIsKept", get, Where::cyrillic, U"a&#233;b&#xE9 ;c&#1040;",
     U"a&#233;b&#xE9 ;c\u0410"},
    {"GetSubstitutedIsKept", get, Where::narrow, U"&#8364;", U"&#8364;"},
    {"GetPairHexadecimal", get, Where::unicode, U"&#xD83D;&#xDE00;", U"\U0001F600"},
    {"GetPairsToTheirLastBits", get, Where::unicode, U"&#xD801;&#xDC01;&#xDBFF;&#xDFFF;", U"\U00010401\U0010FFFF"},
    {"GetPairDecimal", get, Where::unicode, U"&#55357;&#56832;", U"\U0001F600"},
    {"GetPairMixed", get, Where::unicode, U"&#xd83d;&#56832;!", U"\U0001F600!"},
    {"GetPairWithSwallowedText", get, Where::unicode, U"&#xD83D zz;&#xDE00 yy;!", U"\U0001F600!"},
    {"GetPairOnlyBeforeReference", get, Where::everywhere, U"&#xD83D;A", U"&#xD83D;A"},
    {"GetLoneHighSurrogateIsKept", get, Where::everywhere, U"&#xD83D;", U"&#xD83D;"},
    {"GetLoneLowSurrogateIsKept", get, Where::everywhere, U"&#xDE00;", U"&#xDE00;"},
    {"GetLoneHighSurrogateInALaxSession", get, Where::lax, U"&#xD83D;A",
     U"\xD83D"
     U"A"},
    {"GetHighSurrogateThenCharacter", get, Where::lax, U"&#xD83D;&#x0041;",
     U"\xD83D"
     U"A"},
    {"GetTwoHighSurrogatesThenLow", get, Where::lax, U"&#xD83D;&#xD83D;&#xDE00;", U"\xD83D\x1F600"},
    {"GetLowBitsDecideTheHighSurrogate", get, Where::lax, U"&#x1D83D;&#x2DE00;", U"\x1F600"},
    {"GetHighSurrogateIsCutBeforeAnotherReference", get, Where::lax, U"&#x1D83D;&#x41;..",
     U"\xD83D"
     U"A.."},
    {"GetHighSurrogateStaysWholeWithoutSecondSemicolon", get, Where::lax, U"&#x1D83D;&#xDE00", U"\x1D83D&#xDE00"},
    {"GetHighSurrogateStaysWholeWithFourUnitsLeft", get, Where::lax, U"&#x1D83D;&#4;", U"\x1D83D\0"sv},
    {"GetHighSurrogateStaysWholeBeforeText", get, Where::lax, U"&#x1D83D;and more",
     U"\x1D83D"
     U"and more"},
    {"GetHighSurrogateStaysWholeBeforeAnAmpersand", get, Where::lax, U"&#x1D83D;&more", U"\x1D83D&more"},
    {"GetHighSurrogateCutWithFiveUnitsLeft", get, Where::lax, U"&#x1D83D;&#4;.", U"\xD83D\0."sv},
    {"GetCharacterThatDoesNotFit", get, Where::narrow, U"ab&#8364;", U"ab", 8, tooSmall},
    {"GetKeptTextThatDoesNotFit", get, Where::everywhere, U"ab&#xDE00;", U"ab", 9, tooSmall},
    {"GetKeptTextThatJustFits", get, Where::everywhere, U"ab&#xDE00;", U"ab&#xDE00;", 10},
    {"GetFullOutputIsNoError", get, Where::everywhere, U"abcdef", U"abc", 3},
    {"GetFullBeforeReferenceIsNoError", get, Where::everywhere, U"abc&#65;", U"abc", 3},
    {"GetAmpersandLast", get, Where::everywhere, U"a&", U"a&"},
    {"GetAmpersandAlone", get, Where::everywhere, U"&", U"&"},
    {"GetAmpersandNumberSignLast", get, Where::everywhere, U"&#", U"&#"},
    {"GetAmpersandAmpersandReference", get, Where::everywhere, U"&&#65;", U"&A"},
    {"GetAmpersandText", get, Where::everywhere, U"&amp;&#65;", U"&amp;A"},
    {"GetReferenceInReference", get, Where::everywhere, U"&#6&#65;", U"\0"sv},
    {"GetZerosInTheMiddle", get, Where::everywhere, U"a\0b&#65;\0"sv, U"a\0bA\0"sv},
    {"GetDecimalWrapsNowhere", get, Where::lax, U"&#99999999;", U"\x05F5E0FF"},
    {"GetAllBits", get, Where::lax, U"&#xFFFFFFFF;", U"\xFFFFFFFF"},
    {"GetHexadecimalThroughCachedCharset", get, Where::everywhere, U"&#x4a;", U"J", ample, 0, true, cachedCharset},
    {"GetFewHexadecimalDigitsThroughCachedCharset", get, Where::everywhere, U"&#x5;&#x;&#x4a;", U"\0\0J"sv, ample, 0,
     true, cachedCharset},
    {"GetHexadecimalThroughLookedUpCharset", get, Where::everywhere, U"&#x4a;", U"J", ample, 0, true,
     lookedUpCharset},
    {"GetHexadecimalWithoutCharset", get, Where::everywhere, U"&#x4a;", U"J", ample, 0, true, caseServiceOnly},
    {"GetWideDigitsThroughTheCaseService", get, Where::wide, U"&#x\uFF14\uFF41;", U"\x4A", ample, 0, true,
     caseServiceOnly},
    {"GetU0080AmongDigitsAsksTheCaseService", get, Where::wide, U"&#x41\u0080;", U"A", ample, 0, true,
     caseServiceOnly},
    {"GetWideDigitsWithoutCaseService", get, Where::wide, U"&#x\uFF14\uFF41;", U"\0"sv},

    {"PutNothing", put, Where::everywhere, U"", U""},
    {"PutIntoNothing", put, Where::everywhere, U"abc", U"", 0},
    {"PutAscii", put, Where::everywhere, U"abc\x7F", U"abc\x7F"},
    {"PutLatin", put, Where::latin, U"caf\u00E9", U"caf&#233;"},
    {"PutU0080GoesThroughTheTranscoder", put, Where::latin, U"\u0080\u0081", U"\u0080&#129;"},
    {"PutBmp", put, Where::unicode, U"\u20AC\uFFFF", U"&#8364;&#65535;"},
    {"PutNumbersOfEachLength", put, Where::unicode, U"\u0081\u03E7\u03E8\u270F\u2710\U0001869F\U000186A0",
     U"&#129;&#999;&#1000;&#9999;&#10000;&#99999;&#100000;"},
    {"PutWordsOfEachLength", put, Where::unicode, U" \u0081 \u03E7 \u03E8 \u270F \u2710 \U0001869F \U000186A0 .",
     U" &#129; &#999; &#1000; &#9999; &#10000; &#99999; &#100000; ."},
    {"PutSupplementary", put, Where::unicode, U"\U0001F600", U"&#128512;"},
    {"PutBeforeOneMillion", put, Where::unicode, U"\U000F423F", U"&#999999;"},
    {"PutOneMillionHasAZeroByte", put, Where::unicode, U"\U000F4240",
     U"&#\0"
     U"00000;"sv},
    {"PutLastCodePointHasAZeroByte", put, Where::unicode, U"\U0010FFFF",
     U"&#\0"
     U"14111;"sv},
    {"PutAnyValueHasAZeroByte", put, Where::lax, U"\xFFFFFFFF",
     U"&#\0"
     U"67295;"sv},
    {"PutDoesNotFitIsCut", put, Where::latin, U"a\u00E9z", U"a", 6},
    {"PutJustFits", put, Where::latin, U"a\u00E9", U"a&#233;", 7},
    {"PutWordsToTheLastUnit", put, Where::unicode, U" \u65E5 \u65E5x", U" &#26085; &#26085;", 18},
    {"PutSixPlacesBehindABlankDoNotFit", put, Where::unicode, U"x \u0081 \U000186A0x", U"x &#129; ", 17},
    {"PutFull", put, Where::everywhere, U"abc", U"ab", 2},
    {"PutUParenAtTheBeginning", put, Where::everywhere, U"<U0041>", U"A"},
    {"PutUParenAtTheBeginningLowerCase", put, Where::everywhere, U"<u00e9>", U"&#233;"},
    {"PutUParenLater", put, Where::everywhere, U"__0041 <U00E9>", U"__0041 A"},
    {"PutUParenTwice", put, Where::everywhere, U"<U0041><U0042>", U"AA"},
    {"PutUParenWithoutDigits", put, Where::everywhere, U"<Uzzzz>",
     U"&#\0"
     U"62927;"sv},
    {"PutUParenWithoutDigitsLater", put, Where::everywhere, U"zzzzzz<U0041>",
     U"zzzzzz&#\0"
     U"62927;"sv},
    {"PutUParenWithOneMiss", put, Where::everywhere, U"<U004z>", U"?"},
    {"PutUParenDigitsBeyondTheInput", put, Where::expanding, U"\u00FE",
     U"&#\0"
     U"62927;"sv},
    {"PutUParenSomeDigitsBeyondTheInput", put, Where::expanding, U"\u00FEx41", U"&#16623;x41"},
    {"PutUParenWithANeighbourOfTheDigits", put, Where::everywhere, U"<U004:>", U"?"},
    {"PutUParenShort", put, Where::everywhere, U"<U0041", U"<U0041"},
    {"PutUParenNotClosed", put, Where::everywhere, U"<U0041x", U"<U0041x"},
    {"PutUParenEightDigitsIsText", put, Where::everywhere, U"<U00000041>", U"<U00000041>"},
    {"PutUParenOtherLetter", put, Where::everywhere, U"<V0041>", U"<V0041>"},
    {"PutUParenDigitsThroughCharset", put, Where::served, U"<u004$>", U"M", ample, 0, true, cachedCharset},
    {"PutUParenValueBelowU0080", put, Where::everywhere, U"<U0009>", U"\t"},
    {"PutUParenEndsTheText", put, Where::everywhere, U"<U0041>.", U"A."},
    {"PutWideAboveAsciiUnsigned", put, Where::wideLax, U"\x80000041",
     U"&#\0"
     U"83713;"sv},
};

class Ncr : public ::testing::TestWithParam<CodecRow> {};
TEST_P(Ncr, Row) {
  check(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, Ncr, ::testing::ValuesIn(rows), nameOfRow);

TEST(NcrOfLongText, StandsAsItIs) {
  const std::u32string text = times(U"as it stands, ", 120);
  for (const std::size_t length : {500U, 520U, 521U, 1032U, 1544U, 1680U}) {
    const std::u32string input = text.substr(0, length) + U"\u00E9" + text,
                         output = text.substr(0, length) + U"&#233;" + text;
    check({"PutLongText", put, Where::latin, input, output});
  }
}

}  // namespace
}  // namespace rq::test
