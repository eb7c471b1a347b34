// Case: of ASCII bytes by arithmetic, of characters by a case map.
#ifndef RQUNI_KIT_SIMD_CASE_H
#define RQUNI_KIT_SIMD_CASE_H

#include "kit/casemap/case_map.h"
#include "kit/simd/copy.h"
#include "kit/simd/find.h"

namespace rq::kit::simd {
namespace {

/// Gives the 26 ASCII letters from `first` on their other case.
template <class U, U first>
struct FlipAscii {
  template <class V>
  RQ_INLINE V operator()(V v) const {
    return v ^ V::selectOrZero(v.within(first, asciiLetters), V::splat(asciiCaseBit));
  }
  template <class V>
  RQ_INLINE void four(V& a, V& b, V& c, V& d) const {
    // Each is used twice, and g++ would load it twice.
    asm("" : "+x"(a.v), "+x"(b.v), "+x"(c.v), "+x"(d.v));
    a = (*this)(a), b = (*this)(b), c = (*this)(c), d = (*this)(d);
  }
};

/// The same for eight bytes in a word.
template <std::uint8_t first>
RQ_INLINE std::uint64_t flipWord(std::uint64_t word) {
  constexpr std::uint64_t ones = 0x0101010101010101, top = 0x80 * ones;
  const std::uint64_t low = word & ~top;  // no sum carries into the next byte
  const std::uint64_t fromFirst = low + (asciiEnd - first) * ones;
  const std::uint64_t behindLast = low + (asciiEnd - first - asciiLetters) * ones;
  return word ^ (fromFirst & ~behindLast & ~word & top) / (0x80 / asciiCaseBit);
}

template <std::uint8_t first>
RQ_INLINE std::uint8_t flipByte(std::uint8_t c) {
  return static_cast<std::uint8_t>(c ^ (static_cast<std::uint8_t>(c - first) < asciiLetters ? asciiCaseBit : 0));
}

/// Fewer than 16 bytes, in pieces that do not overlap: a load from two earlier stores would wait for both.
template <std::uint8_t first>
RQ_INLINE void flipBelow16(std::uint8_t* p, std::uint64_t n) {
  std::uint8_t* rest = p;
  const auto piece = [&](auto unit) {
    using Piece = decltype(unit);
    if (!(n & sizeof(Piece))) return;
    store(rest, static_cast<Piece>(flipWord<first>(load<Piece>(rest))));
    rest += sizeof(Piece);
  };
  piece(std::uint64_t{});
  piece(std::uint32_t{});
  piece(std::uint16_t{});
  if (n & 1) store(rest, flipByte<first>(load<std::uint8_t>(rest)));
}

template <class V, std::uint8_t first>
void flipAscii(std::uint8_t* p, std::uint64_t n) {
  if (n < 16) return flipBelow16<first>(p, n);
  map<V>(p, p, n, FlipAscii<std::uint8_t, first>{});
}

/// A case map applied to vectors. ASCII is arithmetic, and characters in the map's gap or beyond the BMP stay. The
/// others of one vector nearly always lie in one block or two, so that only shifts have to be looked up.
struct MapCase {
  CaseMap map;  // a copy: no store into the text can change it, as the compiler sees

