/* The U-paren notation, row by row. */
#include "tests/codecs/rows.h"

namespace rq::test {
namespace {

using namespace std::string_view_literals;
constexpr auto get = &RQOperations::getUParen;
constexpr auto getP = &RQOperations::getUParenP;
constexpr auto put = &RQOperations::putUParen;
constexpr MockHost::Services cachedCharset{true, true, false}, lookedUpCharset{true, false, true},
    caseServiceOnly{true, false, false};

const CodecRow rows[] = {
    {"GetNothing", get, Where::everywhere, U"", U""},
    {"GetIntoNothing", get, Where::everywhere, U"<U0041>", U"", 0},
    {"GetPlainText", get, Where::everywhere, U"plain text", U"plain text"},
    {"GetFourDigits", get, Where::everywhere, U"<U0041><u0041>", U"AA"},
    {"GetLowerCaseDigits", get, Where::latin, U"<U00e9><U00E9>", U"\u00E9\u00E9"},
    {"GetEightDigits", get, Where::unicode, U"<u0001F600>", U"\U0001F600"},
    {"GetFiveDigits", get, Where::unicode, U"<u1F600>", U"\U0001F600"},
    {"GetTooFewDigitsIsNul", get, Where::everywhere, U"<U41><U041>", U"\0\0"sv},
    {"GetNoDigitsIsNul", get, Where::everywhere, U"<U>", U"\0"sv},
    {"GetLettersAreNul", get, Where::everywhere, U"<Uxyz>", U"\0"sv},
    {"GetTrailingLettersAreSwallowed", get, Where::everywhere, U"<U0041zz>", U"A"},
    {"GetNineDigitsReadsEight", get, Where::everywhere, U"<U000000041>", U"\x04"},
    {"GetLongFieldIsSwallowed", get, Where::everywhere, U"<U0041 and a lot of other text>!", U"A!"},
    {"GetNotClosed", get, Where::everywhere, U"<U0041 and more", U"<U0041 and more"},
    {"GetOtherLetter", get, Where::everywhere, U"<V0041><br><0041>", U"<V0041><br><0041>"},
    {"GetLessThanLast", get, Where::everywhere, U"a<", U"a<"},
    {"GetLessThanAlone", get, Where::everywhere, U"<", U"<"},
    {"GetLessThanULast", get, Where::everywhere, U"a<U", U"a<U"},
    {"GetNotationInNotation", get, Where::everywhere, U"<U<U0041>", U"\0"sv},
    {"GetTwoLessThan", get, Where::everywhere, U"<<U0041>", U"<A"},
    {"GetSurrogateIsKept", get, Where::everywhere, U"<UD83D><UDE00>", U"<UD83D><UDE00>"},
    {"GetSurrogateInALaxSession", get, Where::lax, U"<UD83D><UDE00>", U"\xD83D\xDE00"},
    {"GetWhatTheSessionCannotHoldIsKept", get, Where::cyrillic, U"a<U00E9><U0410>", U"a<U00E9>\u0410"},
    {"GetLongKeptTextIsCopiedWhole", get, Where::everywhere,
     U"<UD83D and sixty units of text, longer than any scratch buffer >",
     U"<UD83D and sixty units of text, longer than any scratch buffer >"},
    {"GetOutOfRangeIsKept", get, Where::everywhere, U"<U00110000><UFFFFFFFF>", U"<U00110000><UFFFFFFFF>"},
    {"GetKeptTextThatDoesNotFit", get, Where::everywhere, U"ab<UDE00>", U"", 8, doesNotFit, false},
    {"GetKeptTextThatJustFits", get, Where::everywhere, U"ab<UDE00>", U"ab<UDE00>", 9},
    {"GetFullOutputIsNoError", get, Where::everywhere, U"abc<U0041>", U"abc", 3},
    {"GetThroughCachedCharset", get, Where::narrow, U"<u004a>", U"J", ample, 0, true, cachedCharset},
    {"GetThroughLookedUpCharset", get, Where::narrow, U"<u004a>", U"J", ample, 0, true, lookedUpCharset},
    {"GetWithoutCharset", get, Where::narrow, U"<u004a>", U"J", ample, 0, true, caseServiceOnly},
    {"GetWideDigitsThroughTheCaseService", get, Where::wide, U"<U00\uFF14\uFF41>", U"\x4A", ample, 0, true,
     caseServiceOnly},
    {"GetWideDigitsWithoutCaseService", get, Where::wide, U"<U00\uFF14\uFF41>", U"\0"sv},

    {"GetPNothing", getP, Where::everywhere, U"", U""},
    {"GetPKeepsBeyondAscii", getP, Where::everywhere, U"<U00E9><U0041><U0080>", U"<U00E9>A<U0080>"},
    {"GetPDecodesControlsAndDelete", getP, Where::everywhere, U"<U0009><U007F><u0000007f>", U"\t\x7F\x7F"},
    {"GetPTooFewDigitsIsNul", getP, Where::everywhere, U"<UE9><U>", U"\0\0"sv},
    {"GetPKeptTextThatDoesNotFit", getP, Where::everywhere, U"a<U00E9>", U"", 7, doesNotFit, false},
    {"GetPKeepsLongFields", getP, Where::everywhere, U"<U00E9zzzzzzzzzzz>", U"<U00E9zzzzzzzzzzz>"},

    {"PutNothing", put, Where::everywhere, U"", U""},
    {"PutIntoNothing", put, Where::everywhere, U"abc", U"", 0},
    {"PutA", put, Where::everywhere, U"A", U"<u0041>"},
    {"PutLatin", put, Where::latin, U"\u00E9", U"<u00E9>"},
    {"PutSupplementary", put, Where::unicode, U"\U0001F600", U"<u0001F600>"},
    {"PutAnyValue", put, Where::lax, U"\xD83D\xFFFFFFFF", U"<uD83D><uFFFFFFFF>"},
    {"PutCapacity1", put, Where::everywhere, U"A", U"", 1, tooSmall},
    {"PutCapacity6", put, Where::everywhere, U"A", U"", 6, tooSmall},
    {"PutCapacity7", put, Where::everywhere, U"AB", U"<u0041>", 7},
    {"PutCapacity8", put, Where::everywhere, U"AB", U"<u0041>", 8, tooSmall},
    {"PutCapacity13", put, Where::everywhere, U"AB", U"<u0041>", 13, tooSmall},
    {"PutCapacity14", put, Where::everywhere, U"AB", U"<u0041><u0042>", 14},
    {"PutTenLeftIsTooSmallForEightDigits", put, Where::unicode, U"\U0001F600", U"", 10, tooSmall},
    {"PutElevenLeftFits", put, Where::unicode, U"\U0001F600", U"<u0001F600>", 11},
    {"PutNotationPasses", put, Where::narrow, U"<U0041>x", U"<U0041><u0078>"},
    {"PutNotationPassesWhateverItsDigits", put, Where::narrow, U"<uzzzz>x", U"<uzzzz><u0078>"},
    {"PutNotationAtTheEndIsEscaped", put, Where::everywhere, U"<U0041>",
     U"<u003C><u0055><u0030><u0030><u0034><u0031><u003E>"},
    {"PutLongNotationPasses", put, Where::narrow, U"<U0001F600>x", U"<U0001F600><u0078>"},
    {"PutLongNotationAtTheEndIsEscaped", put, Where::everywhere, U"<U0001F600>",
     U"<u003C><u0055><u0030><u0030><u0030><u0031><u0046><u0036><u0030><u0030><u003E>"},
    {"PutSevenIsTriedBeforeEleven", put, Where::narrow, U"<U0041>zzz>x",
     U"<U0041><u007A><u007A><u007A><u003E><u0078>"},
    {"PutSevenNotSevenBytesDoesNotTryEleven", put, Where::unicode, U"<U\u00E9\u00E9\u00E9\u00E9>zzz>x", U"<u003C>", 8,
     tooSmall},
    {"PutLongNotationMayWriteFourPastTheCapacity", put, Where::narrow, U"<U0001F600>x", U"<U0001F600>", 7},
    {"PutLongNotationPassesWithEight", put, Where::narrow, U"<U0001F600>x", U"<U0001F600>", 8},
    {"PutWideNotationIsEscaped", put, Where::wide, U"<U0041>x",
     U"<u003C><u0055><u0030><u0030><u0034><u0031><u003E><u0078>"},
    {"PutWideNegativeUnitsCountAsAscii", put, Where::wideLax,
     U"\x80000041"
     U"A",
     U"<u80000041><u0041>"},
};

class UParen : public ::testing::TestWithParam<CodecRow> {};
TEST_P(UParen, Row) {
  check(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, UParen, ::testing::ValuesIn(rows), nameOfRow);

}  // namespace
}  // namespace rq::test
