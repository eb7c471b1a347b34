// The four mappings and the exported tables against lists of all pairs, which do not come from the library's own
// data.
#include <gtest/gtest.h>

#include <vector>

#include "tests/model/class_pairs.h"
#include "tests/model/kit.h"

namespace rq::test {
namespace {

constexpr RQChar planeSize = 0x10000;

/// What a list of pairs maps each character of the BMP to. A list that names a character twice fails the test.
template <std::size_t Size>
std::vector<RQChar> planeOf(const CasePair (&pairs)[Size]) {
  std::vector<RQChar> to(planeSize);
  for (RQChar c = 0; c < planeSize; ++c) to[c] = c;
  for (const CasePair& pair : pairs) {
    EXPECT_EQ(to[pair.from], pair.from) << std::hex << pair.from;
    EXPECT_NE(pair.to, pair.from) << std::hex << pair.from;
    to[pair.from] = pair.to;
  }
  return to;
}

/// What a routine makes of each character of the BMP, all in one call and each in its own.
void expectMaps(void (*map)(RQChar*, std::int64_t), const std::vector<RQChar>& expected) {
  std::vector<RQChar> all(planeSize);
  for (RQChar c = 0; c < planeSize; ++c) {
    RQChar one = all[c] = c;
    map(&one, 1);
    ASSERT_EQ(one, expected[c]) << std::hex << c;
  }
  map(all.data(), planeSize);
  EXPECT_EQ(all, expected);
}

TEST(CasePairs, LowerCase) {
  expectMaps(rqzstlo, planeOf(lowerPairs));
}
TEST(CasePairs, UpperCase) {
  expectMaps(rqzstup, planeOf(upperPairs));
}
TEST(CasePairs, SmallestOfTheClass) {
  expectMaps(rqzstmin, planeOf(smallestPairs));
}
TEST(CasePairs, LargestOfTheClass) {
  expectMaps(rqzstmax, planeOf(largestPairs));
}

/// The mapping of one character as a reader of the exported tables finds it.
RQChar lookUp(const std::int8_t* shifts, const RQChar* exceptions, RQChar c) {
  const std::int16_t start = skz_metatable[c >> 7];
  if (start < 0) return c;
  const std::int8_t shift = shifts[start + static_cast<int>(c & 127)];
  if (shift != -128) return c + static_cast<RQChar>(shift);
  for (; *exceptions != 0; exceptions += 2)
    if (exceptions[0] == c) return exceptions[1];
  return c;
}

TEST(CasePairs, ExportedTables) {
  const std::vector<RQChar> lower = planeOf(lowerPairs), upper = planeOf(upperPairs);
  for (RQChar c = 0; c < planeSize; ++c) {
    ASSERT_EQ(lookUp(skz_downshift, skz_downaux, c), lower[c]) << std::hex << c;
    ASSERT_EQ(lookUp(skz_upshift, skz_upaux, c), upper[c]) << std::hex << c;
  }
}

}  // namespace
}  // namespace rq::test
