// The routines over counted strings of RQChar: case with and without the host's service, comparisons.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/kit/buffers.h"
#include "tests/model/kit.h"
#include "tests/model/kit_twin.h"

namespace rq::test {
namespace {

using String = std::basic_string<RQChar>;

String units(std::u32string_view text) {
  return String(text.begin(), text.end());
}
std::int64_t sizeOf(const String& s) {
  return static_cast<std::int64_t>(s.size());
}

template <class Map>
String mapped(Map map, String text) {
  map(text.data(), sizeOf(text));
  return text;
}

std::int64_t find(std::u32string_view text, RQChar c) {
  const String s = units(text);
  return rqzspos(s.data(), sizeOf(s), c);
}
std::int32_t equal(std::u32string_view a, std::u32string_view b) {
  const String x = units(a), y = units(b);
  return rqzseqn(x.data(), sizeOf(x), y.data(), sizeOf(y));
}
std::int32_t compare(std::u32string_view a, std::u32string_view b) {
  const String x = units(a), y = units(b);
  return rqzsncmp(x.data(), sizeOf(x), y.data(), sizeOf(y));
}

TEST(rqzspos, FindsNothingInNothing) {
  const RQChar c = 'c';
  EXPECT_EQ(rqzspos(&c, 0, 'c'), -1);
  EXPECT_EQ(rqzspos(&c, -1, 'c'), -1);
  EXPECT_EQ(rqzspos(&c, INT64_MIN, 'c'), -1);
  EXPECT_EQ(rqzspos(nullptr, 5, 'c'), -1);
}

TEST(rqzspos, FindsTheLastAndTheFirstOfSeveral) {
  EXPECT_EQ(find(U"aaaac", 'c'), 4);
  EXPECT_EQ(find(U"abcabc", 'c'), 2);
  EXPECT_EQ(find(U"abc", 'd'), -1);
}

TEST(rqzstlo, MapsByTheBuiltInTable) {
  EXPECT_EQ(mapped(rqzstlo, units(U"ABZ")), units(U"abz"));
  EXPECT_EQ(mapped(rqzstlo, {0x1FF8}), String{0x1F78});  // through the exceptions
  EXPECT_EQ(mapped(rqzstlo, {0x0130}), String{0x0130});
  EXPECT_EQ(mapped(rqzstlo, {0x10400}), String{0x10400});
}

TEST(rqzstup, MapsByTheBuiltInTable) {
  EXPECT_EQ(mapped(rqzstup, {0x017F}), String{0x0053});  // through the exceptions
  EXPECT_EQ(mapped(rqzstup, {0x00DF}), String{0x00DF});
}

TEST(CaseRoutines, LeaveNothingAndNegativeLengthsAlone) {
  for (const auto map : {rqzstlo, rqzstup, rqzstmin, rqzstmax}) {
    String text = units(U"aA\u0412");
    for (const std::int64_t n : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN}) map(text.data(), n);
    EXPECT_EQ(text, units(U"aA\u0412"));
    map(nullptr, 0);
  }
}

TEST(CaseRoutines, LeaveTheGreekBlockOfArchaicLettersExceptMinAndMax) {
  for (RQChar c = 0x370; c <= 0x37F; ++c) {
    EXPECT_EQ(mapped(rqzstlo, {c}), String{c});
    EXPECT_EQ(mapped(rqzstup, {c}), String{c});
  }
  EXPECT_EQ(equal(U"\u0370", U"\u0371"), 0);
  EXPECT_EQ(mapped(rqzstmin, {0x371}), String{0x370});
  EXPECT_EQ(mapped(rqzstmax, {0x370}), String{0x371});
}

TEST(rqzstmin, GivesTheSmallestOfTheClass) {
  EXPECT_EQ(mapped(rqzstmin, {'k'}), String{'K'});
  EXPECT_EQ(mapped(rqzstmin, {0x1E9E}), String{0x00DF});
  EXPECT_EQ(mapped(rqzstmin, {0x13F8}), String{0x13F0});
}

TEST(rqzstmax, GivesTheLargestOfTheClass) {
  EXPECT_EQ(mapped(rqzstmax, {'k'}), String{0x212A});
  EXPECT_EQ(mapped(rqzstmax, {0x00DF}), String{0x00DF});
  EXPECT_EQ(mapped(rqzstmax, {0x0412}), String{0x1C80});
  EXPECT_EQ(mapped(rqzstmax, {0x13A0}), String{0xAB70});
  EXPECT_EQ(mapped(rqzstmax, {0x026A}), String{0xA7AE});
}

/// Text as it occurs: stretches of one script, single characters of others, junk.
void fillWithText(RQChar* p, std::size_t n, Random& random) {
  constexpr RQChar starts[] = {0x20,   0x41,    0xC0,    0x100,    0x180,      0x240,      0x370,
                               0x410,  0x530,   0x1080,  0x1E00,   0x1F00,     0x2100,     0x24B0,
                               0x2D00, 0x3040,  0x4E00,  0xA640,   0xAB70,     0xAC00,     0xFF20,
                               0xFFF0, 0x10000, 0x10400, 0x10FFC0, 0x7FFFFFE0, 0x80000000, 0xFFFFFFC0};
  for (std::size_t i = 0; i < n;) {
    const RQChar start = starts[below(random, std::size(starts))];
    std::size_t stretch = below(random, 4) ? 1 + below(random, 40) : 1;
    for (; stretch > 0 && i < n; --stretch, ++i)
      twin::set(p, i, below(random, 8) ? start + static_cast<RQChar>(below(random, 64)) : RQChar{0x20});
  }
}

class Shapes : public testing::Test {
 protected:
  GuardedBuffer pages{(maxUnits + alignments) * 4}, second{pages.size()};
  Random random{1234567};

