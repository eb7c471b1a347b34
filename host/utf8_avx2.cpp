// UTF-8 in blocks of 64 bytes with AVX2. Nothing here calls inline functions of the standard library: the linker
// might merge such code, compiled for AVX2, into the rest of the program.
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

}  // namespace

Blocks decodeUtf8BlocksAvx2(const std::uint8_t* input, std::size_t bytes, char32_t* output, std::size_t room) {
  if (bytes < utf8BlockMargin || room < utf8BlockMargin) return {0, 0};
  const std::uint8_t* from = input;
  char32_t* to = output;
  const std::uint8_t* const lastBlock = input + bytes - utf8BlockMargin;
  const char32_t* const lastRoom = output + room - utf8BlockMargin;
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
    char32_t* const end = decodeStarts(from, ~classes.continuation & whole, to);
    if (!end) break;
    from += _mm_popcnt_u64(whole);
    to = end;
  }
  return {static_cast<std::size_t>(from - input), static_cast<std::size_t>(to - output)};
}

}  // namespace rq::host
