// UTF-8 in blocks with AVX2: 64 bytes to decode, 16 characters to encode. Nothing here calls inline functions of the
// standard library: the linker might merge such code, compiled for AVX2, into the rest of the program.
#include <immintrin.h>

#include "host/utf8_blocks.h"

namespace rq::host {
namespace {

constexpr std::size_t blockBytes = 64;
constexpr std::size_t windowBytes = 8;  // positions whose characters become the lanes of one vector

/// A bit for each byte of a block.
struct Classes {
  std::uint64_t nonAscii, continuation, leadOf3Or4, leadOf4;
  std::uint64_t leadOf2To4() const { return nonAscii & ~continuation; }
};

std::uint64_t bitsOf(__m256i low, __m256i high) {
  const auto lowBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(low));
  const auto highBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(high));
  return lowBits | std::uint64_t{highBits} << 32;
}

/// Bytes compare as signed numbers: continuations are the smallest, then leads in the order of their lengths.
Classes classify(__m256i low, __m256i high) {
  const auto above = [=](char limit) {
    const __m256i limits = _mm256_set1_epi8(limit);
    return bitsOf(_mm256_cmpgt_epi8(low, limits), _mm256_cmpgt_epi8(high, limits));
  };
  const std::uint64_t nonAscii = bitsOf(low, high);
  return {nonAscii, ~above('\xBF'), above('\xDF') & nonAscii, above('\xEF') & nonAscii};
}

void widenAscii(const std::uint8_t* from, char32_t* to) {
  for (std::size_t i = 0; i < blockBytes; i += 8) {
    const __m256i eight = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + i)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), eight);
  }
}

/// For each set of eight bits: the numbers of the set ones, one a byte. The rest repeats the first.
struct SetBits {
  alignas(64) std::uint64_t of[256];
};
consteval SetBits listSetBits() {
  SetBits table{};
  for (unsigned bits = 1; bits < 256; ++bits) {
    unsigned count = 0;
    std::uint64_t first = 0;
    for (unsigned i = 0; i < 8; ++i) {
      if ((bits >> i & 1) == 0) continue;
      if (count == 0) first = i;
      table.of[bits] |= std::uint64_t{i} << (8 * count++);
    }
    for (; count < 8; ++count) table.of[bits] |= first << (8 * count);
  }
  return table;
}
constexpr SetBits setBits = listSetBits();

/// The four bytes from each of the set positions of a window, as lanes in order.
__m256i gather(const std::uint8_t* window, unsigned positions) {
  const __m256i bytes = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(window)));
  const __m256i fourFromEach = _mm256_setr_epi8(0, 1, 2, 3, 1, 2, 3, 4, 2, 3, 4, 5, 3, 4, 5, 6,  //
                                                4, 5, 6, 7, 5, 6, 7, 8, 6, 7, 8, 9, 7, 8, 9, 10);
  const __m256i order = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(static_cast<std::int64_t>(setBits.of[positions])));
  return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(bytes, fourFromEach), order);
}

__m256i broadcast(std::uint32_t lane) {
  return _mm256_set1_epi32(static_cast<int>(lane));
}

/// The lanes of `bytes` that equal `value` where `mask` is set; the first byte is the lowest.
__m256i matching(__m256i bytes, std::uint32_t mask, std::uint32_t value) {
  return _mm256_cmpeq_epi32(_mm256_and_si256(bytes, broadcast(mask)), broadcast(value));
}

/// Decodes one character a lane, whose bytes are a lead and its continuations, then anything. Lanes that are
/// overlong, a surrogate or above U+10FFFF are added to `bad`.
__m256i decode(__m256i bytes, __m256i& bad) {
  // By the lead's high half: the bits that it carries, and the bits of the four bytes that belong to others.
  const __m256i payloads =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F,  //
                                                0, 0, 0, 0, 0x1F, 0x1F, 0x0F, 0x0F));
  const __m256i excesses =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(18, 18, 18, 18, 18, 18, 18, 18, 0, 0, 0, 0, 12, 12, 6, 0));
  const __m256i half = _mm256_and_si256(_mm256_srli_epi32(bytes, 4), broadcast(0x0F));
  const __m256i index = _mm256_or_si256(half, broadcast(0x80808000));  // 0x80 gives zero in the other bytes
  const __m256i payload = _mm256_or_si256(_mm256_shuffle_epi8(payloads, index), broadcast(0x3F3F3F00));
  const __m256i excess = _mm256_shuffle_epi8(excesses, index);

  const __m256i sixBits = _mm256_and_si256(bytes, payload);
  const __m256i twelveBits = _mm256_maddubs_epi16(sixBits, _mm256_set1_epi16(0x0140));  // first * 64 + second
  const __m256i all = _mm256_madd_epi16(twelveBits, _mm256_set1_epi32(0x00011000));     // first * 4096 + second
  const __m256i characters = _mm256_srlv_epi32(all, excess);

  const __m256i overlong2 = matching(bytes, 0x00FE, 0x00C0);
  const __m256i overlong3 = matching(bytes, 0xE0FF, 0x80E0);
  const __m256i overlong4 = matching(bytes, 0xF0FF, 0x80F0);
  const __m256i surrogate = matching(bytes, 0xE0FF, 0xA0ED);
  const __m256i tooLarge = _mm256_cmpgt_epi32(characters, broadcast(0x10FFFF));
  bad = _mm256_or_si256(bad, _mm256_or_si256(_mm256_or_si256(overlong2, overlong3),
                                             _mm256_or_si256(_mm256_or_si256(overlong4, surrogate), tooLarge)));
  return characters;
}

