// The routines over bytes and over 4-byte units: searches, fills, comparisons, ASCII case, missing values.
#include <gtest/gtest.h>

#include <bit>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "tests/kit/buffers.h"
#include "tests/model/kit.h"
#include "tests/model/kit_twin.h"

namespace rq::test {
namespace {

using twin::Byte;
using Sizes = std::initializer_list<std::size_t>;

/// The exported routines for one kind of unit.
template <class U>
struct Routines;

template <>
struct Routines<Byte> {
  static std::int64_t scan(const Byte* p, std::uint64_t n, Byte c) { return skMemScan(p, n, c); }
  static std::int64_t notScan(const Byte* p, std::uint64_t n, Byte c) { return skMemNScan(p, n, c); }
  static std::int32_t allEqual(Byte c, const Byte* p, std::uint64_t n) { return skMemNot(c, p, n); }
  static std::int32_t compare(const Byte* a, const Byte* b, std::uint64_t n) { return skMemCmp(a, b, n); }
  static void fill(Byte* p, Byte c, std::uint64_t n) { skMemSet(p, c, n); }
  static std::uint64_t length(const Byte* s) { return skStrLen(reinterpret_cast<const char*>(s)); }
};

template <>
struct Routines<RQChar> {
  static std::int64_t scan(const RQChar* p, std::uint64_t n, RQChar c) {
    return rqzspos(p, static_cast<std::int64_t>(n), c);
  }
  static std::int64_t notScan(const RQChar* p, std::uint64_t n, RQChar c) { return skMemTNScan(p, n, c); }
  static std::int32_t allEqual(RQChar c, const RQChar* p, std::uint64_t n) { return skMemTNot(c, p, n); }
  static std::int32_t compare(const RQChar* a, const RQChar* b, std::uint64_t n) { return skWMemCmp(a, b, n); }
  static void fill(RQChar* p, RQChar c, std::uint64_t n) { skMemTSet(p, c, n); }
  static std::uint64_t length(const RQChar* s) { return skStrTLen(s); }
};

template <class U>
class Units : public testing::Test {
 protected:
  static constexpr U c = static_cast<U>(0x80402010), other = static_cast<U>(0x8040A010 + 1);
  GuardedBuffer pages{(maxUnits + alignments) * sizeof(U)}, second{(maxUnits + alignments) * sizeof(U)};
  Random random{20240229};