  /// Is ascii() right for all characters whose bits are joined here? It is for most text.
  template <class V>
  RQ_INLINE bool needsNoTable(V joined) const {
    return !V::lessEqual(V::splat(map.asciiLast + 1), joined).any();
  }
  /// Maps characters that need no table and leaves the others.
  template <class V>
  RQ_INLINE V ascii(V c) const {
    const auto letters = V::lessEqual(c + V::splat(0 - map.asciiFirst), V::splat(asciiLetters - 1));
    return c ^ V::selectOrZero(letters, V::splat(map.asciiFlip));
  }
  /// The characters that need the table: those on either side of the gap.
  template <class V>
  RQ_INLINE auto tabled(V c) const {
    const RQChar first = map.asciiLast + 1, last = planeSize - 1;
    return V::lessEqual(c + V::splat(0 - first), V::splat(map.gapFirst - first - 1)) |
           V::lessEqual(c + V::splat(0 - map.gapEnd), V::splat(last - map.gapEnd));
  }
  /// The block that each character lies in, and its place there.
  template <class V>
  static RQ_INLINE V blockOf(V c) {
    return c.template shiftRight<blockShift>();
  }
  template <class V>
  static RQ_INLINE V placeOf(V c) {
    return c & V::splat(blockSize - 1);
  }
  template <class V, std::size_t count>
  RQ_INLINE void mapAll(V (&c)[count]) const {
    if constexpr (V::fastLookUp128) {
      mapByBlocks<false>(c);
    } else {
      for (V& v : c) v = mapByGathering(v);
    }
  }
  template <class V>
  RQ_INLINE V mapByGathering(V c) const {
    const auto open = tabled(c);
    const V result = ascii(c);
    if (!open.any()) return result;
    const V blocks = blockOf(c), places = placeOf(c);
    const RQChar block = c.firstSelected(open) / blockSize;
    if ((open & ~V::equal(blocks, V::splat(block))).any()) return result + gathered(open, blocks, places);
    return result + V::lookUp128(map.shift + map.meta[block], places, open);
  }
  /// The characters of the BMP that need the table, by their low halves, and the letters of ASCII.
  template <class H>
  RQ_INLINE auto tabledHalves(H c) const {
    const RQChar first = map.asciiLast + 1, last = planeSize - 1;
    return H::lessEqual(c + half<H>(0 - first), half<H>(map.gapFirst - first - 1)) |
           H::lessEqual(c + half<H>(0 - map.gapEnd), half<H>(last - map.gapEnd));
  }
  template <class H>
  RQ_INLINE auto letterHalves(H c) const {
    return H::lessEqual(c + half<H>(0 - map.asciiFirst), half<H>(asciiLetters - 1));
  }
  template <class H>
  static RQ_INLINE H half(RQChar value) {
    return H::splat(static_cast<typename H::Lane>(value));
  }
  /// Block by block: text keeps to few blocks, and all vectors share the loaded shifts of a block. Works on the low
  /// halves of two vectors at once; only characters of the BMP change, and they stay there. With `mayRefuse` returns
  /// false, and leaves the vectors as they are, when they hold characters of so many blocks that mapping one by one
  /// is faster.
  template <bool mayRefuse, class V, std::size_t count>
  RQ_INLINE bool mapByBlocks(V (&c)[count]) const {
    using H = decltype(V::lowHalves(c[0], c[0]));
    constexpr std::size_t pairs = (count + 1) / 2;
    V spare = V::splat(0);
    const auto second = [&](std::size_t i) -> V& { return 2 * i + 1 < count ? c[2 * i + 1] : spare; };
    H low[pairs], high[pairs], mapped[pairs];
    typename H::Mask open[pairs];
    for (std::size_t i = 0; i < pairs; ++i) {
      low[i] = V::lowHalves(c[2 * i], second(i)), high[i] = V::highHalves(c[2 * i], second(i));
      const auto inPlane0 = H::equal(high[i], H::splat(0));
      open[i] = tabledHalves(low[i]) & inPlane0;
      mapped[i] = low[i] ^ H::selectOrZero(letterHalves(low[i]) & inPlane0, half<H>(map.asciiFlip));
    }
    if (map.asciiLast == 0) mapBlock(0, low, mapped, open);  // blanks are in most texts
    for (std::uint64_t blocks = 0;; ++blocks) {
      H next = low[0];
      typename H::Mask rest = open[0];
      for (std::size_t i = 1; i < pairs; ++i)
        if (!rest.any()) next = low[i], rest = open[i];
      if (!rest.any()) break;
      // Measured: after one block 4 characters of a vector may be left, after two blocks 2.
      if (mayRefuse && blocks != 0 && blocks * countOf(open) > 4 * count) [[unlikely]]
        return false;
      mapBlock(next.firstSelected(rest) & ~(blockSize - 1), low, mapped, open);
    }
    for (std::size_t i = 0; i < pairs; ++i) V::join(mapped[i], high[i], c[2 * i], second(i));
    return true;
  }
  /// Maps the open characters of the block that begins at `first`, and closes them.
  template <class H, std::size_t pairs>
  RQ_INLINE void mapBlock(RQChar first, const H (&low)[pairs], H (&mapped)[pairs],
                          typename H::Mask (&open)[pairs]) const {
    const std::int32_t start = map.meta[first / blockSize];
    for (std::size_t i = 0; i < pairs; ++i) {
      const auto here = open[i] & H::lessEqual(low[i] ^ half<H>(first), half<H>(blockSize - 1));
      if (start != 0) mapped[i] = mapped[i] + H::lookUp128(map.shift16 + start, low[i], here);
      open[i] = open[i] & ~here;
    }
  }
  template <class Mask, std::size_t count>
  static RQ_INLINE std::uint64_t countOf(const Mask (&masks)[count]) {
    std::uint64_t sum = 0;
    for (const Mask& mask : masks) sum += mask.count();
    return sum;
  }
  /// The shifts of characters in several blocks.
  template <class V>
  RQ_INLINE V gathered(typename V::Mask open, V blocks, V places) const {
    const V starts = V::gather(map.meta, blocks, open, V::splat(0));
    return V::gather(map.shift, starts + places, open, V::splat(0));
  }
  /// The lanes that differ when `count` vectors of both texts are mapped, as bits.
  template <class V, std::size_t count>
  RQ_INLINE std::uint64_t differences(const RQChar* a, const RQChar* b) const {
    V both[2 * count], joined = V::splat(0);
    for (std::size_t k = 0; k < count; ++k) {
      both[k] = V::load(a + k * V::lanes), both[count + k] = V::load(b + k * V::lanes);
      joined = joined | (both[k] | both[count + k]);
    }
    if (needsNoTable(joined))
      for (V& v : both) v = ascii(v);
    else
      mapAll(both);
    std::uint64_t bits = 0;
    for (std::size_t k = 0; k < count; ++k) bits |= (both[k] ^ both[count + k]).bits() << (k * V::lanes);
    return bits;
  }
};

RQ_INLINE void mapOneByOne(RQChar* p, std::uint64_t n, const CaseMap& caseMap) {
  for (std::uint64_t i = 0; i < n; ++i) store(p + i, caseMap(load<RQChar>(p + i)));
}

/// Where vectors are slower than single characters, the text most likely goes on like that for so many.
constexpr std::uint64_t charactersOneByOne = 256;

/// Maps loaded vectors and stores them at `p`. Where that is slower, maps some of the `n` characters at `rest` one by
/// one instead. Returns the number of characters mapped.
template <class V, std::size_t count>
RQ_INLINE std::uint64_t mapLoaded(V (&all)[count], RQChar* p, const MapCase& mapped, RQChar* rest, std::uint64_t n) {
  V joined = all[0];
  for (std::size_t k = 1; k < count; ++k) joined = joined | all[k];
  if (mapped.needsNoTable(joined)) {
    for (V& v : all) v = mapped.ascii(v);
  } else if constexpr (V::fastLookUp128) {
    if (!mapped.template mapByBlocks<true>(all)) {
      const std::uint64_t step = n < charactersOneByOne ? n : charactersOneByOne;
      mapOneByOne(rest, step, mapped.map);
      return step;
    }
  } else {
    for (V& v : all) v = mapped.mapByGathering(v);
  }
  for (std::size_t k = 0; k < count; ++k) all[k].store(p + k * V::lanes);
  return count * V::lanes;
}
/// Maps `count` vectors of the `n` characters at `p`, or some one by one. Returns the number of characters mapped.
template <class V, std::size_t count>
RQ_INLINE std::uint64_t mapVectors(RQChar* p, std::uint64_t n, const MapCase& mapped) {
  V all[count];
  for (std::size_t k = 0; k < count; ++k) all[k] = V::load(p + k * V::lanes);
  return mapLoaded(all, p, mapped, p, n);
}

/// Maps blocks of `count` vectors as long as they need no table. Returns the characters mapped.
template <class V, std::size_t count>
RQ_INLINE std::uint64_t mapAscii(RQChar* p, std::uint64_t n, const MapCase& mapped) {
  std::uint64_t i = 0;
  for (; n - i > count * V::lanes; i += count * V::lanes) {
    V all[count], joined = V::splat(0);
    for (std::size_t k = 0; k < count; ++k) all[k] = V::load(p + i + k * V::lanes), joined = joined | all[k];
    if (!mapped.needsNoTable(joined)) break;
    for (std::size_t k = 0; k < count; ++k) mapped.ascii(all[k]).store(p + i + k * V::lanes);
  }
  return i;
}

/// Maps at most 64 bytes of characters, by vectors if they are ASCII.
RQ_INLINE void mapFew(RQChar* p, std::uint64_t n, const MapCase& mapped) {
  using V = Vector16<RQChar>;
  // Text that begins beyond ASCII is hardly all ASCII. Loading it as vectors waits for those who stored characters.
  if (n < V::lanes || load<RQChar>(p) > mapped.map.asciiLast) return mapOneByOne(p, n, mapped.map);
  const std::uint64_t inner = n / (2 * V::lanes) * V::lanes, last = n - V::lanes;
  const V a = V::load(p), b = V::load(p + inner), c = V::load(p + last - inner), d = V::load(p + last);
  if (!mapped.needsNoTable((a | b) | (c | d))) return mapOneByOne(p, n, mapped.map);
  mapped.ascii(a).store(p);
  mapped.ascii(b).store(p + inner);
  mapped.ascii(c).store(p + last - inner);
  mapped.ascii(d).store(p + last);
}

/// Maps more than 64 bytes. Never inlined: saving its registers would slow down short texts.
template <class V>
[[gnu::noinline]] void mapMany(RQChar* p, std::uint64_t n, const CaseMap& caseMap) {
  const MapCase mapped{caseMap};
  V last[] = {V::load(p + n - V::lanes)};  // before a store changes lanes that it shares with the vector before it
  std::uint64_t i = mapAscii<V, 4>(p, n, mapped);
  while (n - i > 4 * V::lanes) i += mapVectors<V, 4>(p + i, n - i, mapped);
  while (n - i > V::lanes) i += mapVectors<V, 1>(p + i, n - i, mapped);
  mapLoaded(last, p + n - V::lanes, mapped, p + i, n - i);
}

template <class V>
void mapCase(RQChar* p, std::uint64_t n, const CaseMap& caseMap) {
  n <= maxShortBytes / sizeof *p ? mapFew(p, n, MapCase{caseMap}) : mapMany<V>(p, n, caseMap);
}

/// Maps the ASCII characters before the first that is none, by a map that needs no table for them. Returns their
/// number.
template <class V>
std::uint64_t mapAsciiPrefix(RQChar* p, std::uint64_t n, const CaseMap& caseMap) {
  const std::uint64_t whole = mapAscii<V, 4>(p, n, MapCase{caseMap});
  const std::uint64_t rest = asciiPrefix<V>(p + whole, n - whole);
  mapCase<V>(p + whole, rest, caseMap);
  return whole + rest;
}

/// Do `count` vectors of both texts differ?
template <class V, std::size_t count>
RQ_INLINE bool anyDiffers(const RQChar* a, const RQChar* b) {
  V different = V::load(a) ^ V::load(b);
  for (std::size_t k = 1; k < count; ++k)
    different = different | (V::load(a + k * V::lanes) ^ V::load(b + k * V::lanes));
  return different.any();
}

/// The first index at which the mapped texts differ, or -1.
template <class V>
std::int64_t mappedMismatch(const RQChar* a, const RQChar* b, std::uint64_t n, const CaseMap& caseMap) {
  if (n < V::lanes) {
    if constexpr (requires { typename V::Half; }) {
      return mappedMismatch<typename V::Half>(a, b, n, caseMap);
    } else {
      for (std::uint64_t i = 0; i < n; ++i)
        if (caseMap(load<RQChar>(a + i)) != caseMap(load<RQChar>(b + i))) return static_cast<std::int64_t>(i);
      return -1;
    }
  }
  const MapCase mapped{caseMap};
  std::uint64_t i = 0;
  const auto found = [&](std::uint64_t bits) { return static_cast<std::int64_t>(i + firstBit(bits)); };
  for (; n - i > 4 * V::lanes; i += 4 * V::lanes)
    if (anyDiffers<V, 4>(a + i, b + i))
      if (const std::uint64_t bits = mapped.differences<V, 4>(a + i, b + i)) return found(bits);
  for (; n - i > V::lanes; i += V::lanes)
    if (anyDiffers<V, 1>(a + i, b + i))
      if (const std::uint64_t bits = mapped.differences<V, 1>(a + i, b + i)) return found(bits);
  i = n - V::lanes;
  if (!anyDiffers<V, 1>(a + i, b + i)) return -1;
  const std::uint64_t bits = mapped.differences<V, 1>(a + i, b + i);
  return bits ? found(bits) : -1;
}

}  // namespace
}  // namespace rq::kit::simd

#endif