/// Decodes the characters that begin at the bits of `starts`; returns the end of the output, null after an error.
char32_t* decodeStarts(const std::uint8_t* block, std::uint64_t starts, char32_t* to) {
  __m256i bad = _mm256_setzero_si256();
  for (const std::uint8_t* window = block; starts != 0; window += windowBytes, starts >>= windowBytes) {
    const auto positions = static_cast<unsigned>(starts & 0xFF);
    const __m256i characters = decode(gather(window, positions), bad);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), characters);
    to += _mm_popcnt_u32(positions);
  }
  return _mm256_testz_si256(bad, bad) != 0 ? to : nullptr;
}

/// For each set of eight bits: the bytes of the lanes of two bytes whose bits are set, in order. The rest is
/// anything.
struct SetLanes {
  alignas(64) std::uint8_t of[256][16];
};
consteval SetLanes listSetLanes() {
  SetLanes table{};
  for (unsigned bits = 0; bits < 256; ++bits) {
    unsigned at = 0;
    for (unsigned i = 0; i < 8; ++i) {
      if ((bits >> i & 1) == 0) continue;
      table.of[bits][at++] = static_cast<std::uint8_t>(2 * i);
      table.of[bits][at++] = static_cast<std::uint8_t>(2 * i + 1);
    }
  }
  return table;
}
constexpr SetLanes setLanes = listSetLanes();

/// Stores the lanes of two bytes at the bits of `positions` as characters; returns the end of the output.
char32_t* storeLanes(__m128i lanes, unsigned positions, char32_t* to) {
  const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(setLanes.of[positions]));
  const __m256i characters = _mm256_cvtepu16_epi32(_mm_shuffle_epi8(lanes, order));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), characters);
  return to + _mm_popcnt_u32(positions);
}

/// decodeStarts for characters of one or two bytes. Takes every byte with the next one as a character of two bytes;
/// the starts choose those that are.
char32_t* decodeUpTo2(const std::uint8_t* block, std::uint64_t starts, char32_t* to) {
  constexpr std::size_t twoWindows = 2 * windowBytes;
  __m256i bad = _mm256_setzero_si256();
  for (const std::uint8_t* from = block; from != block + blockBytes; from += twoWindows, starts >>= twoWindows) {
    const __m256i first = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    const __m256i second = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 1)));
    const __m256i isLead = _mm256_cmpgt_epi16(first, _mm256_set1_epi16(0x7F));
    const __m256i high = _mm256_slli_epi16(_mm256_and_si256(first, _mm256_set1_epi16(0x1F)), 6);
    const __m256i two = _mm256_or_si256(high, _mm256_and_si256(second, _mm256_set1_epi16(0x3F)));
    const __m256i characters = _mm256_blendv_epi8(first, two, isLead);
    const __m256i overlong =
        _mm256_cmpeq_epi16(_mm256_and_si256(first, _mm256_set1_epi16(0xFE)), _mm256_set1_epi16(0xC0));
    bad = _mm256_or_si256(bad, overlong);
    to = storeLanes(_mm256_castsi256_si128(characters), static_cast<unsigned>(starts & 0xFF), to);
    to = storeLanes(_mm256_extracti128_si256(characters, 1), static_cast<unsigned>(starts >> 8 & 0xFF), to);
  }
  return _mm256_testz_si256(bad, bad) != 0 ? to : nullptr;
}

constexpr std::size_t blockCharacters = 16;