  U* at(std::size_t offset) { return reinterpret_cast<U*>(pages.begin() + offset); }
  U* secondAt(std::size_t offset) { return reinterpret_cast<U*>(second.begin() + offset); }
};
using BothUnits = testing::Types<Byte, RQChar>;
TYPED_TEST_SUITE(Units, BothUnits);

// Each length at each place, one hit or none; the units outside hold hits, which must not be seen.
TYPED_TEST(Units, ScanFindsTheFirstInEveryShape) {
  using U = TypeParam;
  forEachShape<U>(this->pages, [&](std::size_t n, std::size_t offset) {
    std::memset(this->pages.begin(), 0, this->pages.size());
    U* const p = this->at(offset);
    if (offset + (n + 1) * sizeof(U) <= this->pages.size()) twin::set(p, n, this->c);
    if (offset >= sizeof(U)) std::memcpy(this->pages.begin() + offset - sizeof(U), &this->c, sizeof(U));
    ASSERT_EQ(Routines<U>::scan(p, n, this->c), -1) << n << " at " << offset;
    if (n == 0) return;
    const std::size_t hit = below(this->random, n), later = hit + below(this->random, n - hit);
    twin::set(p, later, this->c);
    twin::set(p, hit, this->c);
    ASSERT_EQ(Routines<U>::scan(p, n, this->c), static_cast<std::int64_t>(hit)) << n << " at " << offset;
  });
}

TYPED_TEST(Units, ScanFindsEveryPosition) {
  using U = TypeParam;
  for (const std::size_t offset : Sizes{0, 1, 3, 4, 17, 60}) {
    U* const p = this->at(offset);
    twin::fill(p, this->other, maxUnits);
    for (const std::size_t n : Sizes{1, 3, 15, 16, 17, 31, 33, 63, 64, 65, 100, 127, 255, 256, 300, 517, 1024}) {
      for (std::size_t hit = 0; hit < n; ++hit) {
        twin::set(p, hit, this->c);
        ASSERT_EQ(Routines<U>::scan(p, n, this->c), static_cast<std::int64_t>(hit)) << n << " at " << offset;
        twin::set(p, hit, this->other);
      }
    }
  }
}

TYPED_TEST(Units, NotScanAndAllEqualFindTheFirstDifferenceInEveryShape) {
  using U = TypeParam;
  forEachShape<U>(this->pages, [&](std::size_t n, std::size_t offset) {
    std::memset(this->pages.begin(), 0xA5, this->pages.size());
    U* const p = this->at(offset);
    twin::fill(p, this->c, n);
    ASSERT_EQ(Routines<U>::notScan(p, n, this->c), -1) << n << " at " << offset;
    ASSERT_EQ(Routines<U>::allEqual(this->c, p, n), 1);
    if (n == 0) return;
    const std::size_t hit = below(this->random, n), later = hit + below(this->random, n - hit);
    twin::set(p, later, this->other);
    // One bit is enough, in whichever byte of the unit.
    const auto flipped = static_cast<U>(this->c ^ U{1} << below(this->random, 8 * sizeof(U)));
    twin::set(p, hit, flipped);
    ASSERT_EQ(Routines<U>::notScan(p, n, this->c), static_cast<std::int64_t>(hit)) << n << " at " << offset;
    ASSERT_EQ(Routines<U>::allEqual(this->c, p, n), 0);
  });
}

TYPED_TEST(Units, NotScanFindsEveryPosition) {
  using U = TypeParam;
  for (const std::size_t offset : Sizes{0, 2, 5, 33}) {
    U* const p = this->at(offset);
    twin::fill(p, this->c, maxUnits);
    for (const std::size_t n : Sizes{1, 7, 16, 31, 64, 65, 129, 256, 300, 1024}) {
      for (std::size_t hit = 0; hit < n; ++hit) {
        twin::set(p, hit, this->other);
        ASSERT_EQ(Routines<U>::notScan(p, n, this->c), static_cast<std::int64_t>(hit)) << n << " at " << offset;
        twin::set(p, hit, this->c);
      }
    }
  }
}

TYPED_TEST(Units, CompareDecidesByTheFirstDifferenceInEveryShape) {
  using U = TypeParam;
  for (std::size_t i = 0; i < this->pages.size(); ++i) this->pages.begin()[i] = static_cast<Byte>(this->random());
  forEachShape<U>(this->pages, [&](std::size_t n, std::size_t offset) {
    U* const a = this->at(offset);
    // Now at another alignment, now flush against the back page as well.
    const std::size_t otherOffset = n % 2 ? (offset * 7 + n) % alignments : this->second.size() - n * sizeof(U);
    U* const b = this->secondAt(otherOffset);
    std::memcpy(static_cast<void*>(b), static_cast<const void*>(a), n * sizeof(U));
    ASSERT_EQ(Routines<U>::compare(a, b, n), 0) << n << " at " << offset;
    if (n == 0) return;
    const std::size_t hit = below(this->random, n), later = hit + below(this->random, n - hit);
    twin::set(b, later, static_cast<U>(~twin::get(b, later)));
    twin::set(b, hit, static_cast<U>(twin::get(a, hit) ^ U{1} << below(this->random, 8 * sizeof(U))));
    ASSERT_EQ(Routines<U>::compare(a, b, n), twin::compare(a, b, n)) << n << " at " << offset;
    ASSERT_EQ(Routines<U>::compare(b, a, n), twin::compare(b, a, n)) << n << " at " << offset;
  });
}

TYPED_TEST(Units, FillWritesExactlyItsUnitsInEveryShape) {
  using U = TypeParam;
  forEachShape<U>(this->pages, [&](std::size_t n, std::size_t offset) {
    std::memset(this->pages.begin(), 0x5A, this->pages.size());
    std::memset(this->second.begin(), 0x5A, this->second.size());
    Routines<U>::fill(this->at(offset), this->c, n);
    twin::fill(this->secondAt(offset), this->c, n);
    ASSERT_TRUE(this->pages == this->second) << n << " at " << offset;
  });
}

TYPED_TEST(Units, FillOfLongBuffers) {
  using U = TypeParam;
  for (const std::size_t n : Sizes{4095, 4096, 8191, 16383, 16384, 16385, 70001}) {
    GuardedBuffer longer((n + 8) * sizeof(U));
    auto* const p = reinterpret_cast<U*>(longer.end() - n * sizeof(U));
    Routines<U>::fill(p, this->c, n);
    ASSERT_EQ(twin::notScan(p, n, this->c), -1);
    ASSERT_EQ(p[-1], 0U);
  }
}

TYPED_TEST(Units, LengthStopsAtTheTerminatorInEveryShape) {
  using U = TypeParam;
  std::memset(this->pages.begin(), 0x11, this->pages.size());
  for (std::size_t n = 0; n <= maxUnits; ++n) {
    const std::size_t back = this->pages.size() - (n + 1) * sizeof(U);
    for (std::size_t place = 0; place <= alignments; ++place) {
      U* const s = this->at(place < alignments ? place : back);
      const U kept = twin::get(s, n);
      twin::set(s, n, U{0});
      ASSERT_EQ(Routines<U>::length(s), n) << place;
      twin::set(s, n, kept);
    }
  }
}

TYPED_TEST(Units, LengthIsNotMisledByZerosBeforeTheString) {
  using U = TypeParam;
  std::memset(this->pages.begin(), 0, this->pages.size());
  for (std::size_t offset = 0; offset < alignments; ++offset) {
    twin::fill(this->at(offset), this->other, 3);
    ASSERT_EQ(Routines<U>::length(this->at(offset)), 3U);
    twin::fill(this->at(offset), U{0}, 3);
  }
}

TEST(skUnsup, IsAlwaysUnsupported) {
  EXPECT_EQ(skUnsup(), 0x803fc004U);
}

TEST(skStrLen, OfNullAndOfAnEmptyStringIsZero) {
  EXPECT_EQ(skStrLen(nullptr), 0U);
  EXPECT_EQ(skStrLen(""), 0U);
  const RQChar empty = 0;
  EXPECT_EQ(skStrTLen(nullptr), 0U);
  EXPECT_EQ(skStrTLen(&empty), 0U);
}

TEST(skMemNot, OfNothingIsOne) {
  EXPECT_EQ(skMemNot(0x20, "x", 0), 1);
  const RQChar x = 'x';
  EXPECT_EQ(skMemTNot(0x20, &x, 0), 1);
}

TEST(skMemNot, SeesTheDifferenceAtTheEnd) {
  EXPECT_EQ(skMemNot(0x20, "  x", 3), 0);
  EXPECT_EQ(skMemNot(0x20, "  x", 2), 1);
}

TEST(skMemTNot, OfBlanksIsOne) {
  const RQChar blanks[] = {0x20, 0x20, 0x20, 0x20, 0x20, 0x20, 0x20};
  for (std::uint64_t n = 0; n <= 7; ++n) EXPECT_EQ(skMemTNot(0x20, blanks, n), 1);
}

TEST(skMemScan, FindsNothingInNothing) {
  EXPECT_EQ(skMemScan("c", 0, 'c'), -1);
  EXPECT_EQ(skMemScan(nullptr, 5, 'c'), -1);
  EXPECT_EQ(skMemScan(nullptr, 0, 'c'), -1);
}

TEST(skMemScan, FindsTheLastByte) {
  EXPECT_EQ(skMemScan("aaaac", 5, 'c'), 4);
}

TEST(skMemNScan, FindsTheFirstOtherByte) {
  EXPECT_EQ(skMemNScan("aaaa", 4, 'a'), -1);
  EXPECT_EQ(skMemNScan("aab", 3, 'a'), 2);
  EXPECT_EQ(skMemNScan("b", 0, 'a'), -1);
  EXPECT_EQ(skMemNScan(nullptr, 3, 'a'), -1);
}

TEST(skMemTNScan, FindsTheFirstOtherUnit) {
  const RQChar units[] = {'a', 'a', 'b'};
  EXPECT_EQ(skMemTNScan(units, 2, 'a'), -1);
  EXPECT_EQ(skMemTNScan(units, 3, 'a'), 2);
  EXPECT_EQ(skMemTNScan(units, 0, 'z'), -1);
  EXPECT_EQ(skMemTNScan(nullptr, 3, 'a'), -1);
}

TEST(byteValues, UseTheirLowEightBits) {
  Byte bytes[] = {0x41, 0x41, 0x41};
  EXPECT_EQ(skMemScan(bytes, 3, 0xFFFFFF41), 0);
  EXPECT_EQ(skMemNScan(bytes, 3, 0xFFFFFF41), -1);
  EXPECT_EQ(skMemNot(0x100 + 0x41, bytes, 3), 1);
  skMemSet(bytes, 0x1242, 2);
  EXPECT_EQ(bytes[0], 0x42);
  EXPECT_EQ(bytes[1], 0x42);
  EXPECT_EQ(bytes[2], 0x41);
}

TEST(skMemCmp, ComparesBytesUnsigned) {
  EXPECT_EQ(skMemCmp("\x80", "\x7F", 1), 1);
  EXPECT_EQ(skMemCmp("\x7F", "\x80", 1), -1);
  EXPECT_EQ(skMemCmp("\x7F", "\x80", 0), 0);
  EXPECT_EQ(skMemCmp("abc", "abc", 3), 0);
}

std::int32_t compareUnits(RQChar a, RQChar b) {
  return skWMemCmp(&a, &b, 1);
}

TEST(skWMemCmp, DecidesByTheSignOfTheDifference) {
  EXPECT_EQ(compareUnits(0x90000000, 0x00000001), -1);
  EXPECT_EQ(compareUnits(0x7FFFFFFF, 0xFFFFFFFF), -1);
  EXPECT_EQ(compareUnits(0x80000000, 0), -1);
  EXPECT_EQ(compareUnits(0, 0x80000000), -1);
  EXPECT_EQ(compareUnits(0x10FFFF, 0x41), 1);
  EXPECT_EQ(compareUnits(0x41, 0x10FFFF), -1);
  EXPECT_EQ(skWMemCmp(nullptr, nullptr, 0), 0);
}

TEST(AsciiCase, ChangesTheLettersOfEveryByteValueOnly) {
  for (unsigned value = 0; value < 256; ++value) {
    for (const std::size_t n : Sizes{1, 2, 3, 4, 7, 8, 15, 16, 31, 32, 33, 64, 65, 200}) {
      std::string text(n, static_cast<char>(value)), up = text, low = text;
      skStrUp(up.data(), n);
      skStrLow(low.data(), n);
      const char upper = static_cast<char>(value >= 'a' && value <= 'z' ? value - 0x20 : value);
      const char lower = static_cast<char>(value >= 'A' && value <= 'Z' ? value + 0x20 : value);
      ASSERT_EQ(up, std::string(n, upper));
      ASSERT_EQ(low, std::string(n, lower));
    }
  }
}

TEST(AsciiCase, ChangesExactlyItsBytesInEveryShape) {
  GuardedBuffer pages(maxUnits + alignments), expected(maxUnits + alignments);
  Random random(7);
  for (const bool up : {true, false}) {
    forEachShape<Byte>(pages, [&](std::size_t n, std::size_t offset) {
      if (offset % 16 == 0)
        for (std::size_t i = 0; i < pages.size(); ++i) pages.begin()[i] = static_cast<Byte>(random());
      expected.copyFrom(pages);
      (up ? skStrUp : skStrLow)(pages.begin() + offset, n);
      (up ? twin::upperAscii : twin::lowerAscii)(expected.begin() + offset, n);
      ASSERT_TRUE(pages == expected) << n << " at " << offset;
    });
  }
}

TEST(skStrUp, LeavesBytesAboveAscii) {
  for (unsigned value = 0xE0; value <= 0xFE; ++value) {
    Byte byte = static_cast<Byte>(value);
    skStrUp(&byte, 1);
    EXPECT_EQ(byte, value);
  }
}

TEST(skStrLow, LeavesTheBracketBehindZ) {
  char text[] = "ABC[";
  skStrLow(text, 4);
  EXPECT_STREQ(text, "abc[");
}

TEST(skStrUp, DoesNotStopAtZero) {
  char text[] = {'a', '\0', 'b'};
  skStrUp(text, 3);
  EXPECT_EQ(text[0], 'A');
  EXPECT_EQ(text[2], 'B');
}

TEST(skMissArray, FindsANaNInTheLastElement) {
  double array[] = {1, 2, 3, 4, std::numeric_limits<double>::quiet_NaN()};
  EXPECT_EQ(skMissArray(array, 5), 1);
  EXPECT_EQ(skMissArray(array, 4), 0);
  EXPECT_EQ(skMissArray(array, 0), 0);
}

TEST(skMissArray, DoesNotTakeInfinitiesForMissing) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const double array[] = {infinity, -infinity, infinity, -infinity, 0.0, -0.0, std::numeric_limits<double>::max()};
  EXPECT_EQ(skMissArray(array, 7), 0);
}

/// Bit patterns around the border between infinities and NaNs, and their neighbours in other fields.
constexpr std::uint64_t doubles[] = {0x7FF0000000000000, 0xFFF0000000000000, 0x7FF0000000000001, 0xFFF0000000000001,
                                     0x7FF0000080000000, 0x7FF0000100000000, 0xFFF8000000000000, 0x7FFFFFFFFFFFFFFF,
                                     0xFFFFFFFFFFFFFFFF, 0x7FEFFFFFFFFFFFFF, 0xFFEFFFFFFFFFFFFF, 0x00000000FFFFFFFF,
                                     0x7FF00000FFFFFFFF, 0x7FF7FFFFFFFFFFFF, 0x0000000000000001, 0x8000000000000000};

TEST(skMissArray, RecognisesMissingByItsBits) {
  for (const std::uint64_t bits : doubles) {
    for (std::size_t n = 1; n <= 70; ++n) {
      std::vector<double> array(n, 1.5);
      array[n / 3] = std::bit_cast<double>(bits);
      ASSERT_EQ(skMissArray(array.data(), n), twin::isMissing(bits)) << std::hex << bits;
    }
  }
}

TEST(skMissArray, FindsTheOnlyOneInEveryShape) {
  GuardedBuffer pages((maxUnits + alignments) * 8);
  Random random(11);
  std::memset(pages.begin(), 0x7F, pages.size());  // NaNs all around: 0x7F7F... itself is a number
  forEachShape<std::uint64_t>(pages, [&](std::size_t n, std::size_t offset) {
    if (offset % 8 != 0) return;  // doubles are aligned
    auto* const p = reinterpret_cast<std::uint64_t*>(pages.begin() + offset);
    std::memset(pages.begin(), 0xFF, pages.size());
    std::memset(p, 0x7F, n * 8);
    ASSERT_EQ(skMissArray(reinterpret_cast<const double*>(p), n), 0) << n << " at " << offset;
    if (n == 0) return;
    p[below(random, n)] = doubles[below(random, std::size(doubles))];
    ASSERT_EQ(skMissArray(reinterpret_cast<const double*>(p), n), twin::hasMissing(p, n)) << n << " at " << offset;
  });
}

}  // namespace
}  // namespace rq::test
