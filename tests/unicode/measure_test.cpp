/* Character count and display width. */
#include <gtest/gtest.h>

#include "tests/model/guarded_buffer.h"
#include "tests/model/session.h"

namespace rq::test {
namespace {

using u64 = std::uint64_t;
using i64 = std::int64_t;

struct Row {
  const char* name;
  std::u32string_view text;
  i64 length;
  i64 width;
};
void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

constexpr Row rows[] = {
    {"Nothing", U"", 0, 0},
    {"BlanksOnly", U"    ", 0, 0},
    {"TrailingBlanks", U"ab  ", 2, 2},
    {"LeadingAndInnerBlanksCount", U"  a b  ", 5, 5},
    {"IdeographicSpaceIsNotTrimmed", U"\u3000", 1, 2},
    {"BlankBeforeIdeographicSpaceStays", U"a \u3000 ", 3, 4},
    {"TabIsNotTrimmed", U"a\t", 2, 2},
    {"NoBreakSpaceIsNotTrimmed", U"a\u00A0", 2, 2},
    {"TwoIdeographs", U"\u65E5\u672C", 2, 4},
    {"HangulSyllable", U"\uAC00", 1, 2},
    {"HangulJamo", U"\u1100", 1, 1},
    {"CombiningMark", U"e\u0301", 2, 2},
    {"Control", U"\u0007", 1, 1},
    {"Emoji", U"\U0001F600", 1, 1},
    {"MultiByte", U"caf\u00E9", 4, 4},
};

i64 lengthOf(Session& session, Flavour flavour, const std::vector<std::uint8_t>& units) {
  return slotsOf(session.object, flavour)
      .getUnicodeLength(session.object, units.data(), units.size() / unitBytes(flavour));
}
i64 widthOf(Session& session, Flavour flavour, const std::vector<std::uint8_t>& units) {
  return slotsOf(session.object, flavour)
      .getUnicodeWidth(session.object, units.data(), units.size() / unitBytes(flavour));
}
std::uint32_t sessionFor(Flavour flavour) {
  return flavour == Flavour::wide ? utf32 : utf8;
}

class Measure : public ::testing::TestWithParam<Row> {};

TEST_P(Measure, CountsCharactersAndColumns) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    const auto units = unitsOf(flavour, session.encoding, GetParam().text);
    EXPECT_EQ(lengthOf(session, flavour, units), GetParam().length) << nameOf(flavour);
    EXPECT_EQ(widthOf(session, flavour, units), GetParam().width) << nameOf(flavour);
  }
}
std::string nameOfRow(const ::testing::TestParamInfo<Row>& row) {
  return row.param.name;
}
INSTANTIATE_TEST_SUITE_P(Rows, Measure, ::testing::ValuesIn(rows), nameOfRow);

struct Boundary {
  std::uint32_t first, last;
};
constexpr Boundary wideRanges[] = {{0x3000, 0x30FF},   {0x3400, 0x9FFF},   {0xAC00, 0xD7AF},
                                   {0xF900, 0xFAFF},   {0xFF01, 0xFF5E},   {0xFFE0, 0xFFE6},
                                   {0x20000, 0x2A6DF}, {0x2A700, 0x2B81F}, {0x2F800, 0x2FA1F}};

