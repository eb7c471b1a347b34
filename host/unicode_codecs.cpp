// UTF-8, UTF-16 and UTF-32, strict: no surrogates but in pairs, nothing above U+10FFFF, shortest forms only, and no
// byte-order mark is treated as one.
#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/types.h"
#include "host/codec.h"
#include "host/kernels.h"
#include "host/utf8_blocks.h"
#include "host/vectors.h"

namespace rq::host {

Step Codec::decodeFully(Bytes input, std::span<char32_t> output, bool first) const {
  Step all = decode(input, output, first);
  while (all.outcome == Outcome::outputFull && all.produced < output.size()) {
    const Step more = decode(input.subspan(all.consumed), output.subspan(all.produced), false);
    all = {all.consumed + more.consumed, all.produced + more.produced, more.outcome, more.badBytes};
  }
  return all;
}

Step Codec::decodeOne(Bytes input, char32_t& output, bool first) const {
  return decode(input, {&output, 1}, first);
}

namespace {

constexpr bool isSurrogate(char32_t c) {
  return (c & 0xFFFFF800) == 0xD800;
}
constexpr bool isHigh(char32_t c) {
  return (c & 0xFFFFFC00) == 0xD800;
}
constexpr bool isLow(char32_t c) {
  return (c & 0xFFFFFC00) == 0xDC00;
}

/// One character read from the front of an input that is not empty.
struct Read {
  char32_t character;
  std::size_t bytes;  // of the character, or of the sequence that is wrong
  Outcome outcome = Outcome::done;
};

template <class Unit, std::endian order>
Unit load(const std::byte* from) {
  Unit unit;
  std::memcpy(&unit, from, sizeof unit);
  if constexpr (order != std::endian::native) {
    unit = sizeof(Unit) == 2 ? static_cast<Unit>(__builtin_bswap16(static_cast<std::uint16_t>(unit)))
                             : static_cast<Unit>(__builtin_bswap32(unit));
  }
  return unit;
}

template <class Unit, std::endian order>
void store(Unit unit, std::byte* to) {
  const Unit swapped = load<Unit, order>(reinterpret_cast<const std::byte*>(&unit));
  std::memcpy(to, &swapped, sizeof swapped);
}

/// Each form reads and writes one character. So many are converted one by one before blocks are tried again.
struct Utf8 {
  static constexpr std::size_t exactCharacters = utf8DecodingMargin;

  static Read read(Bytes input) {
    const auto at = [input](std::size_t i) { return std::to_integer<std::uint32_t>(input[i]); };
    const std::uint32_t lead = at(0);
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4) return {0, 1, Outcome::malformed};
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte's range excludes overlong forms, surrogates and what lies above U+10FFFF.
    const std::uint32_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const std::uint32_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t c = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
      if (i == input.size()) return {0, i, Outcome::truncated};
      const std::uint32_t next = at(i);
      if (next < (i == 1 ? low : 0x80) || next > (i == 1 ? high : 0xBF)) return {0, i, Outcome::malformed};
      c = c << 6 | (next & 0x3F);
    }
    return {c, length};
  }

  static constexpr std::size_t length(char32_t c) { return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4; }

  static void write(char32_t c, std::size_t length, std::byte* to) {
    if (length == 1) {
      to[0] = static_cast<std::byte>(c);
      return;
    }
    for (std::size_t i = length - 1; i > 0; --i, c >>= 6) to[i] = static_cast<std::byte>(0x80 | (c & 0x3F));
    to[0] = static_cast<std::byte>((0xF00U >> length & 0xFF) | c);
  }
};

template <std::endian order>
struct Utf16 {
  static constexpr std::size_t exactCharacters = 8;

