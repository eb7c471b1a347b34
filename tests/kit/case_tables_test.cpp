// The case tables, character by character: the exported arrays, the four mappings, the classes.
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <vector>

#include "tests/model/kit.h"
#include "tests/model/kit_twin.h"

namespace rq::test {
namespace {

RQChar one(void (*map)(RQChar*, std::int64_t), RQChar c) {
  map(&c, 1);
  return c;
}

struct Row {
  RQChar c, lower, upper, smallest, largest;
};
constexpr Row tellingRows[] = {
    {0x0041, 0x0061, 0x0041, 0x0041, 0x0061}, {0x006B, 0x006B, 0x004B, 0x004B, 0x212A},
    {0x0073, 0x0073, 0x0053, 0x0053, 0x017F}, {0x00DF, 0x00DF, 0x00DF, 0x00DF, 0x00DF},
    {0x00B5, 0x00B5, 0x00B5, 0x00B5, 0x03BC}, {0x00E5, 0x00E5, 0x00C5, 0x00C5, 0x212B},
    {0x00FF, 0x00FF, 0x0178, 0x00FF, 0x0178}, {0x0130, 0x0130, 0x0130, 0x0049, 0x0131},
    {0x0131, 0x0131, 0x0131, 0x0049, 0x0131}, {0x017F, 0x017F, 0x0053, 0x0053, 0x017F},
    {0x01C5, 0x01C6, 0x01C4, 0x01C4, 0x01C6}, {0x03A3, 0x03C3, 0x03A3, 0x03A3, 0x03C3},
    {0x03C2, 0x03C2, 0x03C2, 0x03A3, 0x03C3}, {0x03B9, 0x03B9, 0x0399, 0x0345, 0x1FBE},
    {0x03B8, 0x03B8, 0x0398, 0x0398, 0x03F4}, {0x10A0, 0x10D0, 0x10A0, 0x10A0, 0x2D00},
    {0x1E9E, 0x1E9E, 0x1E9E, 0x00DF, 0x1E9E}, {0x1F80, 0x1F80, 0x1F88, 0x1F80, 0x1F88},
    {0x212A, 0x212A, 0x212A, 0x004B, 0x212A}, {0x2160, 0x2170, 0x2160, 0x2160, 0x2170},
    {0x24B6, 0x24D0, 0x24B6, 0x24B6, 0x24D0}, {0xFF21, 0xFF41, 0xFF21, 0xFF21, 0xFF41},
};

TEST(CaseMaps, TellingRows) {
  for (const Row& row : tellingRows) {
    EXPECT_EQ(one(rqzstlo, row.c), row.lower) << std::hex << row.c;
    EXPECT_EQ(one(rqzstup, row.c), row.upper) << std::hex << row.c;
    EXPECT_EQ(one(rqzstmin, row.c), row.smallest) << std::hex << row.c;
    EXPECT_EQ(one(rqzstmax, row.c), row.largest) << std::hex << row.c;
  }
}

TEST(CaseMaps, DifferFromUnicodeWhereTheyAlwaysDid) {
  for (RQChar c = 0x10D0; c <= 0x10F5; ++c) EXPECT_EQ(one(rqzstup, c), c);  // Georgian has no upper case
  EXPECT_EQ(one(rqzstlo, 0x018E), 0x0258U);
  EXPECT_EQ(one(rqzstup, 0x0258), 0x018EU);
  constexpr RQChar still[] = {0x01DD, 0x0189, 0x019F, 0x01A6, 0x0256, 0x0275, 0x0280, 0x00B5,
                              0x0131, 0x03C2, 0x0345, 0x1FBE, 0x1E9B, 0x0130, 0x1E9E, 0x2126,
                              0x212A, 0x212B, 0x00DF, 0x0400, 0x040D, 0x0450, 0x045D};
  for (const RQChar c : still) {
    EXPECT_EQ(one(rqzstlo, c), c);
    EXPECT_EQ(one(rqzstup, c), c);
  }
  for (const auto& [first, last] :
       {std::pair{0x0500U, 0x052FU}, {0x0218U, 0x024FU}, {0x0370U, 0x037FU}, {0x03F2U, 0x03FFU}})
    for (RQChar c = first; c <= last; ++c) {
      EXPECT_EQ(one(rqzstlo, c), c);
      EXPECT_EQ(one(rqzstup, c), c);
    }
  constexpr std::pair<RQChar, RQChar> upper[] = {{0x03D0, 0x0392}, {0x03D1, 0x0398}, {0x03D5, 0x03A6},
                                                 {0x03D6, 0x03A0}, {0x03F0, 0x039A}, {0x03F1, 0x03A1}};
  for (const auto& [c, capital] : upper) EXPECT_EQ(one(rqzstup, c), capital);
}

TEST(CaseMaps, LowerAndUpperOfEveryCharacterFollowThePairs) {
  for (RQChar c = 0; c < 0x20000; ++c) {
    ASSERT_EQ(one(rqzstlo, c), twin::lower(c)) << std::hex << c;
    ASSERT_EQ(one(rqzstup, c), twin::upper(c)) << std::hex << c;
  }
}

/// The mapping of one character as a reader of the exported tables finds it.
RQChar lookUp(const std::int8_t* shifts, const RQChar* exceptions, RQChar c) {
  if (c >= 0x10000 || skz_metatable[c >> 7] < 0) return c;
  const std::int8_t shift = shifts[skz_metatable[c >> 7] + static_cast<int>(c & 127)];
  if (shift != -128) return c + static_cast<RQChar>(shift);
  for (; *exceptions != 0; exceptions += 2)
    if (exceptions[0] == c) return exceptions[1];
  return c;
}

TEST(ExportedTables, SayOfEveryCharacterWhatTheRoutinesDo) {
  for (RQChar c = 0; c < 0x10000; ++c) {
    ASSERT_EQ(lookUp(skz_downshift, skz_downaux, c), one(rqzstlo, c)) << std::hex << c;
    ASSERT_EQ(lookUp(skz_upshift, skz_upaux, c), one(rqzstup, c)) << std::hex << c;
  }
}

TEST(ExportedTables, HaveTheirBlocksInOrder) {
  constexpr int blocks[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 33, 60, 61, 62, 63, 66, 73, 510};
  std::vector<std::int16_t> expected(512, -1);
  std::int16_t start = 0;
  for (const int block : blocks) {
    expected[static_cast<std::size_t>(block)] = start;
    start = static_cast<std::int16_t>(start + 128);
  }
  EXPECT_EQ(start, 19 * 128);
  EXPECT_EQ(std::vector<std::int16_t>(skz_metatable, skz_metatable + 512), expected);
}

TEST(ExportedTables, HaveTheirExceptionsInOrder) {
  constexpr RQChar from[] = {0x0181, 0x0186, 0x018A, 0x018E, 0x018F, 0x0190, 0x0193, 0x0194, 0x0196, 0x0197,
                             0x019C, 0x019D, 0x01A9, 0x01AE, 0x01B1, 0x01B2, 0x01B7, 0x1FF8, 0x1FF9};
  std::vector<RQChar> down, up = {0x017F, 0x0053};
  for (const RQChar c : from) {
    down.insert(down.end(), {c, twin::lower(c)});
    up.insert(up.end(), {twin::lower(c), c});
  }
  down.push_back(0);
  up.push_back(0);
  EXPECT_EQ(std::vector<RQChar>(skz_downaux, skz_downaux + 39), down);
  EXPECT_EQ(std::vector<RQChar>(skz_upaux, skz_upaux + 41), up);
  EXPECT_EQ(sizeof ::skz_downaux, 39 * sizeof(RQChar));
  EXPECT_EQ(sizeof ::skz_upaux, 41 * sizeof(RQChar));
}

/// The smallest and largest relative of every character, found by handing both along the mappings until all agree.
struct Classes {
  std::vector<RQChar> smallest, largest;

