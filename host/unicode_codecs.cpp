// UTF-8, UTF-16 and UTF-32, strict: no surrogates but in pairs, nothing above U+10FFFF, shortest forms only, and no
// byte-order mark is treated as one.
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>

#include "frame/types.h"
#include "host/codec.h"

namespace rq::host {

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

struct Utf8 {
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
  static Read read(Bytes input) {
    if (input.size() < 4) return {0, input.size(), Outcome::truncated};
    const char32_t c = load<std::uint32_t, order>(input.data());
    if (c > 0x10FFFF || isSurrogate(c)) return {0, 4, Outcome::malformed};
    return {c, 4};
  }

  static constexpr std::size_t length(char32_t) { return 4; }
  static void write(char32_t c, std::size_t, std::byte* to) { store<std::uint32_t, order>(c, to); }
};

/// The length of the ASCII stretch at the front of `input`, in steps of 8, copied to `output`.
std::size_t copyAscii(Bytes input, std::span<char32_t> output) {
  std::size_t n = 0;
  while (input.size() - n >= 8 && output.size() - n >= 8) {
    std::uint64_t eight;
    std::memcpy(&eight, input.data() + n, 8);
    if ((eight & 0x8080808080808080) != 0) break;
    for (std::size_t i = 0; i < 8; ++i) output[n + i] = std::to_integer<char32_t>(input[n + i]);
    n += 8;
  }
  return n;
}

template <class Form>
class UnicodeCodec final : public Codec {
 public:
  Step decode(Bytes input, std::span<char32_t> output, bool) const override {
    std::size_t in = 0;
    std::size_t out = 0;
    while (in < input.size()) {
      if constexpr (std::is_same_v<Form, Utf8>) {
        const std::size_t ascii = copyAscii(input.subspan(in), output.subspan(out));
        in += ascii;
        out += ascii;
        if (in == input.size()) break;
      }
      if (out == output.size()) return {in, out, Outcome::outputFull};
      const Read read = Form::read(input.subspan(in));
      if (read.outcome != Outcome::done) return {in, out, read.outcome, read.bytes};
      output[out++] = read.character;
      in += read.bytes;
    }
    return {in, out, Outcome::done};
  }

  Step encode(std::span<const char32_t> input, MutableBytes output, bool, bool) const override {
    std::size_t out = 0;
    for (std::size_t in = 0; in < input.size(); ++in) {
      const std::size_t length = Form::length(input[in]);
      if (length > output.size() - out) return {in, out, Outcome::outputFull};
      Form::write(input[in], length, output.data() + out);
      out += length;
    }
    return {input.size(), out, Outcome::done};
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
