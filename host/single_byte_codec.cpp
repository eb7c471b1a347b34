// Single-byte encodings as read-only tables, made from ICU's converters.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "host/codec.h"
#include "host/icu.h"

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
    for (; input.size() - at >= blockUnits; at += blockUnits) {
      char32_t all = 0;
      for (std::size_t i = at; i < at + blockUnits; ++i) {
        output[i] = characters_[std::to_integer<std::size_t>(input[i])];
        all |= output[i];
      }
      if (all == noCharacter) break;
    }
    return at;
  }

  std::size_t encodeBlocks(std::span<const char32_t> input, MutableBytes output) const {
    std::size_t at = 0;
    for (; input.size() - at >= blockUnits; at += blockUnits) {
      std::array<std::uint16_t, blockUnits> bytes;
      std::uint16_t all = 0;
      for (std::size_t i = 0; i < blockUnits; ++i) {
        bytes[i] = byteOf(input[at + i]);
        all |= bytes[i];
      }
      if (all > 0xFF) break;
      for (std::size_t i = 0; i < blockUnits; ++i) output[at + i] = static_cast<std::byte>(bytes[i]);
    }
    return at;
  }

  std::uint16_t byteOf(char32_t character) const { return bytes_[std::min<char32_t>(character, 0xFFFF)]; }

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