  static Read read(Bytes input) {
    if (input.size() < 2) return {0, input.size(), Outcome::truncated};
    const char32_t first = load<std::uint16_t, order>(input.data());
    if (!isSurrogate(first)) return {first, 2};
    if (!isHigh(first)) return {0, 2, Outcome::malformed};
    if (input.size() < 4) return {0, input.size(), Outcome::truncated};
    const char32_t second = load<std::uint16_t, order>(input.data() + 2);
    if (!isLow(second)) return {0, 2, Outcome::malformed};
    return {0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF)), 4};
  }

  static constexpr std::size_t length(char32_t c) { return c < 0x10000 ? 2 : 4; }

  static void write(char32_t c, std::size_t length, std::byte* to) {
    if (length == 2) {
      store<std::uint16_t, order>(static_cast<std::uint16_t>(c), to);
      return;
    }
    store<std::uint16_t, order>(static_cast<std::uint16_t>(0xD7C0 + (c >> 10)), to);
    store<std::uint16_t, order>(static_cast<std::uint16_t>(0xDC00 | (c & 0x3FF)), to + 2);
  }
};

template <std::endian order>
struct Utf32 {
  static constexpr std::size_t exactCharacters = 4;

  static Read read(Bytes input) {
    if (input.size() < 4) return {0, input.size(), Outcome::truncated};
    const char32_t c = load<std::uint32_t, order>(input.data());
    if (c > 0x10FFFF || isSurrogate(c)) return {0, 4, Outcome::malformed};
    return {c, 4};
  }

  static constexpr std::size_t length(char32_t) { return 4; }
  static void write(char32_t c, std::size_t, std::byte* to) { store<std::uint32_t, order>(c, to); }
};

/// Where a conversion stands: units of input and output, from their beginnings.
struct Cursor {
  std::size_t in = 0, out = 0;
};

// Fast paths. Each moves the cursor over whole blocks without errors and leaves the rest to the exact loop.

/// Units of an order as the machine's, and back.
template <std::endian order>
Vector swapped16(Vector units) {
  if constexpr (order == std::endian::native) return units;
  return _mm_or_si128(_mm_slli_epi16(units, 8), _mm_srli_epi16(units, 8));
}
template <std::endian order>
Vector swapped32(Vector units) {
  if constexpr (order == std::endian::native) return units;
  const Vector halves = swapped16<order>(units);
  return _mm_or_si128(_mm_slli_epi32(halves, 16), _mm_srli_epi32(halves, 16));
}

/// Null where the exact loops must do.
const bool useAvx2 = kernelChoice().inUse != KernelSet::sse2;
DecodeUtf8Blocks* const decodeUtf8Blocks = useAvx2 ? decodeUtf8BlocksAvx2 : nullptr;
EncodeUtf8Blocks* const encodeUtf8Blocks = useAvx2 ? encodeUtf8BlocksAvx2 : nullptr;

void decodeBlocks(Utf8, Bytes input, std::span<char32_t> output, Cursor& at) {
  if (decodeUtf8Blocks) {
    const auto* from = reinterpret_cast<const std::uint8_t*>(input.data()) + at.in;
    const Blocks done = decodeUtf8Blocks(from, input.size() - at.in, output.data() + at.out, output.size() - at.out);
    at.in += done.bytes;
    at.out += done.characters;
  }
  while (input.size() - at.in >= 8 && output.size() - at.out >= 8) {
    std::uint64_t eight;
    std::memcpy(&eight, input.data() + at.in, 8);
    if ((eight & 0x8080808080808080) != 0) return;
    for (std::size_t i = 0; i < 8; ++i) output[at.out + i] = std::to_integer<char32_t>(input[at.in + i]);
    at.in += 8;
    at.out += 8;
  }
}

template <std::endian order>
void decodeBlocks(Utf16<order>, Bytes input, std::span<char32_t> output, Cursor& at) {
  for (; input.size() - at.in >= 16 && output.size() - at.out >= 8; at.in += 16, at.out += 8) {
    const Vector units = swapped16<order>(loadVector(&input[at.in]));
    const Vector kinds = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
    if (any(_mm_cmpeq_epi16(kinds, _mm_set1_epi16(static_cast<short>(0xD800))))) return;  // surrogates
    storeWidened(units, &output[at.out]);
  }
}

template <std::endian order>
void decodeBlocks(Utf32<order>, Bytes input, std::span<char32_t> output, Cursor& at) {
  for (; input.size() - at.in >= 16 && output.size() - at.out >= 4; at.in += 16, at.out += 4) {
    const Vector units = swapped32<order>(loadVector(&input[at.in]));
    const Vector tooLarge = _mm_cmpgt_epi32(_mm_srli_epi32(units, 16), _mm_set1_epi32(0x10));
    const Vector surrogate = _mm_cmpeq_epi32(_mm_srli_epi32(units, 11), _mm_set1_epi32(0xD800 >> 11));
    if (any(_mm_or_si128(tooLarge, surrogate))) return;
    storeVector(units, &output[at.out]);
  }
}