  Classes() : smallest(0x10000), largest(0x10000) {
    std::vector<std::pair<RQChar, RQChar>> related;
    for (RQChar c = 0; c < 0x10000; ++c) {
      smallest[c] = largest[c] = c;
      const auto point = static_cast<UChar32>(c);
      for (const UChar32 mapped : {u_toupper(point), u_tolower(point), u_totitle(point)})
        if (mapped != point && mapped < 0x10000 && isInUnicode9(point) && isInUnicode9(mapped))
          related.emplace_back(c, static_cast<RQChar>(mapped));
    }
    for (bool changed = true; changed;) {
      changed = false;
      for (const auto& [a, b] : related) {
        const RQChar low = std::min(smallest[a], smallest[b]), high = std::max(largest[a], largest[b]);
        changed = changed || smallest[a] != low || smallest[b] != low || largest[a] != high || largest[b] != high;
        smallest[a] = smallest[b] = low;
        largest[a] = largest[b] = high;
      }
    }
    largest[0xDF] = 0xDF;  // the capital sharp s is not taken for its largest relative
  }

  static bool isInUnicode9(UChar32 c) {
    UVersionInfo age;
    u_charAge(c, age);
    return age[0] >= 1 && age[0] <= 9;
  }
};

TEST(CaseClasses, SmallestAndLargestOfEveryCharacterAreThoseOfUnicode9) {
  const Classes classes;
  for (RQChar c = 0; c < 0x10000; ++c) {
    ASSERT_EQ(one(rqzstmin, c), classes.smallest[c]) << std::hex << c;
    ASSERT_EQ(one(rqzstmax, c), classes.largest[c]) << std::hex << c;
  }
}

}  // namespace
}  // namespace rq::test
