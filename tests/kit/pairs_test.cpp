// kit::listPairs, which only the library itself calls, against a loop.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "kit/kit.h"

namespace rq::test {
namespace {

/// Compares on texts of every length and with more and more pairs.
template <class U>
void check(U first, U second, U keep, U alsoSecond) {
  std::mt19937 random(5);
  for (std::uint64_t n = 64; n <= 1024; n += 64)
    for (unsigned others = 0; others < 40; ++others) {
      std::vector<U> text(n + 1);
      for (U& unit : text) {
        const std::uint64_t kind = random() % (2 + others);
        unit = kind == 0 ? first : kind == 1 ? (random() % 2 ? second : alsoSecond) : static_cast<U>('x');
      }
      std::vector<std::uint16_t> expected;
      for (std::uint64_t i = 0; i < n; ++i)
        if (text[i] == first && (text[i + 1] & keep) == second) expected.push_back(static_cast<std::uint16_t>(i));
      std::vector<std::uint16_t> places(expected.size() + kit::maxPairsBehind);
      places.resize(kit::listPairs(text.data(), n, first, second, keep, places.data()));
      ASSERT_EQ(places, expected) << n << " units";
    }
}

TEST(ListPairs, OfBytesAndOfUnits) {
  check<std::uint8_t>('&', '#', 0xFF, '#');
  check<std::uint8_t>('\\', 'U', 0xDF, 'u');
  check<std::uint8_t>('&', '&', 0xFF, '&');
  check<RQChar>('&', '#', 0xFFFFFFFF, '#');
  check<RQChar>('<', 'U', 0xFFFFFFDF, 'u');
}

}  // namespace
}  // namespace rq::test
