// The copies: disjoint, over every overlap, of terminated strings, into a pool.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/kit/buffers.h"
#include "tests/model/kit.h"
#include "tests/model/kit_twin.h"

namespace rq::test {
namespace {

using twin::Byte;

void fillRandomly(const GuardedBuffer& pages, Random& random) {
  for (std::size_t i = 0; i < pages.size(); ++i) pages.begin()[i] = static_cast<Byte>(random());
}

/// Copies n bytes within one buffer from offset s to offset d, by the routine and by its twin.
template <class Copy, class Twin>
void checkWithin(const GuardedBuffer& pages, const GuardedBuffer& expected, std::size_t s, std::size_t d,
                 std::size_t n, Copy copy, Twin twinCopy) {
  const_cast<GuardedBuffer&>(expected).copyFrom(pages);
  copy(pages.begin() + s, pages.begin() + d, n);
  twinCopy(expected.begin() + s, expected.begin() + d, n);
  ASSERT_TRUE(pages == expected) << n << " bytes from " << s << " to " << d;
}

struct Forward {
  static void copy(const void* s, void* d, std::uint64_t n) { EXPECT_EQ(skMemCpy(s, d, n), d); }
  static constexpr auto twinCopy = twin::copyForward;
};
struct Safe {
  static void copy(const void* s, void* d, std::uint64_t n) { skMemSCpy(s, d, n); }
  static constexpr auto twinCopy = twin::copySafe;
};

template <class Kind>
class Copies : public testing::Test {
 protected:
  Random random{42};
};
using Kinds = testing::Types<Forward, Safe>;
TYPED_TEST_SUITE(Copies, Kinds);

TYPED_TEST(Copies, CopyExactlyTheirBytesInEveryShape) {
  GuardedBuffer source(maxUnits + alignments), pages(maxUnits + alignments), expected(maxUnits + alignments);
  fillRandomly(source, this->random);
  forEachShape<Byte>(pages, [&](std::size_t n, std::size_t offset) {
    const std::size_t from = n % 2 ? (offset * 11 + n) % alignments : source.size() - n;
    std::memset(pages.begin(), 0x5A, pages.size());
    expected.copyFrom(pages);
    TypeParam::copy(source.begin() + from, pages.begin() + offset, n);
    twin::copyForward(source.begin() + from, expected.begin() + offset, n);
    ASSERT_TRUE(pages == expected) << n << " from " << from << " to " << offset;
  });
}

TYPED_TEST(Copies, OverlapAtEveryDistanceBothWays) {
  GuardedBuffer pages(1500), expected(1500);
  fillRandomly(pages, this->random);
  for (std::size_t distance = 0; distance <= 300; ++distance) {
    for (std::size_t n = 0; n <= 300; n += n < 140 ? 1 : 13) {
      const std::size_t low = below(this->random, 64);
      checkWithin(pages, expected, low, low + distance, n, TypeParam::copy, TypeParam::twinCopy);
      checkWithin(pages, expected, low + distance, low, n, TypeParam::copy, TypeParam::twinCopy);
      if ((distance * 7 + n) % 32 == 0) fillRandomly(pages, this->random);
    }
    // Flush against either page.
    const std::size_t n = 1000 + below(this->random, 200);
    fillRandomly(pages, this->random);
    const std::size_t end = pages.size();
    checkWithin(pages, expected, end - n - distance, end - n, n, TypeParam::copy, TypeParam::twinCopy);
    checkWithin(pages, expected, end - n, end - n - distance, n, TypeParam::copy, TypeParam::twinCopy);
    checkWithin(pages, expected, 0, distance, n, TypeParam::copy, TypeParam::twinCopy);
    checkWithin(pages, expected, distance, 0, n, TypeParam::copy, TypeParam::twinCopy);
  }
}

TYPED_TEST(Copies, LongOnesOverlapAtAnyDistance) {
  GuardedBuffer pages(120'000), expected(120'000);
  fillRandomly(pages, this->random);
  for (int i = 0; i < 300; ++i) {
    const std::size_t n = 1000 + below(this->random, 49'000), low = below(this->random, 64);
    const std::size_t distance = below(this->random, std::size_t{1} << (1 + below(this->random, 16)));
    checkWithin(pages, expected, low, low + distance, n, TypeParam::copy, TypeParam::twinCopy);
    checkWithin(pages, expected, low + distance, low, n, TypeParam::copy, TypeParam::twinCopy);
    if (i % 8 == 0) fillRandomly(pages, this->random);
  }
}

/// Around the period and the count at which the way of copying changes.
TYPED_TEST(Copies, OverlapByOneOrTwoPeriods) {
  GuardedBuffer pages(3200), expected(3200);
  for (std::size_t period = 500; period <= 1000; period += period < 520 ? 1 : 60) {
    fillRandomly(pages, this->random);
    for (const std::size_t n : {period, period + 1, period + 40, 2 * period - 1, 2 * period, 2 * period + 1}) {
      const std::size_t low = below(this->random, 64), end = pages.size();
      checkWithin(pages, expected, low, low + period, n, TypeParam::copy, TypeParam::twinCopy);
      checkWithin(pages, expected, end - n - period, end - n, n, TypeParam::copy, TypeParam::twinCopy);
    }
  }
}

TEST(skMemCpy, PropagatesForwards) {
  char text[] = "abcde";
  EXPECT_EQ(skMemCpy(text, text + 1, 4), text + 1);
  EXPECT_STREQ(text, "aaaaa");
}

TEST(skMemCpy, OfNothingReturnsTheDestination) {
  char text[] = "ab";
  EXPECT_EQ(skMemCpy(text, text + 1, 0), text + 1);
  EXPECT_STREQ(text, "ab");
}

TEST(skMemSCpy, DoesNotPropagate) {
  char text[] = "abcde";
  skMemSCpy(text, text + 1, 4);
  EXPECT_STREQ(text, "aabcd");
}

TEST(skMemSCpy, OfALongDistance) {  // the distance is no less than the overlap
  char text[] = "abcdefg";
  skMemSCpy(text, text + 3, 4);
  EXPECT_STREQ(text, "abcabcd");
}

TEST(skMemSCpy, OfAShortDistance) {
  char text[] = "0123456789ab";
  skMemSCpy(text, text + 2, 10);
  EXPECT_STREQ(text, "010123456789");
}

TEST(skStrCpy, OfNullIsAnEmptyString) {
  char text[] = "xy";
  skStrCpy(nullptr, text);
  EXPECT_EQ(text[0], '\0');
  EXPECT_EQ(text[1], 'y');
  RQChar units[] = {'x', 'y'};
  skStrTCpy(nullptr, units);
  EXPECT_EQ(units[0], 0U);
  EXPECT_EQ(units[1], RQChar{'y'});
}

TEST(skStrCpy, ToNullDoesNothing) {
  const RQChar units[] = {'a', 0};
  skStrCpy("a", nullptr);
  skStrTCpy(units, nullptr);
  skStrCpy(nullptr, nullptr);
  skStrTCpy(nullptr, nullptr);
}

template <class U>
void checkStringCopies(void (*copy)(const U*, U*)) {
  GuardedBuffer source((maxUnits + alignments) * sizeof(U)), pages(source.size()), expected(source.size());
  std::memset(source.begin(), 0x31, source.size());
  for (std::size_t n = 0; n < maxUnits; ++n) {
    auto* const s = reinterpret_cast<U*>(source.end() - (n + 1) * sizeof(U));
    twin::set(s, n, U{0});
    for (std::size_t offset = 0; offset < alignments; offset += 1 + n % 3) {
      std::memset(pages.begin(), 0x5A, pages.size());
      expected.copyFrom(pages);
      copy(s, reinterpret_cast<U*>(pages.begin() + offset));
      std::memcpy(expected.begin() + offset, s, (n + 1) * sizeof(U));
      ASSERT_TRUE(pages == expected) << n << " to " << offset;
    }
    std::memset(source.begin(), 0x31, source.size());
  }
}

TEST(skStrCpy, CopiesExactlyTheStringAndItsTerminator) {
  checkStringCopies<char>(skStrCpy);
}
TEST(skStrTCpy, CopiesExactlyTheStringAndItsTerminator) {
  checkStringCopies<RQChar>(skStrTCpy);
}

/// A kernel's first vector may begin in one page, while the terminator lies in the next.
template <class U>
void checkStringsAcrossPages(std::uint64_t (*length)(const U*), void (*copy)(const U*, U*)) {
  constexpr std::size_t longest = 80;
  GuardedBuffer source(2 * pageBytes), pages(2 * longest * sizeof(U)), expected(pages.size());
  std::memset(source.begin(), 0x31, source.size());
  for (std::size_t before = 1; before <= longest; ++before) {
    auto* const s = reinterpret_cast<U*>(source.begin() + pageBytes) - before;
    for (std::size_t n = 0; n <= longest; ++n) {
      const U kept = twin::get(s, n);
      twin::set(s, n, U{0});
      ASSERT_EQ(length(s), n) << before << " before the next page";
      std::memset(pages.begin(), 0x5A, pages.size());
      expected.copyFrom(pages);
      copy(s, reinterpret_cast<U*>(pages.begin()) + longest / 2);
      std::memcpy(expected.begin() + longest / 2 * sizeof(U), s, (n + 1) * sizeof(U));
      ASSERT_TRUE(pages == expected) << n << " units, " << before << " before the next page";
      twin::set(s, n, kept);
    }
  }
}

TEST(skStrCpy, CopiesStringsAcrossPages) {
  checkStringsAcrossPages<char>(skStrLen, skStrCpy);
}
TEST(skStrTCpy, CopiesStringsAcrossPages) {
  checkStringsAcrossPages<RQChar>(skStrTLen, skStrTCpy);
}

TEST(skStrTCpy, TakesUnitsAtAnyAddress) {
  Byte source[256] = {}, copied[256];
  for (std::size_t from = 0; from < sizeof(RQChar); ++from)
    for (std::size_t n = 0; n < 40; ++n) {
      auto* const s = reinterpret_cast<RQChar*>(source + from);
      auto* const d = reinterpret_cast<RQChar*>(copied + 3 - from);
      for (std::size_t i = 0; i < n; ++i) twin::set(s, i, static_cast<RQChar>(0x10000 + i));
      twin::set(s, n, RQChar{0});
      std::memset(copied, 0x5A, sizeof copied);
      skStrTCpy(s, d);
      ASSERT_EQ(std::memcmp(copied + 3 - from, source + from, (n + 1) * sizeof(RQChar)), 0) << n << " from " << from;
      ASSERT_EQ(copied[3 - from + (n + 1) * sizeof(RQChar)], 0x5A) << n << " from " << from;
    }
}

/// Strings on the heap, where sanitizers see each byte that is read behind them.
template <class U>
void checkHeapStrings(std::uint64_t (*length)(const U*), void (*copy)(const U*, U*)) {
  for (std::size_t n = 0; n < maxUnits; ++n) {
    std::vector<U> source(n + 1, U{0x31}), copied(n + 1, U{0x5A});
    source.shrink_to_fit();
    copied.shrink_to_fit();
    source[n] = 0;
    ASSERT_EQ(length(source.data()), n);
    copy(source.data(), copied.data());
    ASSERT_EQ(copied, source);
  }
}

TEST(skStrCpy, FitsTheHeap) {
  checkHeapStrings<char>(skStrLen, skStrCpy);
}
TEST(skStrTCpy, FitsTheHeap) {
  checkHeapStrings<RQChar>(skStrTLen, skStrTCpy);
}

/// A pool that hands out one block and remembers what it was asked for.
struct OneBlockPool : RQPool {
  std::vector<Byte> block = std::vector<Byte>(4096, 0x5A);
  std::uint64_t bytes = 0, flags = 1;
  int calls = 0;
  bool refuses = false;

  OneBlockPool() : RQPool{} {
    allocate = [](RQPool* pool, std::uint64_t bytesAsked, std::uint64_t flagsGiven) -> void* {
      auto& self = *static_cast<OneBlockPool*>(pool);
      ++self.calls;
      self.bytes = bytesAsked;
      self.flags = flagsGiven;
      return self.refuses ? nullptr : self.block.data();
    };
  }
};

TEST(skMemDup, CopiesIntoABlockOfThePool) {
  OneBlockPool pool;
  const std::string text = "The copy belongs to the pool.";
  EXPECT_EQ(skMemDup(text.data(), text.size(), &pool), pool.block.data());
  EXPECT_EQ(pool.calls, 1);
  EXPECT_EQ(pool.bytes, text.size());
  EXPECT_EQ(pool.flags, 0U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(pool.block.data()), text.size()), text);
  EXPECT_EQ(pool.block[text.size()], 0x5A);
}

TEST(skMemDup, OfNothingAsksForNothing) {
  OneBlockPool pool;
  EXPECT_EQ(skMemDup("x", 0, &pool), pool.block.data());
  EXPECT_EQ(pool.calls, 1);
  EXPECT_EQ(pool.bytes, 0U);
  EXPECT_EQ(pool.block[0], 0x5A);
}

TEST(skMemDup, WithoutSourceOrPoolAllocatesNothing) {
  OneBlockPool pool;
  EXPECT_EQ(skMemDup(nullptr, 5, &pool), nullptr);
  EXPECT_EQ(skMemDup("x", 1, nullptr), nullptr);
  EXPECT_EQ(pool.calls, 0);
}

TEST(skMemDup, IsNullWhenThePoolRefuses) {
  OneBlockPool pool;
  pool.refuses = true;
  EXPECT_EQ(skMemDup("x", 1, &pool), nullptr);
  EXPECT_EQ(pool.calls, 1);
}

}  // namespace
}  // namespace rq::test