// Every value that a lax session can carry near and far from a range, one character at a time.
TEST(Width, RangesBeginAndEndWhereTheyShould) {
  Session session(laxUnits);
  const auto columns = [&](std::uint32_t c) {
    const RQChar text[] = {c};
    return session.object->wide.getUnicodeWidth(session.object, text, 1);
  };
  for (const Boundary& range : wideRanges) {
    EXPECT_EQ(columns(range.first - 1), 1) << std::hex << range.first - 1;
    EXPECT_EQ(columns(range.first), 2) << std::hex << range.first;
    EXPECT_EQ(columns(range.last), 2) << std::hex << range.last;
    EXPECT_EQ(columns(range.last + 1), 1) << std::hex << range.last + 1;
    EXPECT_EQ(columns(range.first | 0x80000000), 1);
  }
  for (const std::uint32_t c :
       {0xD7FFU, 0xD800U, 0xDFFFU, 0x10FFFFU, 0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_EQ(columns(c), 1) << std::hex << c;
}

TEST(Width, OfAllCharactersTogetherIsTheSumOfEach) {
  Session session(laxUnits);
  std::vector<RQChar> text(0x30000);
  i64 expected = 0;
  for (std::uint32_t c = 0; c < text.size(); ++c) {
    text[c] = c;
    bool isWide = false;
    for (const Boundary& range : wideRanges) isWide |= c >= range.first && c <= range.last;
    expected += isWide ? 2 : 1;
  }
  for (const u64 skip : {0U, 1U, 2U, 3U, 5U, 7U})
    EXPECT_EQ(session.object->wide.getUnicodeWidth(session.object, text.data() + skip, text.size() - skip),
              expected - static_cast<i64>(skip));
}

TEST(Length, AnyNumberOfBlanksIsTrimmed) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    for (unsigned blanks = 0; blanks < 300; blanks += blanks < 40 ? 1 : 37)
      for (unsigned letters = 0; letters < 5; ++letters) {
        const std::u32string text = std::u32string(letters, U'\u65E5') + std::u32string(blanks, U' ');
        const auto units = unitsOf(flavour, session.encoding, text);
        EXPECT_EQ(lengthOf(session, flavour, units), letters);
        EXPECT_EQ(widthOf(session, flavour, units), 2 * letters);
      }
  }
}

TEST(Measures, NullOrEmptyInputAsksTheHostNothing) {
  for (Flavour flavour : allFlavours) {
    Session session(latin1);
    const RQOperations& slots = slotsOf(session.object, flavour);
    for (const RQMeasure measure : {slots.getUnicodeLength, slots.getUnicodeWidth}) {
      EXPECT_EQ(measure(session.object, nullptr, 0), 0);
      EXPECT_EQ(measure(session.object, nullptr, 5000), 0);
      EXPECT_EQ(measure(session.object, "x", 0), 0);
    }
    EXPECT_TRUE(session.host.calls.empty());
  }
}

TEST(Measures, UpTo256UnitsNeedNoPoolAndMoreDo) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    const RQOperations& slots = slotsOf(session.object, flavour);
    const std::u32string text(400, U'a');
    const auto units = unitsOf(flavour, session.encoding, text);
    for (const RQMeasure measure : {slots.getUnicodeLength, slots.getUnicodeWidth})
      for (const u64 count : {1U, 255U, 256U, 257U, 400U}) {
        session.host.forget();
        EXPECT_EQ(measure(session.object, units.data(), count), static_cast<i64>(count));
        const bool pooled = count > 256;
        EXPECT_EQ(session.host.count(Service::allocate), pooled ? 1U : 0U) << count;
        EXPECT_EQ(session.host.count(Service::release), pooled ? 1U : 0U) << count;
        EXPECT_EQ(session.host.count(Service::convert), 1U);
        const Call& convert = session.host.calls[pooled ? 1 : 0];
        EXPECT_EQ(convert.arguments[0], reinterpret_cast<const u64*>(session.object)[54]);
        EXPECT_EQ(convert.arguments[2], count * unitBytes(flavour));
        EXPECT_EQ(convert.arguments[4], pooled ? 4 * count : 1024U);
        EXPECT_EQ(convert.seen[0], convert.arguments[4]) << "the produced length starts at the capacity";
        EXPECT_EQ(convert.arguments[6], 0U);
        if (pooled) {
          EXPECT_EQ(session.host.calls[0].arguments[1], 4 * count);
          EXPECT_EQ(session.host.calls[0].arguments[2], 0U);
        }
      }
    EXPECT_EQ(session.host.liveBlocks, 1U) << "the object itself";
  }
}