/// How the bytes of four lanes become a text, by the number of continuations of each: two bits a lane, from the
/// lowest.
struct Joints {
  alignas(16) std::uint8_t order[256][16];
  std::uint8_t bytes[256];
};
consteval Joints listJoints() {
  Joints table{};
  for (unsigned counts = 0; counts < 256; ++counts) {
    unsigned at = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
      for (unsigned left = (counts >> 2 * lane & 3) + 1; left > 0; --left) {
        table.order[counts][at++] = static_cast<std::uint8_t>(4 * lane + left - 1);
      }
    }
    table.bytes[counts] = static_cast<std::uint8_t>(at);
    while (at < 16) table.order[counts][at++] = 0x80;
  }
  return table;
}
constexpr Joints joints = listJoints();

__m256i shiftedBits(__m256i characters, int left, std::uint32_t bits) {
  return _mm256_and_si256(_mm256_slli_epi32(characters, left), broadcast(bits));
}

std::uint8_t* join(__m128i lanes, int counts, std::uint8_t* to) {
  const auto index = static_cast<std::uint8_t>(counts);
  const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(joints.order[index]));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(lanes, order));
  return to + joints.bytes[index];
}

/// Encodes eight characters; returns the end of the output.
std::uint8_t* encode(__m256i characters, std::uint8_t* to) {
  const __m256i from2 = _mm256_cmpgt_epi32(characters, broadcast(0x7F));
  const __m256i from3 = _mm256_cmpgt_epi32(characters, broadcast(0x7FF));
  const __m256i from4 = _mm256_cmpgt_epi32(characters, broadcast(0xFFFF));

  // The lead is the highest byte of a lane that counts, the last continuation the lowest.
  const __m256i sixBits =
      _mm256_or_si256(_mm256_or_si256(shiftedBits(characters, 0, 0x3F), shiftedBits(characters, 2, 0x3F00)),
                      _mm256_or_si256(shiftedBits(characters, 4, 0x3F0000), shiftedBits(characters, 6, 0x07000000)));
  const __m256i marks = _mm256_blendv_epi8(_mm256_blendv_epi8(broadcast(0xC080), broadcast(0xE08080), from3),
                                           broadcast(0xF0808080), from4);
  const __m256i lanes = _mm256_blendv_epi8(characters, _mm256_or_si256(sixBits, marks), from2);

  const __m256i continuations = _mm256_sub_epi32(
      _mm256_setzero_si256(), _mm256_add_epi32(from2, _mm256_add_epi32(from3, from4)));  // a set lane is -1
  const __m256i placed = _mm256_sllv_epi32(continuations, _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6));
  const __m256i pairs = _mm256_or_si256(placed, _mm256_srli_si256(placed, 8));
  const __m256i counts = _mm256_or_si256(pairs, _mm256_srli_si256(pairs, 4));

  to = join(_mm256_castsi256_si128(lanes), _mm_cvtsi128_si32(_mm256_castsi256_si128(counts)), to);
  return join(_mm256_extracti128_si256(lanes, 1), _mm_cvtsi128_si32(_mm256_extracti128_si256(counts, 1)), to);
}

/// The low halves of 16 lanes below 0x10000, in order.
__m256i narrowed(__m256i low, __m256i high) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0b11011000);
}

/// For each set of eight bits: the bytes of lanes of two bytes, both where the bit is set, else the first.
struct Lengths {
  alignas(64) std::uint8_t order[256][16];
};
consteval Lengths listLengths() {
  Lengths table{};
  for (unsigned bits = 0; bits < 256; ++bits) {
    unsigned at = 0;
    for (unsigned i = 0; i < 8; ++i) {
      table.order[bits][at++] = static_cast<std::uint8_t>(2 * i);
      if ((bits >> i & 1) != 0) table.order[bits][at++] = static_cast<std::uint8_t>(2 * i + 1);
    }
  }
  return table;
}
constexpr Lengths lengths = listLengths();

std::uint8_t* joinUpTo2(__m128i lanes, unsigned two, std::uint8_t* to) {
  const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(lengths.order[two]));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(lanes, order));
  return to + 8 + _mm_popcnt_u32(two);
}