void encodeBlocks(Utf8, std::span<const char32_t> input, MutableBytes output, Cursor& at) {
  if (encodeUtf8Blocks) {
    auto* to = reinterpret_cast<std::uint8_t*>(output.data()) + at.out;
    const Blocks done = encodeUtf8Blocks(input.data() + at.in, input.size() - at.in, to, output.size() - at.out);
    at.in += done.characters;
    at.out += done.bytes;
  }
}

template <std::endian order>
void encodeBlocks(Utf16<order>, std::span<const char32_t> input, MutableBytes output, Cursor& at) {
  for (; input.size() - at.in >= 8 && output.size() - at.out >= 16; at.in += 8, at.out += 16) {
    const Vector low = loadVector(&input[at.in]), high = loadVector(&input[at.in + 4]);
    const Vector planes = _mm_srli_epi32(_mm_or_si128(low, high), 16);
    if (any(_mm_cmpgt_epi32(planes, _mm_setzero_si128()))) return;
    storeVector(swapped16<order>(narrowed(low, high)), &output[at.out]);
  }
}

template <std::endian order>
void encodeBlocks(Utf32<order>, std::span<const char32_t> input, MutableBytes output, Cursor& at) {
  for (; input.size() - at.in >= 4 && output.size() - at.out >= 16; at.in += 4, at.out += 16)
    storeVector(swapped32<order>(loadVector(&input[at.in])), &output[at.out]);
}

template <class Form>
class UnicodeCodec final : public Codec {
 public:
  Step decode(Bytes input, std::span<char32_t> output, bool) const override {
    for (Cursor at;;) {
      decodeBlocks(Form(), input, output, at);
      // With most of the room filled, the next piece is faster than single characters.
      const bool nearlyFull = at.out > output.size() / 2 && output.size() - at.out < Form::exactCharacters;
      if (nearlyFull && input.size() - at.in > 4 * Form::exactCharacters) return {at.in, at.out, Outcome::outputFull};
      for (std::size_t i = 0; i < Form::exactCharacters; ++i) {
        if (at.in == input.size()) return {at.in, at.out, Outcome::done};
        if (at.out == output.size()) return {at.in, at.out, Outcome::outputFull};
        const Read read = Form::read(input.subspan(at.in));
        if (read.outcome != Outcome::done) return {at.in, at.out, read.outcome, read.bytes};
        output[at.out++] = read.character;
        at.in += read.bytes;
      }
    }
  }

  Step encode(std::span<const char32_t> input, MutableBytes output, bool, bool) const override {
    for (Cursor at;;) {
      encodeBlocks(Form(), input, output, at);
      for (std::size_t i = 0; i < Form::exactCharacters; ++i, ++at.in) {
        if (at.in == input.size()) return {at.in, at.out, Outcome::done};
        const std::size_t length = Form::length(input[at.in]);
        if (length > output.size() - at.out) return {at.in, at.out, Outcome::outputFull};
        Form::write(input[at.in], length, output.data() + at.out);
        at.out += length;
      }
    }
  }
};

}  // namespace

std::unique_ptr<Codec> makeUnicodeCodec(std::uint32_t encoding) {
  switch (encoding) {
    case RQ_ENCODING_UTF8:
      return std::make_unique<UnicodeCodec<Utf8>>();
    case RQ_ENCODING_UTF16_BIG:
      return std::make_unique<UnicodeCodec<Utf16<std::endian::big>>>();
    case RQ_ENCODING_UTF16_LITTLE:
      return std::make_unique<UnicodeCodec<Utf16<std::endian::little>>>();
    case RQ_ENCODING_UTF32_BIG:
      return std::make_unique<UnicodeCodec<Utf32<std::endian::big>>>();
    case RQ_ENCODING_UTF32_LITTLE:
      return std::make_unique<UnicodeCodec<Utf32<std::endian::little>>>();
    default:
      return nullptr;
  }
}

}  // namespace rq::host