  /// Maps text in every shape and compares all memory with what its twin makes of single characters.
  template <class Map, class One>
  void check(Map map, One one) {
    forEachShape<RQChar>(pages, [&](std::size_t n, std::size_t offset) {
      if (n > 300 && (n + offset) % 8 != 0) return;
      auto* const p = reinterpret_cast<RQChar*>(pages.begin() + offset);
      fillWithText(reinterpret_cast<RQChar*>(pages.begin()), pages.size() / 4, random);
      fillWithText(p, n, random);
      second.copyFrom(pages);
      map(p, static_cast<std::int64_t>(n));
      auto* const q = reinterpret_cast<RQChar*>(second.begin() + offset);
      for (std::size_t i = 0; i < n; ++i) twin::set(q, i, one(twin::get(q, i)));
      ASSERT_TRUE(pages == second) << n << " at " << offset;
    });
  }
};

TEST_F(Shapes, Rqzstlo) {
  check(rqzstlo, twin::lower);
}
TEST_F(Shapes, Rqzstup) {
  check(rqzstup, twin::upper);
}
TEST_F(Shapes, Rqzstmin) {
  check(rqzstmin, twin::smallest);
}
TEST_F(Shapes, Rqzstmax) {
  check(rqzstmax, twin::largest);
}

TEST_F(Shapes, ComparisonsIgnoringCase) {
  forEachShape<RQChar>(pages, [&](std::size_t n, std::size_t offset) {
    if (n > 130 && (n * 13 + offset) % 64 != 0) return;
    auto* const a = reinterpret_cast<RQChar*>(pages.begin() + offset);
    const std::size_t otherOffset = n % 2 ? (offset * 7 + n) % alignments : second.size() - n * 4;
    auto* const b = reinterpret_cast<RQChar*>(second.begin() + otherOffset);
    fillWithText(a, n, random);
    std::memcpy(static_cast<void*>(b), static_cast<const void*>(a), n * 4);
    const auto length = static_cast<std::int64_t>(n);
    const auto verify = [&] {
      ASSERT_EQ(rqzseqn(a, length, b, length), twin::equalIgnoringCase(a, length, b, length)) << n << " " << offset;
      ASSERT_EQ(rqzsncmp(a, length, b, length), twin::compareIgnoringCase(a, n, b, n)) << n << " " << offset;
      ASSERT_EQ(rqzsncmp(b, length, a, length), twin::compareIgnoringCase(b, n, a, n)) << n << " " << offset;
    };
    verify();
    // Characters here and there, or all of them, in the other case.
    const std::uint64_t oneIn = 1 + below(random, 20);
    for (std::size_t i = 0; i < n; ++i)
      if (below(random, oneIn) == 0)
        twin::set(b, i, below(random, 2) ? twin::lower(twin::get(b, i)) : twin::upper(twin::get(b, i)));
    verify();
    if (n == 0) return;
    twin::set(b, below(random, n), static_cast<RQChar>(random()));
    verify();
    // Of different lengths, with a tail of blanks or nearly.
    const std::size_t shorter = below(random, n + 1);
    if (below(random, 2)) twin::fill(b + shorter, RQChar{0x20}, n - shorter);
    const auto shorterLength = static_cast<std::int64_t>(shorter);
    ASSERT_EQ(rqzsncmp(a, shorterLength, b, length), twin::compareIgnoringCase(a, shorter, b, n))
        << n << " " << offset;
    ASSERT_EQ(rqzsncmp(b, length, a, shorterLength), twin::compareIgnoringCase(b, n, a, shorter))
        << n << " " << offset;
  });
}

TEST(rqzseqn, IgnoresCaseButNotLength) {
  EXPECT_EQ(equal(U"ABZ", U"abz"), 1);
  EXPECT_EQ(equal(U"abc", U"abc "), 0);
  EXPECT_EQ(equal(U"", U""), 1);
  EXPECT_EQ(equal(U"abc", U"abd"), 0);
}

TEST(rqzseqn, KnowsNoCaseBeyondTheFirstPlane) {
  constexpr RQChar characters[] = {0x41, 0x61, 0xFFFF, 0x10000, 0x10041, 0x10061, 0x20041, 0xFFFFFFFF};
  for (const RQChar& a : characters)
    for (const RQChar& b : characters)
      EXPECT_EQ(rqzseqn(&a, 1, &b, 1), a == b || (a | b) == 0x61) << std::hex << a << ' ' << b;
}

TEST(rqzseqn, SeesADifferenceInEitherTextAnywhere) {
  const std::vector<RQChar> letters(300, 'a');
  for (std::size_t i = 0; i < letters.size(); ++i) {
    std::vector<RQChar> other = letters;
    other[i] = 'b';
    const auto length = static_cast<std::int64_t>(letters.size());
    EXPECT_EQ(rqzseqn(letters.data(), length, other.data(), length), 0) << i;
    EXPECT_EQ(rqzseqn(other.data(), length, letters.data(), length), 0) << i;
  }
}

TEST(rqzseqn, OfEqualNegativeLengthsIsOne) {
  EXPECT_EQ(rqzseqn(nullptr, -3, nullptr, -3), 1);
  EXPECT_EQ(rqzseqn(nullptr, -3, nullptr, -2), 0);
  EXPECT_EQ(rqzseqn(nullptr, -3, nullptr, 0), 0);
}

TEST(rqzsncmp, CaseDecidesATieByTheSignOfTheFirstDifference) {
  EXPECT_EQ(compare(U"abc", U"ABC"), 1);
  EXPECT_EQ(compare(U"ABC", U"abc"), -1);
  EXPECT_EQ(compare(U"aBc", U"Abc"), 1);
}
TEST(rqzsncmp, LettersDecideBeforeCase) {
  EXPECT_EQ(compare(U"ABC", U"abd"), -2);
  EXPECT_EQ(compare(U"Abc", U"aBD"), -2);
  EXPECT_EQ(compare(U"abd", U"ABC"), 2);
}
TEST(rqzsncmp, TrailingBlanksMakeNoDifference) {
  EXPECT_EQ(compare(U"abc", U"abc  "), 0);
  EXPECT_EQ(compare(U"abc  ", U"abc"), 0);
  EXPECT_EQ(compare(U"ABC", U"abc  "), -1);
  EXPECT_EQ(compare(U"", U"   "), 0);
}
TEST(rqzsncmp, AnyOtherTailIsGreater) {
  EXPECT_EQ(compare(U"abc", U"abc x"), -2);
  EXPECT_EQ(compare(U"abc x", U"abc"), 2);
  EXPECT_EQ(compare(U"abc", U"abc\t"), -2);
  EXPECT_EQ(compare(U"abc\t", U"abc"), 2);
}
TEST(rqzsncmp, EmptyStringsAreEqual) {
  EXPECT_EQ(compare(U"", U""), 0);
}
TEST(rqzsncmp, TakesANegativeLengthForAnEmptyString) {
  const String text = units(U"  x");
  EXPECT_EQ(rqzsncmp(nullptr, -5, nullptr, -7), 0);
  EXPECT_EQ(rqzsncmp(nullptr, -5, text.data(), 2), 0);
  EXPECT_EQ(rqzsncmp(nullptr, INT64_MIN, text.data(), 3), -2);
  EXPECT_EQ(rqzsncmp(text.data(), 3, nullptr, -1), 2);
}
TEST(rqzsncmp, ComparesCharactersSigned) {
  const String large = {0x80000000}, small = {0x41};
  EXPECT_EQ(rqzsncmp(large.data(), 1, small.data(), 1), -2);
  EXPECT_EQ(rqzsncmp(small.data(), 1, large.data(), 1), 2);
}

/// A host whose case service notes what it is asked and gives something recognisable back.
class ServiceTest : public testing::Test {
 protected:
  struct Service : RQCaseService {
    std::vector<RQChar> uppered, lowered;
    bool oneEachTime = true;
  };
  Service service{};
  RQKernel kernel{};

