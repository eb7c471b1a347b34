// What the kit offers only inside the library: copies up to a character, trimming, width.
#include <gtest/gtest.h>

#include <vector>

#include "frame/registration.h"
#include "kit/kit.h"
#include "tests/kit/buffers.h"
#include "tests/model/kit_twin.h"

/// The case routines, linked here without the frame, look for the host.
RQKernel* Exported_RQHandle = nullptr;

namespace rq::test {
namespace {

using twin::Byte;

/// From one guarded buffer to another, the routine and its twin side by side; all memory must agree.
template <class In, class Out>
class Transfer {
 public:
  explicit Transfer(std::uint64_t seed) : random(seed) {}

  GuardedBuffer source{(maxUnits + alignments) * sizeof(In)};
  GuardedBuffer pages{(maxUnits + alignments) * sizeof(Out)}, expected{pages.size()};
  Random random;

  /// make(p, n) writes the input; copy(in, n, out) and twinCopy(in, n, out) return the units copied.
  template <class Make, class Copy, class Twin>
  void check(Make make, Copy copy, Twin twinCopy) {
    forEachShape<In>(source, [&](std::size_t n, std::size_t offset) {
      if (n > 400 && (n + offset) % 4 != 0) return;
      auto* const in = reinterpret_cast<In*>(source.begin() + offset);
      make(in, n);
      const std::size_t to = n % 2 ? (offset * 13 + n) % alignments : pages.size() - n * sizeof(Out);
      std::memset(pages.begin(), 0x5A, pages.size());
      expected.copyFrom(pages);
      const std::uint64_t copied = copy(in, n, reinterpret_cast<Out*>(pages.begin() + to));
      ASSERT_EQ(copied, twinCopy(in, n, reinterpret_cast<Out*>(expected.begin() + to))) << n << " at " << offset;
      ASSERT_TRUE(pages == expected) << n << " from " << offset << " to " << to;
    });
  }
};

template <class U>
void checkPairs(U first, U second, U keep, unsigned oneIn) {
  Transfer<U, U> transfer(oneIn);
  Random& random = transfer.random;
  transfer.check(
      [&](U* p, std::size_t n) {
        // Firsts and seconds alone are common; a pair comes up now and then.
        for (std::size_t i = 0; i < n; ++i) {
          const std::uint64_t kind = below(random, oneIn);
          twin::set(p, i, kind == 0 ? first : kind == 1 ? second : static_cast<U>(random() | 1));
        }
      },
      [=](const U* in, std::uint64_t n, U* out) { return kit::copyUntilPair(in, n, out, first, second, keep); },
      [=](const U* in, std::uint64_t n, U* out) { return twin::copyUntilPair(in, n, out, first, second, keep); });
}

TEST(copyUntilPair, OfBytesInEveryShape) {
  checkPairs<Byte>('&', '#', 0xFF, 8);
  checkPairs<Byte>('&', '#', 0xFF, 40);
  checkPairs<Byte>('\\', 'U', 0xDF, 60);
  checkPairs<Byte>('<', 'U', 0xFF, 1000);
  checkPairs<Byte>('&', 0, 0xFF, 20);  // zero is no terminator
  checkPairs<Byte>('&', '&', 0xFF, 30);
}
TEST(copyUntilPair, OfUnitsInEveryShape) {
  checkPairs<RQChar>('&', '#', 0xFFFFFFFF, 8);
  checkPairs<RQChar>('\\', 'U', 0xFFFFFFDF, 40);
  checkPairs<RQChar>('<', 'U', 0xFFFFFFFF, 1000);
  checkPairs<RQChar>('&', 0, 0xFFFFFFFF, 20);
}

TEST(copyUntilPair, FindsEveryPosition) {
  for (std::size_t n = 0; n <= 300; ++n) {
    std::vector<Byte> in(n, 'x'), out(n + 1);
    for (std::size_t i = 0; i < n; ++i) {
      in[i] = '&';
      // As the last unit, '&' is copied; elsewhere only what follows makes the pair.
      EXPECT_EQ(kit::copyUntilPair(in.data(), n, out.data(), '&', '#', 0xFF), n);
      if (i + 1 < n) {
        in[i + 1] = '#';
        ASSERT_EQ(kit::copyUntilPair(in.data(), n, out.data(), '&', '#', 0xFF), i);
        in[i + 1] = 'x';
      }
      in[i] = 'x';
    }
  }
}

template <class In, class Out>
void checkStops(In stop, In bound, unsigned oneIn) {
  Transfer<In, Out> transfer(oneIn + bound);
  Random& random = transfer.random;
  transfer.check(
      [&](In* p, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
          const std::uint64_t kind = below(random, oneIn);
          const auto any = static_cast<In>(random());
          twin::set(p, i, kind == 0 ? stop : kind == 1 ? any : static_cast<In>(below(random, bound)));
        }
      },
      [=](const In* in, std::uint64_t n, Out* out) { return kit::copyWhileBelow(in, n, out, stop, bound); },
      [=](const In* in, std::uint64_t n, Out* out) { return twin::copyWhileBelow(in, n, out, stop, bound); });
}

TEST(copyWhileBelow, InEveryShape) {
  checkStops<Byte, Byte>('\\', 0x7F, 30);
  checkStops<Byte, Byte>('&', 0x81, 500);
  checkStops<Byte, Byte>(0, 0xFF, 4000);
  checkStops<RQChar, RQChar>('\\', 0x7F, 30);
  checkStops<RQChar, RQChar>('&', 0x80000001, 500);
  checkStops<RQChar, Byte>('\\', 0x7F, 30);
  checkStops<RQChar, Byte>('&', 0x80, 500);
  checkStops<RQChar, Byte>(0xFFFFFFFF, 0x100, 4000);
}

TEST(copyMembers, InEveryShape) {
  kit::AsciiSet letters;
  for (std::uint32_t c = 'a'; c <= 'z'; ++c) letters.add(c);
  letters.add(0);
  letters.add(0x7F);
  Transfer<Byte, Byte> transfer(6);
  transfer.check(
      [&](Byte* p, std::size_t n) {
        const std::uint64_t oneIn = 1 + transfer.random() % 2000;
        for (std::size_t i = 0; i < n; ++i)
          p[i] = transfer.random() % oneIn == 0 ? static_cast<Byte>(transfer.random())
                                                : static_cast<Byte>('a' + transfer.random() % 26);
      },
      [&](const Byte* in, std::uint64_t n, Byte* out) { return kit::copyMembers(in, n, out, letters); },
      [](const Byte* in, std::uint64_t n, Byte* out) {
        std::uint64_t i = 0;
        for (; i < n && ((in[i] >= 'a' && in[i] <= 'z') || in[i] == 0 || in[i] == 0x7F); ++i) out[i] = in[i];
        return i;
      });
}

template <class Out>
void checkMemberBlocks() {
  kit::AsciiSet letters;
  for (std::uint32_t c = 'a'; c <= 'z'; ++c) letters.add(c);
  Transfer<RQChar, Out> transfer(8);
  transfer.check(
      [&](RQChar* p, std::size_t n) {
        const std::uint64_t oneIn = 1 + transfer.random() % 2000;
        for (std::size_t i = 0; i < n; ++i)
          twin::set(
              p, i,
              static_cast<RQChar>(transfer.random() % oneIn ? 'a' + transfer.random() % 26 : transfer.random()));
      },
      [&](const RQChar* in, std::uint64_t n, Out* out) { return kit::copyMemberBlocks(in, n, out, letters); },
      [&](const RQChar* in, std::uint64_t n, Out* out) {
        std::uint64_t i = 0;
        while (i < n && letters.has(twin::get(in, i))) ++i;
        i -= i % kit::memberBlock;
        for (std::uint64_t k = 0; k < i; ++k) twin::set(out, k, static_cast<Out>(twin::get(in, k)));
        return i;
      });
}

TEST(copyMemberBlocks, InEveryShape) {
  checkMemberBlocks<RQChar>();
  checkMemberBlocks<Byte>();
}

// Characters at every distance from a limit of a byte, a half-word and the sign, among others.
TEST(narrowMembers, TellsEveryCharacterInEveryPlace) {
  kit::AsciiSet set;
  for (const std::uint32_t c : {U'\0', U' ', U'A', U'~', U'\x7F'}) set.add(c);
  std::vector<RQChar> characters = {0xFFFFFFFF, 0xFFFFFF41, 0x80000000, 0x80000041, 0x7FFFFFFF, 0x10000, 0x10041};
  for (RQChar c = 0; c < 0x300; ++c) characters.push_back(c);
  for (const RQChar limit : {0x7FFFU, 0x8041U, 0xFFFFU, 0xFF41U}) characters.push_back(limit);
  RQChar block[kit::memberBlock];
  for (const RQChar c : characters)
    for (std::uint64_t place = 0; place < kit::memberBlock; ++place) {
      std::fill(std::begin(block), std::end(block), place % 2 ? U'A' : U'\u00E9');
      block[place] = c;
      Byte out[kit::memberBlock];
      const std::uint64_t bits = kit::narrowMembers(block, out, set);
      for (std::uint64_t i = 0; i < kit::memberBlock; ++i) {
        ASSERT_EQ(bits >> i & 1, set.has(block[i])) << c << " at " << place;
        ASSERT_EQ(out[i], std::min<RQChar>(block[i], 0xFF)) << c << " at " << place;
      }
    }
}

TEST(AsciiSet, HoldsWhatWasAddedForEveryByte) {
  for (std::uint32_t c = 0; c < 0x80; ++c) {
    kit::AsciiSet one;
    one.add(c);
    for (std::uint32_t other = 0; other < 0x100; ++other) {
      const auto byte = static_cast<Byte>(other);
      Byte block[64], copy[64];
      std::fill(std::begin(block), std::end(block), byte);
      for (const std::uint64_t n : {1U, 16U, 17U, 31U, 32U, 64U})
        EXPECT_EQ(kit::copyMembers(block, n, copy, one), other == c ? n : 0) << c << ' ' << other;
      EXPECT_EQ(one.has(other), other == c);
    }
  }
}

/// A search over text of one guarded buffer against its twin.
template <class U, class Make, class Search, class Twin>
void checkSearch(Make make, Search search, Twin twinSearch) {
  GuardedBuffer pages((maxUnits + alignments) * sizeof(U));
  Random random(77);
  for (std::size_t i = 0; i < pages.size(); ++i) pages.begin()[i] = static_cast<Byte>(random());
  forEachShape<U>(pages, [&](std::size_t n, std::size_t offset) {
    auto* const p = reinterpret_cast<U*>(pages.begin() + offset);
    make(p, n, random);
    ASSERT_EQ(search(p, n), twinSearch(p, n)) << n << " at " << offset;
  });
}

template <class U>
void checkAsciiPrefix() {
  checkSearch<U>(
      [](U* p, std::size_t n, Random& random) {
        for (std::size_t i = 0; i < n; ++i) twin::set(p, i, static_cast<U>(random() & 0x7F));
        if (n > 0 && random() % 4)
          twin::set(p, below(random, n), static_cast<U>(random() % 2 ? U{0x80} : static_cast<U>(~U{0})));
      },
      [](const U* p, std::size_t n) { return kit::asciiPrefix(p, n); }, twin::asciiPrefix<U>);
}
TEST(asciiPrefix, InEveryShape) {
  checkAsciiPrefix<Byte>();
  checkAsciiPrefix<RQChar>();
}

/// Searches of more bytes than the widest vectors are used for, with the only hit at `hit`; at n there is none.
template <class U>
void checkLongSearches(std::uint64_t n, std::uint64_t hit) {
  std::vector<U> text(n + 1, U{'a'}), other(n + 1, U{'a'});
  if (hit < n) text[hit] = U{';'};
  text[n] = 0;  // ends the string
  const std::int64_t expected = hit < n ? static_cast<std::int64_t>(hit) : -1;
  EXPECT_EQ(kit::findFirst(text.data(), n, ';'), expected);
  EXPECT_EQ(kit::findNot(text.data(), n, 'a'), expected);
  EXPECT_EQ(kit::mismatch(text.data(), other.data(), n), expected);
  EXPECT_EQ(kit::compare(text.data(), other.data(), n), hit < n ? -1 : 0);
  EXPECT_EQ(kit::allEqual('a', text.data(), n), hit >= n);
  EXPECT_EQ(kit::length(text.data()), n);
  if (hit < n) text[hit] = 0;
  EXPECT_EQ(kit::length(text.data()), hit);
}
TEST(LongSearches, FindEveryPlace) {
  for (const std::uint64_t bytes :
       {std::uint64_t{4} << 20, (std::uint64_t{4} << 20) + 4, (std::uint64_t{5} << 20) + 300})
    for (const std::uint64_t distance : {0U, 1U, 2U, 63U, 64U, 65U, 300U}) {
      checkLongSearches<Byte>(bytes, distance);
      checkLongSearches<Byte>(bytes, bytes - distance);
      checkLongSearches<RQChar>(bytes / 4, distance);
      checkLongSearches<RQChar>(bytes / 4, bytes / 4 - distance);
    }
}
TEST(LongSearches, FindEveryNaN) {
  constexpr std::uint64_t n = (std::uint64_t{5} << 17) + 3, nan = 0x7FF0000000000001, infinity = 0x7FF0000000000000;
  std::vector<std::uint64_t> array(n, infinity);
  EXPECT_EQ(kit::anyNaN(array.data(), n), 0);
  for (const std::uint64_t place : {std::uint64_t{0}, n / 2, n - 1}) {
    array[place] = nan;
    EXPECT_EQ(kit::anyNaN(array.data(), n), 1);
    EXPECT_EQ(kit::anyNaN(array.data(), place), 0);
    array[place] = infinity;
  }
}

TEST(trimBlanks, InEveryShape) {
  checkSearch<RQChar>(
      [](RQChar* p, std::size_t n, Random& random) {
        twin::fill(p, RQChar{0x20}, n);
        if (n > 0 && random() % 8) twin::set(p, below(random, n), static_cast<RQChar>(random() % 2 ? 0x3000 : 0x9));
      },
      kit::trimBlanks, twin::trimBlanks);
}

TEST(countWide, InEveryShape) {
  checkSearch<RQChar>(
      [](RQChar* p, std::size_t n, Random& random) {
        constexpr RQChar starts[] = {0x20,   0x20,   0x400,  0x1100,  0x2FF0, 0x30F0,
                                     0x4E00, 0xD7A0, 0xFF50, 0x1F600, 0x2F800};
        RQChar start = 0;
        for (std::size_t i = 0; i < n; ++i) {
          if (i % 16 == 0) start = starts[below(random, n % 2 ? std::size(starts) : 3)];
          twin::set(p, i,
                    random() % 200 ? start + static_cast<RQChar>(random() % 64) : static_cast<RQChar>(random()));
        }
      },
      kit::countWide, twin::countWide);
}

TEST(countWide, KnowsEveryCharacterAlone) {
  for (RQChar c = 0; c < 0x110000; ++c) ASSERT_EQ(kit::countWide(&c, 1), twin::isWide(c)) << std::hex << c;
}
TEST(countWide, KnowsEveryCharacterInABlock) {
  std::vector<RQChar> block(128);
  for (RQChar start = 0; start < 0x110000; start += 128) {
    for (RQChar i = 0; i < 128; ++i) block[i] = start + i;
    ASSERT_EQ(kit::countWide(block.data(), 128), twin::countWide(block.data(), 128)) << std::hex << start;
    for (RQChar i = 0; i < 128; i += 2) block[i] = 0x20;
    ASSERT_EQ(kit::countWide(block.data(), 128), twin::countWide(block.data(), 128)) << std::hex << start;
    for (RQChar i = 0; i < 128; i += 2) block[i] = 0x20000 + i;
    ASSERT_EQ(kit::countWide(block.data(), 128), twin::countWide(block.data(), 128)) << std::hex << start;
  }
}
TEST(countWide, TakesAnyThirtyTwoBits) {
  Random random(31);
  std::vector<RQChar> text(64);
  for (int round = 0; round < 20000; ++round) {
    for (RQChar& c : text) c = static_cast<RQChar>(random() >> (round % 32));
    ASSERT_EQ(kit::countWide(text.data(), text.size()), twin::countWide(text.data(), text.size()));
  }
}

}  // namespace
}  // namespace rq::test