TEST(Measures, ARefusedBufferIsMinusOne) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    const RQOperations& slots = slotsOf(session.object, flavour);
    const auto units = unitsOf(flavour, session.encoding, std::u32string(257, U'a'));
    session.host.schedule.refuse(Service::allocate, Failure::always);
    for (const RQMeasure measure : {slots.getUnicodeLength, slots.getUnicodeWidth}) {
      EXPECT_EQ(measure(session.object, units.data(), 257), -1);
      EXPECT_EQ(measure(session.object, units.data(), 256), 256);
      for (const u64 impossible : {u64{1} << 62, (u64{1} << 62) + 1, (u64{1} << 63) + 7, UINT64_MAX})
        EXPECT_EQ(measure(session.object, units.data(), impossible), -1) << "4 x length does not wrap";
    }
    EXPECT_EQ(session.host.count(Service::release), 0U);
  }
}

TEST(Measures, AFailedConversionCountsWhatWasProduced) {
  for (Flavour flavour : {Flavour::plain, Flavour::served}) {
    Session session(utf8);
    const std::vector<std::uint8_t> text = {'a', 'b', 0xFF, 'c'};
    EXPECT_EQ(lengthOf(session, flavour, text), 2);
    session.host.schedule.refuse(Service::convert, Failure::always);
    EXPECT_EQ(lengthOf(session, flavour, text), 0);
    EXPECT_EQ(widthOf(session, flavour, text), 0);
  }
}

TEST(Measures, AFalseProducedLengthNeverLeadsOutOfTheBuffer) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    for (const unsigned count : {3U, 300U}) {
      const auto units = unitsOf(flavour, session.encoding, std::u32string(count, U'a'));
      for (const Outcome outcome : {Outcome::lengthNotStored, Outcome::lengthZero, Outcome::lengthCapacity,
                                    Outcome::lengthCapacityPlusOne, Outcome::lengthOdd, Outcome::lengthNearMax}) {
        session.host.schedule.clear();
        session.host.schedule.add({Service::convert, Failure::always, outcome});
        const i64 room = count > 256 ? count : 256;
        EXPECT_LE(lengthOf(session, flavour, units), room);
        EXPECT_LE(widthOf(session, flavour, units), 2 * room);
        if (outcome == Outcome::lengthZero) {
          EXPECT_EQ(lengthOf(session, flavour, units), 0);
        }
        if (outcome == Outcome::lengthOdd) {
          EXPECT_EQ(lengthOf(session, flavour, units), count) << "whole characters only";
        }
      }
    }
    EXPECT_EQ(session.host.mistakes, 0U);
  }
}

// The buffer holds 256 characters. What a host reports but did not write is no wide character and no blank, whatever
// the stack held.
TEST(Measures, ClaimedCharactersThatNobodyWroteAreZero) {
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    session.host.schedule.add({Service::convert, Failure::always, Outcome::lengthCapacity});
    for (const unsigned count : {1U, 3U, 17U, 64U, 80U}) {
      const auto units = unitsOf(flavour, session.encoding, std::u32string(count, U'\u65E5'));
      if (units.size() / unitBytes(flavour) > 256) continue;
      EXPECT_EQ(lengthOf(session, flavour, units), 256);
      EXPECT_EQ(widthOf(session, flavour, units), 256 + i64{count});
    }
  }
}

TEST(Measures, InputIsNotReadBeyondItsLength) {
  GuardedBuffer buffer(4096);
  for (Flavour flavour : allFlavours) {
    Session session(sessionFor(flavour));
    const RQOperations& slots = slotsOf(session.object, flavour);
    for (unsigned count = 1; count < 40; ++count) {
      const auto units = unitsOf(flavour, session.encoding, std::u32string(count, U'a'));
      const std::uint8_t* at = buffer.place(units.data(), units.size());
      EXPECT_EQ(slots.getUnicodeWidth(session.object, at, count), count);
    }
  }
}

}  // namespace
}  // namespace rq::test
