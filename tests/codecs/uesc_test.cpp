/* Unicode escapes, row by row. */
#include "tests/codecs/rows.h"

namespace rq::test {
namespace {

using namespace std::string_view_literals;
constexpr auto get = &RQOperations::getUEsc;
constexpr auto put = &RQOperations::putUEsc;
constexpr MockHost::Services cachedCharset{true, true, false}, lookedUpCharset{true, false, true},
    caseServiceOnly{true, false, false};

const CodecRow rows[] = {
    {"GetNothing", get, Where::everywhere, U"", U""},
    {"GetIntoNothing", get, Where::everywhere, UR"(\u0041)", U"", 0},
    {"GetPlainText", get, Where::everywhere, U"plain text", U"plain text"},
    {"GetFourDigits", get, Where::everywhere, UR"(\u0041\U0041)", U"AA"},
    {"GetLowerCaseDigits", get, Where::latin, UR"(\u00e9\u00E9)", U"\u00E9\u00E9"},
    {"GetEightDigits", get, Where::unicode, UR"(\U0001F600x)", U"\U0001F600x"},
    {"GetEightDigitsPlane16", get, Where::unicode, UR"(\U0010FFFF)", U"\U0010FFFF"},
    {"GetEightDigitsPlane2", get, Where::unicode, UR"(\u00020000)", U"\U00020000"},
    {"GetEightDigitsPlane14", get, Where::unicode, UR"(\u000E0001)", U"\U000E0001"},
    {"GetEightDigitsPlane3IsFour", get, Where::everywhere, UR"(\u00030000)",
     U"\x03"
     U"0000"},
    {"GetEightDigitsPlane13IsFour", get, Where::everywhere, UR"(\u000D0000)",
     U"\x0D"
     U"0000"},
    {"GetEightDigitsPlane17IsFour", get, Where::everywhere, UR"(\u00110000)",
     U"\x11"
     U"0000"},
    {"GetEightDigitsBasicPlane", get, Where::everywhere, UR"(\u00000041)", U"A"},
    {"GetEightDigitsAllOnesIsFour", get, Where::unicode, UR"(\uFFFDFFFF)",
     U"\uFFFD"
     U"FFFF"},
    {"GetNineDigitsTakesEight", get, Where::everywhere, UR"(\u000000410)", U"A0"},
    {"GetSixDigitsIsFour", get, Where::everywhere, UR"(\u004100)", U"A00"},
    {"GetFiveDigitsIsFour", get, Where::everywhere, UR"(\u00410)", U"A0"},
    {"GetSevenDigitsIsFour", get, Where::everywhere, UR"(\u0041000)", U"A000"},
    {"GetFourZeros", get, Where::everywhere, UR"(\u0000x)", U"\0x"sv},
    {"GetFiveZerosAreOneNul", get, Where::everywhere, UR"(\u00000)", U"\0"sv},
    {"GetSixZerosAreOneNul", get, Where::everywhere, UR"(\u000000)", U"\0"sv},
    {"GetEightZerosAreOneNul", get, Where::everywhere, UR"(\u00000000)", U"\0"sv},
    {"GetNineZeros", get, Where::everywhere, UR"(\u000000000)",
     U"\0"
     U"0"sv},
    {"GetFourZerosAndOne", get, Where::everywhere, UR"(\u00001)",
     U"\0"
     U"1"sv},
    {"GetPair", get, Where::unicode, UR"(\uD83D\uDE00)", U"\U0001F600"},
    {"GetPairsToTheirLastBits", get, Where::unicode, UR"(\uD801\uDC01\uDBFF\uDFFF)", U"\U00010401\U0010FFFF"},
    {"GetPairMixedCase", get, Where::unicode, UR"(\Ud83d\ude00!)", U"\U0001F600!"},
    {"GetPairIsFourDigitsOnly", get, Where::everywhere, UR"(\u0000D83D\uDE00)", UR"(\u0000D83D\uDE00)"},
    {"GetPairSecondReadsFourDigits", get, Where::unicode, UR"(\uD83D\uDE0041)",
     U"\U0001F600"
     U"41"},
    {"GetLoneHighSurrogateIsKept", get, Where::everywhere, UR"(\uD83Dx)", UR"(\uD83Dx)"},
    {"GetLoneLowSurrogateIsKept", get, Where::everywhere, UR"(\uDE00)", UR"(\uDE00)"},
    {"GetLoneHighSurrogateInALaxSession", get, Where::lax, UR"(\uD83Dx)", U"\xD83Dx"},
    {"GetHighSurrogateThenText", get, Where::lax, UR"(\uD83D text)", U"\xD83D text"},
    {"GetHighSurrogateThenAnotherBackslash", get, Where::lax, UR"(\uD83D\new)", U"\xD83D\\new"},
    {"GetHighSurrogateThenCharacter", get, Where::lax, UR"(\uD83D\u0041)",
     U"\xD83D"
     U"A"},
    {"GetHighSurrogateThenShortEscape", get, Where::lax, UR"(\uD83D\uDE0)", U"\xD83D\\uDE0"},
    {"GetHighSurrogateThenMarkerOnly", get, Where::lax, UR"(\uD83D\u)", U"\xD83D\\u"},
    {"GetHighSurrogateThenDoubledMarker", get, Where::lax, UR"(\uD83D\uuDE00)", U"\xD83D\\uDE00"},
    {"GetDoubledMarker", get, Where::everywhere, UR"(\uu0041)", UR"(\u0041)"},
    {"GetDoubledMarkerMixedCase", get, Where::everywhere, UR"(\uU0041\Uu0041\UU)", UR"(\u0041\U0041\U)"},
    {"GetTripledMarker", get, Where::everywhere, UR"(\uuu0041)", UR"(\uu0041)"},
    {"GetDoubledMarkerMayWriteOnePastTheCapacity", get, Where::everywhere, UR"(\uu0041)", UR"(\u)", 1},
    {"GetDoubledMarkerAfterText", get, Where::everywhere, UR"(a\uu0041)", UR"(a\u)", 2},
    {"GetShortRunIsText", get, Where::everywhere, UR"(\u12)", UR"(\u12)"},
    {"GetThreeDigitsIsText", get, Where::everywhere, UR"(\u041x\u0041)", UR"(\u041xA)"},
    {"GetMarkerAloneIsText", get, Where::everywhere, UR"(\u)", UR"(\u)"},
    {"GetMarkerAndLetterIsText", get, Where::everywhere, UR"(\uz)", UR"(\uz)"},
    {"GetBackslashLast", get, Where::everywhere, U"a\\", U"a\\"},
    {"GetTwoBackslashes", get, Where::everywhere, UR"(\\u0041)", UR"(\A)"},
    {"GetOtherEscapesAreText", get, Where::everywhere, UR"(\n\x41)", UR"(\n\x41)"},
    {"GetWhatTheSessionCannotHoldIsKept", get, Where::cyrillic, UR"(a\u00E9b\u0410)", U"a\\u00E9b\u0410"},
    {"GetDoesNotFit", get, Where::everywhere, UR"(ab\uDE00)", U"ab", 7, doesNotFit},
    {"GetShortRunThatDoesNotFit", get, Where::everywhere, UR"(ab\u12)", U"ab", 5, doesNotFit},
    {"GetJustFits", get, Where::everywhere, UR"(ab\uDE00)", UR"(ab\uDE00)", 8},
    {"GetFullOutputIsNoError", get, Where::everywhere, UR"(abc\u0041)", U"abc", 3},
    {"GetThroughCachedCharset", get, Where::narrow, UR"(\u004a)", U"J", ample, 0, true, cachedCharset},
    {"GetThroughLookedUpCharset", get, Where::narrow, UR"(\u004a)", U"J", ample, 0, true, lookedUpCharset},
    {"GetWithoutCharset", get, Where::narrow, UR"(\u004a)", U"J", ample, 0, true, caseServiceOnly},
    {"GetWideDigitsThroughTheCaseService", get, Where::wide, U"\\u00\uFF14\uFF41", U"\x4A", ample, 0, true,
     caseServiceOnly},
    {"GetWideDigitsWithoutCaseService", get, Where::wide, U"\\u00\uFF14\uFF41", U"\\u00\uFF14\uFF41"},

    {"PutNothing", put, Where::everywhere, U"", U""},
    {"PutIntoNothing", put, Where::everywhere, U"abc", U"", 0},
    {"PutAscii", put, Where::everywhere, U"abc~", U"abc~"},
    {"PutDelete", put, Where::everywhere, U"\x7F", UR"(\u007F)"},
    {"PutLatin", put, Where::latin, U"caf\u00E9", UR"(caf\u00E9)"},
    {"PutBmp", put, Where::unicode, U"\u20AC\uFFFF", UR"(\u20AC\uFFFF)"},
    {"PutSupplementary", put, Where::unicode, U"\U0001F600", UR"(\u0001F600)"},
    {"PutAnyValue", put, Where::lax, U"\xD83D\xFFFFFFFF", UR"(\uD83D\uFFFFFFFF)"},
    {"PutEscapeIsDoubled", put, Where::everywhere, UR"(\u0041)", UR"(\uu0041)"},
    {"PutCapitalEscapeIsDoubled", put, Where::everywhere, UR"(\U0041)", UR"(\UU0041)"},
    {"PutShortTailIsUnchanged", put, Where::everywhere, UR"(ab\u041)", UR"(ab\u041)"},
    {"PutMarkerBeforeAnyFourIsDoubled", put, Where::everywhere, UR"(\uzzzz)", UR"(\uuzzzz)"},
    {"PutBackslashLast", put, Where::everywhere, U"a\\", U"a\\"},
    {"PutBackslashOther", put, Where::everywhere, UR"(\n12345)", UR"(\n12345)"},
    {"PutTwoBackslashes", put, Where::everywhere, UR"(\\u0041)", UR"(\\uu0041)"},
    {"PutDoubledMarkerMayWriteTwoPastTheCapacity", put, Where::everywhere, UR"(\u0041)", UR"(\uu)", 1},
    {"PutDoubledMarkerWithTwoLeft", put, Where::everywhere, UR"(a\u0041)", UR"(a\uu)", 3},
    {"PutFiveLeftIsTooSmall", put, Where::latin, U"a\u00E9", U"a", 6, tooSmall},
    {"PutSixLeftFits", put, Where::latin, U"a\u00E9", UR"(a\u00E9)", 7},
    {"PutNineLeftIsTooSmallForEightDigits", put, Where::unicode, U"a\U0001F600", U"a", 10, tooSmall},
    {"PutTenLeftFits", put, Where::unicode, U"a\U0001F600", UR"(a\u0001F600)", 11},
    {"PutAsciiFillsTheLastUnits", put, Where::everywhere, U"abcdef", U"abc", 3},
    {"PutFullBeforeEscapeIsNoError", put, Where::latin, U"abc\u00E9", U"abc", 3},
    {"PutAsciiAfterNonAscii", put, Where::latin, U"\u00E9 and text", UR"(\u00E9 and text)"},
    {"PutWideAboveAsciiUnsigned", put, Where::wideLax, U"\x80000041", UR"(\u80000041)"},
};

class UEsc : public ::testing::TestWithParam<CodecRow> {};
TEST_P(UEsc, Row) {
  check(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, UEsc, ::testing::ValuesIn(rows), nameOfRow);

}  // namespace
}  // namespace rq::test