  void SetUp() override {
    service.upper = [](RQCaseService* s, RQChar c, std::uint64_t one) {
      auto& self = *static_cast<Service*>(s);
      self.uppered.push_back(c);
      self.oneEachTime = self.oneEachTime && one == 1;
      return c ^ 0x55000000;
    };
    service.lower = [](RQCaseService* s, RQChar c, std::uint64_t one) {
      auto& self = *static_cast<Service*>(s);
      self.lowered.push_back(c);
      self.oneEachTime = self.oneEachTime && one == 1;
      return c ^ 0x66000000;
    };
    kernel.caseService = &service;
    Library::get().rqextent(&kernel);
  }
  void TearDown() override { Library::get().rqextent(nullptr); }
};

TEST_F(ServiceTest, GetsEveryCharacterButAscii) {
  const String text = {'a', 0x7F, 0x80, 'Z', 0xE9, 0xFFFF, 0x10000, 0x80000000, 0xFFFFFFFF, 'k'};
  const String others = {0x80, 0xE9, 0xFFFF, 0x10000, 0x80000000, 0xFFFFFFFF};
  String upper = text, lower = text;
  for (RQChar& c : upper) c = c < 0x80 ? twin::upper(c) : c ^ 0x55000000;
  for (RQChar& c : lower) c = c < 0x80 ? twin::lower(c) : c ^ 0x66000000;
  EXPECT_EQ(mapped(rqzstup, text), upper);
  EXPECT_EQ(mapped(rqzstlo, text), lower);
  EXPECT_EQ(String(service.uppered.begin(), service.uppered.end()), others);
  EXPECT_EQ(String(service.lowered.begin(), service.lowered.end()), others);
  EXPECT_TRUE(service.oneEachTime);
}

TEST_F(ServiceTest, IsAskedInOrderInEveryShape) {
  GuardedBuffer pages((maxUnits + alignments) * 4), expected(pages.size());
  Random random(99);
  forEachShape<RQChar>(pages, [&](std::size_t n, std::size_t offset) {
    if ((n * 5 + offset) % 16 != 0) return;
    auto* const p = reinterpret_cast<RQChar*>(pages.begin() + offset);
    fillWithText(p, n, random);
    expected.copyFrom(pages);
    auto* const q = reinterpret_cast<RQChar*>(expected.begin() + offset);
    std::vector<RQChar> asked;
    for (std::size_t i = 0; i < n; ++i) {
      const RQChar c = twin::get(q, i);
      if (c >= 0x80) asked.push_back(c);
      twin::set(q, i, c < 0x80 ? twin::upper(c) : c ^ 0x55000000);
    }
    service.uppered.clear();
    rqzstup(p, static_cast<std::int64_t>(n));
    ASSERT_TRUE(pages == expected) << n << " at " << offset;
    ASSERT_EQ(service.uppered, asked);
  });
}

TEST_F(ServiceTest, IsReadAfreshByEachCall) {
  const String e = {0xE9};
  EXPECT_EQ(mapped(rqzstup, e), String{0xE9 ^ 0x55000000});
  kernel.caseService = nullptr;
  EXPECT_EQ(mapped(rqzstup, e), String{0xC9});
  kernel.caseService = &service;
  EXPECT_EQ(mapped(rqzstup, e), String{0xE9 ^ 0x55000000});
}

TEST_F(ServiceTest, IsNotAskedByTheOthers) {
  const String text = {0xC9, 0xE9};
  mapped(rqzstmin, text);
  mapped(rqzstmax, text);
  EXPECT_EQ(rqzseqn(&text[0], 1, &text[1], 1), 1);
  EXPECT_EQ(rqzsncmp(&text[0], 1, &text[1], 1), -1);
  rqzstup(nullptr, 0);
  rqzstlo(nullptr, -1);
  EXPECT_TRUE(service.uppered.empty() && service.lowered.empty());
}

}  // namespace
}  // namespace rq::test
