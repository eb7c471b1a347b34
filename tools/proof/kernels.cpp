// Proves the kernels of one instruction set: compiled with RQ_VECTOR=Vector16, Vector32 or Vector64, RQ_COPIER for
// the vector that copies, and the compiler's options for that set. Each claim compares what the library's own
// templates compute with a definition, for every content of the buffers; lengths and places of buffers are tried one
// by one.
#include <numeric>
#include <type_traits>

#include "symbolic/begin.h"

#include "kit/simd/case.h"
#include "kit/simd/copy_until.h"
#include "kit/simd/vector64.h"
#include "kit/simd/width.h"

namespace rq::proof {
namespace {

using namespace kit::simd;
using kit::AsciiSet;

using U8 = Word<unsigned char>;
using U16 = Word<unsigned short>;
using U32 = Word<unsigned>;
using U64 = Word<unsigned long>;
using Bytes = RQ_VECTOR<unsigned char>;
using Copier = RQ_COPIER<unsigned char>;
using Units = RQ_VECTOR<RQChar>;
using Doubles = RQ_VECTOR<std::uint64_t>;
template <class V>
using Unit = typename V::Lane;  // as it lies in memory
template <class V>
using Number = Word<Value<Unit<V>>>;  // as it is computed with

void prove(const std::string& name, const std::function<void()>& body) {
  Prover::get().prove(name, 1, [&](std::size_t) { body(); });
}
/// `body` for each element of a list.
template <class T, class Body>
void proveEach(const std::string& name, const std::vector<T>& list, const Body& body) {
  Prover::get().prove(name, list.size(), [&](std::size_t i) { body(list[i]); });
}

/// With the argument --all.
bool everyLength = false;

std::vector<std::size_t> from0To(std::size_t count) {
  std::vector<std::size_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}
/// The lanes that are tried of a vector where each takes long: without --all the outer ones.
std::vector<std::size_t> lanesTried(std::size_t lanes) {
  if (everyLength) return from0To(lanes);
  return {0, lanes - 1};
}

// --- Buffers.

template <class U>
Word<Value<U>> anyNumber(const char* name, std::size_t i) {
  return Word<Value<U>>::any(name + std::to_string(i));
}
/// A buffer of `n` units that may hold anything.
template <class U>
U* anyText(const char* name, std::size_t n, std::size_t offset = 0) {
  auto* const text = reinterpret_cast<U*>(Memory::get().buffer(n * sizeof(U), offset));
  for (std::size_t i = 0; i < n; ++i) store(text + i, anyNumber<U>(name, i));
  return text;
}
template <class U>
U* emptyBuffer(std::size_t n, std::size_t offset = 0) {
  return reinterpret_cast<U*>(Memory::get().buffer(n * sizeof(U), offset));
}
/// One vector that may hold anything.
template <class V>
V anyVector(const char* name) {
  return V::load(anyText<Unit<V>>(name, V::lanes.value()));
}
/// Its lanes, in order.
template <class V>
std::vector<Number<V>> lanesOf(V v) {
  std::vector<Number<V>> lanes;
  for (std::size_t i = 0; i < V::lanes.value(); ++i) lanes.push_back(v.v.template lane<Value<Unit<V>>>(i));
  return lanes;
}

// --- Formulas of single lanes.

/// A mask selects the lanes for which `rule(i)` holds.
template <class Mask, class Rule>
void claimMask(const Mask& mask, std::size_t lanes, Rule rule, const char* what) {
  const U64 bits = mask.bits();
  for (std::size_t i = 0; i < lanes; ++i) claim(bitAt(bits, static_cast<unsigned>(i)) == rule(i), what);
  if (lanes < 64) claim(bits >> lanes == 0, "no bit beyond the lanes");
}

/// Whether a mask of 16-bit lanes selects lane i.
template <std::size_t size>
Word<bool> selects(const Vector<size>& mask, std::size_t i) {
  return mask.template lane<unsigned short>(i) == 0xFFFF;
}
Word<bool> selects(U64 mask, std::size_t i) {
  return bitAt(mask, static_cast<unsigned>(i));
}

template <class V>
void proveLanes(const std::string& name) {
  const std::size_t lanes = V::lanes.value();
  prove(name + ": comparisons", [=] {
    const V a = anyVector<V>("a"), b = anyVector<V>("b");
    const auto x = lanesOf(a), y = lanesOf(b);
    claimMask(
        V::equal(a, b), lanes, [&](std::size_t i) { return x[i] == y[i]; }, "equal");
    claimMask(
        V::lessEqual(a, b), lanes, [&](std::size_t i) { return x[i] <= y[i]; }, "lessEqual, unsigned");
    if constexpr (requires { V::notEqual(a, b); })
      claimMask(
          V::notEqual(a, b), lanes, [&](std::size_t i) { return x[i] != y[i]; }, "notEqual");
    claimMask(
        a.nonZero(), lanes, [&](std::size_t i) { return x[i] != 0; }, "nonZero");
    claimMask(
        V::equal(a, b) | V::lessEqual(b, a), lanes, [&](std::size_t i) { return x[i] >= y[i]; }, "or of masks");
    claimMask(
        ~V::equal(a, b) & a.nonZero(), lanes, [&](std::size_t i) { return both(x[i] != y[i], x[i] != 0); },
        "and of masks, and their complement");
    const auto chosen = lanesOf(V::selectOrZero(V::lessEqual(a, b), a));
    const auto sum = lanesOf(a + b), difference = lanesOf(a ^ b);
    for (std::size_t i = 0; i < lanes; ++i) {
      claim(chosen[i] == select(x[i] <= y[i], x[i], 0), "selectOrZero");
      claim(sum[i] == Number<V>(x[i] + y[i]), "the sum");
      claim((difference[i] != 0) == (x[i] != y[i]), "a difference is not zero");
    }
  });
  prove(name + ": whether a mask selects any lane, and how many", [=] {
    const auto mask = anyVector<V>("a").nonZero();
    const U64 bits = mask.bits();
    claim(U64(mask.count()) == U64(countOnes(bits)), "count");
    claim(Word<bool>(mask.any()) == (bits != 0), "any");
  });
  prove(name + ": is any lane of four vectors zero", [=] {
    const V a = anyVector<V>("a"), b = anyVector<V>("b"), c = anyVector<V>("c"), d = anyVector<V>("d");
    Word<bool> zero = false;
    for (const V& v : {a, b, c, d})
      for (const auto& lane : lanesOf(v)) zero = either(zero, lane == 0);
    claim(Word<bool>(V::anyZero(a, b, c, d)) == zero, "anyZero");
  });
}

/// Of vectors that a case map looks through as they are.
template <class V>
void proveFirstSelected() {
  prove("units: the first selected lane", [] {
    const V v = anyVector<V>("a");
    U32 first = 0;
    const auto x = lanesOf(v);
    for (std::size_t i = x.size(); i-- > 0;) first = select(x[i] != 0, x[i], first);
    assume(first != 0);
    claim(v.firstSelected(v.nonZero()) == first, "firstSelected");
  });
}

/// Of vectors that a case map takes apart into halves.
template <class V>
void proveHalves() {
  using H = decltype(V::lowHalves(V{}, V{}));
  static constexpr std::size_t lanes = H::lanes.value();
  prove("units: halves of two vectors, and joined again", [] {
    const V a = anyVector<V>("a"), b = anyVector<V>("b");
    const auto x = lanesOf(a), y = lanesOf(b);
    const H low = V::lowHalves(a, b), high = V::highHalves(a, b);
    const auto lows = lanesOf(low), highs = lanesOf(high);
    for (std::size_t i = 0; i < lanes; ++i) {  // in each 16 bytes the lanes of a, then those of b
      const U32 character = (i / 4 % 2 == 0 ? x : y)[i / 8 * 4 + i % 4];
      claim(U32(lows[i]) == (character & 0xFFFF), "lowHalves");
      claim(U32(highs[i]) == character >> 16, "highHalves");
    }
    V joinedA, joinedB;
    V::join(low, high, joinedA, joinedB);
    for (std::size_t i = 0; i < x.size(); ++i) {
      claim(lanesOf(joinedA)[i] == x[i], "the first joined again");
      claim(lanesOf(joinedB)[i] == y[i], "the second joined again");
    }
  });
  proveEach("halves: the first selected lane, of lanes that differ", from0To(lanes), [](std::size_t place) {
    typename H::Lane text[lanes];
    for (std::size_t i = 0; i < lanes; ++i) text[i] = static_cast<typename H::Lane>(0xFFF0 - 0x701 * i);
    const U64 any = U64::any("mask");
    const U64 mask = wordOfBits(lanes, [=](std::size_t i) {
      return i > place ? bitAt(any, static_cast<unsigned>(i)) : Word<bool>(i == place);
    });
    claim(H::load(text).firstSelected({mask}) == text[place], "firstSelected");
  });
  proveEach("halves: a table of 128 entries", lanesTried(lanes), [](std::size_t i) {
    const auto* const table = anyText<typename H::Lane>("entry", 128);
    const H index = anyVector<H>("index");
    const typename H::Mask mask{U64(U32::any("mask"))};
    const U16 place = lanesOf(index)[i] & 127;
    U16 entry = 0;
    for (unsigned k = 0; k < 128; ++k) entry = select(place == k, loadWord<unsigned short>(table + k), entry);
    claim(lanesOf(H::lookUp128(table, index, mask))[i] == select(selects(mask.v, i), entry, 0), "lookUp128");
  });
  const std::vector<const kit::CaseMap*> maps = {&kit::toUpper, &kit::toLower, &kit::toSmallest, &kit::toLargest};
  proveEach("halves: characters that need the table of each case map, and its letters", maps, [](const auto* map) {
    const H v = anyVector<H>("a");
    const auto x = lanesOf(v);
    claimMask(
        MapCase{*map}.tabledHalves(v), lanes,
        [&](std::size_t i) {
          const U32 c = x[i];
          return both(c > map->asciiLast, either(c < map->gapFirst, c >= map->gapEnd));
        },
        "tabledHalves");
    claimMask(
        MapCase{*map}.letterHalves(v), lanes,
        [&](std::size_t i) {
          const U32 c = x[i];
          return both(c >= map->asciiFirst, c < map->asciiFirst + 26);
        },
        "letterHalves");
  });
}

template <class V>
void proveCaseVectors() {
  if constexpr (V::fastLookUp128)
    proveHalves<V>();
  else
    proveFirstSelected<V>();
}

void proveFormulas() {
  proveLanes<Bytes>("bytes");
  proveLanes<Units>("units");
  prove("bytes: ASCII letters change their case", [] {
    const Bytes v = anyVector<Bytes>("a");
    const auto x = lanesOf(v), upper = lanesOf(FlipAscii<unsigned char, 'a'>{}(v)),
               lower = lanesOf(FlipAscii<unsigned char, 'A'>{}(v));
    for (std::size_t i = 0; i < x.size(); ++i) {
      claim(upper[i] == select(both(x[i] >= 'a', x[i] <= 'z'), U8(x[i] - 32), x[i]), "upper case");
      claim(lower[i] == select(both(x[i] >= 'A', x[i] <= 'Z'), U8(x[i] + 32), x[i]), "lower case");
    }
  });
#ifdef __SSSE3__
  prove("bytes: membership in any ASCII set", [] {
    const Copier v = anyVector<Copier>("a");
    auto* const set = reinterpret_cast<AsciiSet*>(anyText<unsigned char>("row", sizeof(AsciiSet)));
    const auto x = lanesOf(v);
    const auto isMember = [&](std::size_t i) {
      Word<bool> member = false;
      for (unsigned c = 0; c < 0x80; ++c)
        member =
            either(member, both(x[i] == c, (loadWord<unsigned char>(set->rows + (c & 15)) >> (c >> 4) & 1) != 0));
      return member;
    };
    claimMask(v.isIn(*set), x.size(), isMember, "isIn");
  });
#endif
  prove("units: wide characters in all intervals, and below U+10000 in 16 bits", [] {
    const Units a = anyVector<Units>("a"), b = anyVector<Units>("b");
    const auto x = lanesOf(a), y = lanesOf(b);
    const auto isWide = [](U32 c) {
      Word<bool> wide = false;
      for (const auto& range : wideRanges) wide = either(wide, both(c >= range.first, c <= range.last));
      return wide;
    };
    claimMask(
        inAll(a), x.size(), [&](std::size_t i) { return isWide(x[i]); }, "32 bits");
    const auto halves = Units::narrow(a, b);
    const auto wide = inPlane0(halves);
    for (std::size_t i = 0; i < 2 * x.size(); ++i) {  // in each 16 bytes the lanes of a, then those of b
      const U32 character = ((i / 4 % 2 == 0 ? x : y)[i / 8 * 4 + i % 4]) & 0xFFFF;
      claim(U32(halves.v.template lane<unsigned short>(i)) == character, "narrow");
      claim(selects(wide.v, i) == isWide(character), "16 bits");
    }
  });
  prove("units: rows below U+10000 that are wide as a whole", [] {
    const Units texts[] = {anyVector<Units>("a"), anyVector<Units>("b"), anyVector<Units>("c"),
                           anyVector<Units>("d")};
    const auto rows = Units::highBytes(texts[0], texts[1], texts[2], texts[3]);
    const U64 whole = inIntervals<wholeRows, 0, wholeRows.count>(rows).bits();
    for (std::size_t i = 0; i < Bytes::lanes.value(); ++i) {  // in each 16 bytes four lanes of each text
      const U32 character = lanesOf(texts[i / 4 % 4])[i / 16 * 4 + i % 4];
      assume(character < firstOfPlane1);
      Word<bool> isPart = false, isWide = false;
      for (const auto row : wideRows.part) isPart = either(isPart, both(row != 0, character >> 8 == row));
      for (const auto& range : wideRanges)
        isWide = either(isWide, both(character >= range.first, character <= range.last));
      claim(U32(rows.v.template lane<unsigned char>(i)) == character >> 8, "highBytes");
      claim(either(isPart, bitAt(whole, static_cast<unsigned>(i)) == isWide), "whole rows");
    }
  });
  proveEach(
      "units: characters of a case map that need its table, and ASCII without it", lanesTried(Units::lanes.value()),
      [](std::size_t lane) {
        const U32 asciiLast = U32::any("asciiLast"), gapFirst = U32::any("gapFirst"), gapEnd = U32::any("gapEnd");
        assume(asciiLast < 0x80);
        assume(both(asciiLast + 1 < gapFirst, both(gapFirst <= gapEnd, gapEnd <= 0xFFFF)));
        const MapCase map{
            {.gapFirst = gapFirst, .gapEnd = gapEnd, .asciiFirst = 'a', .asciiFlip = 0x20, .asciiLast = asciiLast}};
        const Units v = anyVector<Units>("a");
        const U32 c = lanesOf(v)[lane];
        const Word<bool> isTabled = both(both(c > asciiLast, c <= 0xFFFF), either(c < gapFirst, c >= gapEnd));
        const U64 tabled = map.tabled(v).bits();
        claim(selects(tabled, lane) == isTabled, "tabled");
        claim(tabled >> Units::lanes.value() == 0, "no bit beyond the lanes");
        claim(lanesOf(map.ascii(v))[lane] == select(both(c >= 'a', c <= 'z'), c - 32, c), "ascii");
      });
  prove("units: a block and a place in it are a character's quotient and remainder", [] {
    const Units v = anyVector<Units>("a");
    const auto x = lanesOf(v), blocks = lanesOf(MapCase::blockOf(v)), places = lanesOf(MapCase::placeOf(v));
    for (std::size_t i = 0; i < x.size(); ++i) {
      claim(blocks[i] == x[i] / kit::blockSize, "blockOf");
      claim(places[i] == x[i] % kit::blockSize, "placeOf");
    }
  });
  prove("units: the low byte of each lane", [] {
    const Units v = anyVector<Units>("a");
    for (const auto& lane : lanesOf(v)) assume(lane < 0x100);
    auto* const out = emptyBuffer<unsigned char>(Units::lanes.value());
    v.storeNarrow(out);
    for (std::size_t i = 0; i < Units::lanes.value(); ++i)
      claim(U32(loadWord<unsigned char>(out + i)) == lanesOf(v)[i], "storeNarrow");
  });
  proveCaseVectors<Units>();
  prove("doubles: NaN", [] {
    const Doubles v = anyVector<Doubles>("a");
    const auto x = lanesOf(v);
    claimMask(
        v.isNaN(), x.size(),
        [&](std::size_t i) { return both((x[i] >> 52 & 0x7FF) == 0x7FF, (x[i] & 0xFFFFFFFFFFFFF) != 0); },
        "an exponent of ones and a fraction that is not zero");
  });
  prove("words: the lowest bits, the first and the last bit, their number", [] {
    const U64 x = U64::any("x"), n = U64::any("n");
    assume(both(n <= 64, x != 0));
    U64 low = 0, first = 0, last = 0;
    for (unsigned i = 64; i-- > 0;) first = select(bitAt(x, i), U64(i), first);
    for (unsigned i = 0; i < 64; ++i) {
      low |= select(U64(i) < n, 1UL << i, 0UL);
      last = select(bitAt(x, i), U64(i), last);
    }
    claim(lowBits(n) == low, "lowBits");
    claim(firstBit(x) == first, "firstBit");
    claim(lastBit(x) == last, "lastBit");
  });
  proveEach("words: the number of bits of either half", std::vector<unsigned>{0, 32}, [](unsigned place) {
    const U64 x = U64(U32::any("x")) << place;
    claim(countBits(x) == U64(countOnes(x)), "countBits");
  });
}

// --- Searches.

/// The index of the first unit of a buffer for which `rule` holds, or -1.
template <class U, class Rule>
Word<long> firstIndex(const U* text, std::size_t n, Rule rule) {
  Word<long> index = -1;
  for (std::size_t i = n; i-- > 0;) index = select(rule(i), static_cast<long>(i), index);
  return index;
}

/// The lengths that are tried: of the short kernels all, or those where another way begins; of the long ones some on
/// both sides of a vector's end.
template <class V>
std::vector<std::size_t> lengths(bool longOnes) {
  std::vector<std::size_t> some;
  const std::size_t most = 64 / sizeof(Unit<V>), lanes = V::lanes.value();
  for (std::size_t n = 1; !longOnes && n <= most; ++n) {
    const bool isEdge =
        n % 16 <= 1 || n == most || n == 2 || n == 3 || n == 4 || n == 7 || n == 8 || n == 9 || n == 15;
    if (everyLength || isEdge) some.push_back(n);
  }
  if (longOnes && everyLength) {
    for (std::size_t n : {most + 1, 4 * lanes, 4 * lanes + 1, 5 * lanes - 1, 5 * lanes + 2, 9 * lanes + 3})
      if (n > most) some.push_back(n);
  } else if (longOnes) {
    some = {most + 1};
  }
  return some;
}

template <class V>
void proveSearches(const std::string& name, Number<V> needle) {
  using U = Unit<V>;
  for (const bool isLong : {false, true}) {
    const std::string which = name + (isLong ? ", some longer than 64 bytes: " : ", 1 to 64 bytes: ");
    const std::vector<std::size_t> all = lengths<V>(isLong);
    const auto text = [=](const char* name, std::size_t n) {
      return anyText<U>(name, n, isLong ? n % 7 * sizeof(U) : 0);
    };
    proveEach(which + "the first unit that equals the one sought", all, [=](std::size_t n) {
      const U* const p = text("t", n);
      const auto equals = [&](std::size_t i) { return load<U>(p + i) == needle; };
      claim((isLong ? findFirstLong<V> : findFirstShort<V>)(p, n, needle) == firstIndex(p, n, equals), "findFirst");
    });
    proveEach(which + "the first unit that differs", all, [=](std::size_t n) {
      const U* const p = text("t", n);
      const auto differs = [&](std::size_t i) { return load<U>(p + i) != needle; };
      claim((isLong ? findNotLong<V> : findNotShort<V>)(p, n, needle) == firstIndex(p, n, differs), "findNot");
    });
    proveEach(which + "whether all units are the same", all, [=](std::size_t n) {
      const U* const p = text("t", n);
      const auto differs = [&](std::size_t i) { return load<U>(p + i) != needle; };
      claim(((isLong ? allEqualLong<V> : allEqualShort<V>)(needle, p, n) != 0) == (firstIndex(p, n, differs) == -1),
            "allEqual");
    });
    proveEach(which + "the first difference of two texts", all, [=](std::size_t n) {
      const U *const a = text("a", n), *const b = anyText<U>("b", n);
      const auto differs = [&](std::size_t i) { return load<U>(a + i) != load<U>(b + i); };
      claim(mismatch<V>(a, b, n) == firstIndex(a, n, differs), "mismatch");
    });
    proveEach(which + "the units before the first that is not ASCII", all, [=](std::size_t n) {
      const U* const p = text("t", n);
      const Word<long> first = firstIndex(p, n, [&](std::size_t i) { return load<U>(p + i) >= 0x80; });
      claim(asciiPrefix<V>(p, n) == select(first == -1, static_cast<long>(n), first), "asciiPrefix");
    });
    proveEach(which + "the units without those at the end that are the same", all, [=](std::size_t n) {
      const U* const p = text("t", n);
      U64 end = 0;
      for (std::size_t i = 0; i < n; ++i) end = select(load<U>(p + i) != needle, U64(i + 1), end);
      claim(trim<V>(p, n, U(needle)) == end, "trim");
    });
  }
}

// --- Copies.

/// Claims that a buffer holds expected(i) at each place.
template <class Expected>
void claimBytes(const unsigned char* text, std::size_t n, Expected expected, const char* what) {
  for (std::size_t i = 0; i < n; ++i) claim(loadWord<unsigned char>(text + i) == expected(i), what);
}

void proveCopies() {
  std::vector<std::size_t> sizes;
  for (std::size_t n = 1; n <= 300; ++n)
    if (everyLength || n <= 33 || n % 32 <= 1 || n % 64 == 63) sizes.push_back(n);
  const auto any = [](std::size_t i) { return anyNumber<unsigned char>("t", i); };
  proveEach("bytes: a copy to another buffer", sizes, [=](std::size_t n) {
    const auto* const from = anyText<unsigned char>("t", n, n % 5);
    auto* const to = emptyBuffer<unsigned char>(n, n % 61);
    copyForward<Copier, RQ_VECTOR>(from, to, n);
    claimBytes(to, n, any, "copyForward");
  });
  const auto copy = [](const unsigned char* from, unsigned char* to, std::size_t n) {
    n <= 64 ? moveUpTo64(from, to, n) : copySafe<Copier>(from, to, n);
  };
  for (const std::size_t distance : {1, 7, 40}) {
    proveEach(
        "bytes: a copy up by " + std::to_string(distance) + " as through another buffer", sizes, [=](std::size_t n) {
          auto* const text = anyText<unsigned char>("t", n + distance);
          copy(text, text + distance, n);
          claimBytes(
              text, n + distance, [&](std::size_t i) { return any(i < distance ? i : i - distance); }, "copySafe");
        });
    proveEach("bytes: a copy down by " + std::to_string(distance), sizes, [=](std::size_t n) {
      auto* const text = anyText<unsigned char>("t", n + distance);
      copy(text + distance, text, n);
      claimBytes(
          text, n + distance, [&](std::size_t i) { return any(i < n ? i + distance : i); }, "copySafe");
    });
  }
  std::vector<std::size_t> periods;
  for (std::size_t period = 2; period <= 18; ++period) periods.push_back(period);
  proveEach("bytes: a forward copy onto itself repeats its first bytes, up to 150", periods, [=](std::size_t period) {
    for (const std::size_t n : sizes) {
      if (n > 150) break;
      auto* const text = anyText<unsigned char>("t", n + period);
      copyForward<Copier, RQ_VECTOR>(text, text + period, n);
      claimBytes(
          text, n + period, [&](std::size_t i) { return any(i % period); }, "copyForward");
    }
  });
  proveEach("units: a fill", lengths<Units>(false), [=](std::size_t n) {
    auto* const text = emptyBuffer<RQChar>(n);
    const U32 c = U32::any("c");
    fillUpTo64(text, RQChar(c), n);
    for (std::size_t i = 0; i < n; ++i) claim(loadWord<unsigned>(text + i) == c, "fillUpTo64");
  });
  proveEach("bytes: ASCII letters of a text change their case", std::vector<std::size_t>{1, 2, 5, 9, 16, 33},
            [=](std::size_t n) {
              auto* const text = anyText<unsigned char>("t", n);
              flipAscii<Copier, 'a'>(text, n);
              claimBytes(
                  text, n,
                  [&](std::size_t i) {
                    const U8 c = any(i);
                    return select(both(c >= 'a', c <= 'z'), U8(c - 32), c);
                  },
                  "flipAscii");
            });
  const std::vector<std::size_t> few = {2, 9,
                                        Copier::lanes.value() + 1};  // each has a path for each place of the pair
  proveEach("bytes: a copy up to a pair", everyLength ? lengths<Bytes>(false) : few, [=](std::size_t n) {
    const auto* const from = anyText<unsigned char>("t", n);
    auto* const to = emptyBuffer<unsigned char>(n);
    const U64 copied = copyUntilPair<Copier, unsigned char>(from, n, to, '&', '#', 0xFF);
    U64 expected = n;
    for (std::size_t i = n; i-- > 1;) expected = select(both(any(i - 1) == '&', any(i) == '#'), U64(i - 1), expected);
    claim(copied == expected, "copyUntilPair");
    claimBytes(to, copied.value(), any, "the text before it");
    claimBytes(
        to + copied.value(), n - copied.value(), [](std::size_t) { return U8(0xA5); }, "and nothing behind it");
  });
  const std::size_t lanes = Units::lanes.value();
  proveEach("units: the number of wide characters", std::vector<std::size_t>{1, lanes, lanes + 1},
            [=](std::size_t n) {
              const auto* const text = anyText<RQChar>("t", n);
              U64 count = 0;
              for (std::size_t i = 0; i < n; ++i) {
                const U32 c = load<RQChar>(text + i);
                Word<bool> wide = false;
                for (const auto& range : wideRanges) wide = either(wide, both(c >= range.first, c <= range.last));
                count += U64(wide);
              }
              claim(countWide<Units>(text, n) == count, "countWide");
            });
}

}  // namespace
}  // namespace rq::proof

int main(int count, char** arguments) {
  using namespace rq::proof;
  everyLength = count > 1 && std::string(arguments[1]) == "--all";
  proveFormulas();
  proveCopies();
  proveSearches<Bytes>("bytes", 0x80);
  proveSearches<Units>("units", 0x10FFFF);
  return Prover::get().finish();
}