/// Encodes 16 characters below U+0800; returns the end of the output.
std::uint8_t* encodeUpTo2(__m256i low, __m256i high, std::uint8_t* to) {
  const __m256i characters = narrowed(low, high);
  const __m256i isTwo = _mm256_cmpgt_epi16(characters, _mm256_set1_epi16(0x7F));
  const __m256i leads = _mm256_or_si256(_mm256_srli_epi16(characters, 6), _mm256_set1_epi16(0xC0));
  const __m256i rests = _mm256_and_si256(_mm256_slli_epi16(characters, 8), _mm256_set1_epi16(0x3F00));
  const __m256i pairs = _mm256_or_si256(leads, _mm256_or_si256(rests, _mm256_set1_epi16(static_cast<short>(0x8000))));
  const __m256i lanes = _mm256_blendv_epi8(characters, pairs, isTwo);
  const __m128i marks = _mm_packs_epi16(_mm256_castsi256_si128(isTwo), _mm256_extracti128_si256(isTwo, 1));
  const auto two = static_cast<unsigned>(_mm_movemask_epi8(marks));
  to = joinUpTo2(_mm256_castsi256_si128(lanes), two & 0xFF, to);
  return joinUpTo2(_mm256_extracti128_si256(lanes, 1), two >> 8, to);
}

void narrowAscii(__m256i low, __m256i high, std::uint8_t* to) {
  const __m256i words = narrowed(low, high);
  const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

/// Encodes 16 characters; returns the end of the output.
std::uint8_t* encodeBlock(const char32_t* from, std::uint8_t* to) {
  const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 8));
  const __m256i all = _mm256_or_si256(low, high);
  if (_mm256_testz_si256(all, broadcast(0xFFFFF800)) == 0) return encode(high, encode(low, to));
  if (_mm256_testz_si256(all, broadcast(0xFFFFFF80)) == 0) return encodeUpTo2(low, high, to);
  narrowAscii(low, high, to);
  return to + blockCharacters;
}

}  // namespace

Blocks decodeUtf8BlocksAvx2(const std::uint8_t* input, std::size_t bytes, char32_t* output, std::size_t room) {
  if (bytes < utf8DecodingMargin || room < utf8DecodingMargin) return {0, 0};
  const std::uint8_t* from = input;
  char32_t* to = output;
  const std::uint8_t* const lastBlock = input + bytes - utf8DecodingMargin;
  const char32_t* const lastRoom = output + room - utf8DecodingMargin;
  while (from <= lastBlock && to <= lastRoom) {
    const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 32));
    const Classes classes = classify(low, high);
    if (classes.nonAscii == 0) {
      widenAscii(from, to);
      from += blockBytes;
      to += blockBytes;
      continue;
    }
    const std::uint64_t expected = classes.leadOf2To4() << 1 | classes.leadOf3Or4 << 2 | classes.leadOf4 << 3;
    if (expected != classes.continuation) break;
    // The last character may go beyond the block: then the next block begins with it.
    const std::uint64_t cut = (classes.leadOf2To4() & std::uint64_t{1} << 63) |
                              (classes.leadOf3Or4 & std::uint64_t{3} << 62) |
                              (classes.leadOf4 & std::uint64_t{7} << 61);
    const std::uint64_t whole = cut == 0 ? ~std::uint64_t{0} : cut - 1;
    const auto decodeBlock = classes.leadOf3Or4 == 0 ? decodeUpTo2 : decodeStarts;
    char32_t* const end = decodeBlock(from, ~classes.continuation & whole, to);
    if (!end) break;
    from += _mm_popcnt_u64(whole);
    to = end;
  }
  return {static_cast<std::size_t>(from - input), static_cast<std::size_t>(to - output)};
}

Blocks encodeUtf8BlocksAvx2(const char32_t* input, std::size_t characters, std::uint8_t* output, std::size_t room) {
  if (characters < utf8EncodingMargin || room < utf8EncodingRoom) return {0, 0};
  const char32_t* from = input;
  std::uint8_t* to = output;
  const char32_t* const lastBlock = input + characters - utf8EncodingMargin;
  const std::uint8_t* const lastRoom = output + room - utf8EncodingRoom;
  for (; from <= lastBlock && to <= lastRoom; from += blockCharacters) to = encodeBlock(from, to);
  // The last characters by way of a buffer, for nothing behind them may change. Zeros fill it up, a byte each.
  for (const char32_t* const end = input + characters; from != end;) {
    const auto left = static_cast<std::size_t>(end - from), count = left < blockCharacters ? left : blockCharacters;
    char32_t padded[blockCharacters] = {};
    std::uint8_t encoded[utf8EncodingRoom];
    __builtin_memcpy(padded, from, count * sizeof *from);
    const auto bytes = static_cast<std::size_t>(encodeBlock(padded, encoded) - encoded) - (blockCharacters - count);
    if (bytes > room - static_cast<std::size_t>(to - output)) break;
    __builtin_memcpy(to, encoded, bytes);
    from += count;
    to += bytes;
  }
  return {static_cast<std::size_t>(to - output), static_cast<std::size_t>(from - input)};
}

}  // namespace rq::host
