// Single-byte encodings as read-only tables, made from ICU's converters.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/codec.h"
#include "host/icu.h"
#include "host/vectors.h"

namespace rq::host {
namespace {

constexpr char32_t noCharacter = 0xFFFFFFFF;
constexpr std::uint16_t noByte = 0xFFFF;

class SingleByteCodec final : public Codec {
 public:
  SingleByteCodec() : bytes_(0x10000, noByte) {}

  /// Reads the table from a converter. False when a byte stands for several characters or for one from U+FFFF up.
  bool fill(UConverter* converter) {
    for (unsigned value = 0; value < 256; ++value) {
      const char byte = static_cast<char>(value);
      std::array<UChar, 4> text;
      UErrorCode error = U_ZERO_ERROR;
      const std::int32_t length = ucnv_toUChars(converter, text.data(), text.size(), &byte, 1, &error);
      characters_[value] = noCharacter;
      if (U_FAILURE(error)) continue;
      if (length != 1 || U16_IS_SURROGATE(text[0]) || text[0] == 0xFFFF) return false;
      characters_[value] = text[0];

      std::array<char, 8> back;
      const std::int32_t bytes = ucnv_fromUChars(converter, back.data(), back.size(), text.data(), 1, &error);
      if (U_SUCCESS(error) && bytes == 1) bytes_[text[0]] = static_cast<std::uint8_t>(back[0]);
    }
    for (const unsigned count : {0x80U, 0x100U})
      if (isSame(count)) same_ = count;
    return true;
  }

  Step decode(Bytes input, std::span<char32_t> output, bool) const override {
    const std::size_t count = std::min(input.size(), output.size());
    std::size_t i = decodeBlocks(input.first(count), output);
    for (; i < count; ++i) {
      const char32_t c = characters_[std::to_integer<std::size_t>(input[i])];
      if (c == noCharacter) return {i, i, Outcome::malformed, 1};
      output[i] = c;
    }
    return {count, count, count == input.size() ? Outcome::done : Outcome::outputFull};
  }

  Step encode(std::span<const char32_t> input, MutableBytes output, bool, bool) const override {
    const std::size_t count = std::min(input.size(), output.size());
    std::size_t i = encodeBlocks(input.first(count), output);
    for (; i < count; ++i) {
      const std::uint16_t byte = byteOf(input[i]);
      if (byte == noByte) return {i, i, Outcome::unmappable};
      output[i] = static_cast<std::byte>(byte);
    }
    if (count == input.size()) return {count, count, Outcome::done};
    return {count, count, byteOf(input[count]) == noByte ? Outcome::unmappable : Outcome::outputFull};
  }

 private:
  static constexpr std::size_t blockUnits = 16;

  // Blocks collect errors instead of branching at each unit, and end before one that has any. They return how far
  // they came.

  std::size_t decodeBlocks(Bytes input, std::span<char32_t> output) const {
    std::size_t at = 0;
    for (; input.size() - at >= blockUnits; at += blockUnits)
      if (!widen(&input[at], &output[at]) && !decodeBlock(&input[at], &output[at])) break;
    return at;
  }
  bool decodeBlock(const std::byte* from, char32_t* to) const {
    char32_t all = 0;
    for (std::size_t i = 0; i < blockUnits; ++i) {
      to[i] = characters_[std::to_integer<std::size_t>(from[i])];
      all |= to[i];
    }
    return all != noCharacter;
  }

  std::size_t encodeBlocks(std::span<const char32_t> input, MutableBytes output) const {
    std::size_t at = 0;
    for (; input.size() - at >= blockUnits; at += blockUnits)
      if (!narrow(&input[at], &output[at]) && !encodeBlock(&input[at], &output[at])) break;
    return at;
  }
  bool encodeBlock(const char32_t* from, std::byte* to) const {
    return encodeHalf(from, to) && encodeHalf(from + blockUnits / 2, to + blockUnits / 2);
  }
  bool encodeHalf(const char32_t* from, std::byte* to) const {
    std::uint64_t bytes = 0;
    std::uint32_t joined = 0;
    for (unsigned i = 0; i < blockUnits / 2; ++i) {
      const std::uint32_t byte = byteOf(from[i]);
      bytes |= std::uint64_t{byte} << (8 * i);
      joined |= byte;
    }
    if (joined > 0xFF) return false;
    std::memcpy(to, &bytes, sizeof bytes);
    return true;
  }

  // Blocks of which every unit is below same_; false for others.

  bool widen(const std::byte* from, char32_t* to) const {
    if (same_ == 0) return false;
    const Vector bytes = loadVector(from), zero = _mm_setzero_si128();
    if (same_ == 0x80 && any(_mm_cmpgt_epi8(zero, bytes))) return false;
    storeWidened(_mm_unpacklo_epi8(bytes, zero), to);
    storeWidened(_mm_unpackhi_epi8(bytes, zero), to + 8);
    return true;
  }
  bool narrow(const char32_t* from, std::byte* to) const {
    if (same_ == 0) return false;
    const Vector a = loadVector(from), b = loadVector(from + 4), c = loadVector(from + 8), d = loadVector(from + 12);
    const Vector joined = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
    const Vector foreign = _mm_andnot_si128(_mm_set1_epi32(static_cast<int>(same_ - 1)), joined);
    if (!all(_mm_cmpeq_epi32(foreign, _mm_setzero_si128()))) return false;
    storeVector(_mm_packus_epi16(narrowed(a, b), narrowed(c, d)), to);
    return true;
  }

  /// Are the first `count` characters the bytes of the same value?
  bool isSame(unsigned count) const {
    for (unsigned value = 0; value < count; ++value)
      if (characters_[value] != value || bytes_[value] != value) return false;
    return true;
  }

  std::uint16_t byteOf(char32_t character) const { return bytes_[std::min<char32_t>(character, 0xFFFF)]; }

  char32_t same_ = 0;  // characters below are the bytes of the same value: 0, 0x80 or 0x100
  std::array<char32_t, 256> characters_;
  std::vector<std::uint16_t> bytes_;  // of each character up to U+FFFF, which no encoding has
};

bool isSingleByte(const UConverter* converter) {
  const UConverterType type = ucnv_getType(converter);
  return (type == UCNV_SBCS || type == UCNV_LATIN_1 || type == UCNV_US_ASCII) && ucnv_getMaxCharSize(converter) == 1;
}

}  // namespace

std::unique_ptr<Codec> makeSingleByteCodec(const std::string& icuName) {
  const Converter converter = openConverter(icuName);
  if (!converter || !isSingleByte(converter.get())) return nullptr;
  auto codec = std::make_unique<SingleByteCodec>();
  if (!codec->fill(converter.get())) return nullptr;
  return codec;
}

}  // namespace rq::host
