// Single-byte encodings as read-only tables, made from ICU's converters.
#include <array>
#include <cstdint>
#include <optional>

#include "host/codec.h"
#include "host/icu.h"

namespace rq::host {
namespace {

constexpr char32_t noCharacter = 0xFFFFFFFF;
constexpr std::uint16_t noByte = 0xFFFF;

class SingleByteCodec final : public Codec {
 public:
  /// Reads the table from a converter. False when a byte stands for several characters or for one beyond U+FFFF.
  bool fill(UConverter* converter) {
    for (unsigned value = 0; value < 256; ++value) {
      const char byte = static_cast<char>(value);
      std::array<UChar, 4> text;
      UErrorCode error = U_ZERO_ERROR;
      const std::int32_t length = ucnv_toUChars(converter, text.data(), text.size(), &byte, 1, &error);
      characters_[value] = noCharacter;
      if (U_FAILURE(error)) continue;
      if (length != 1 || U16_IS_SURROGATE(text[0])) return false;
      characters_[value] = text[0];

      std::array<char, 8> back;
      const std::int32_t bytes = ucnv_fromUChars(converter, back.data(), back.size(), text.data(), 1, &error);
      if (U_SUCCESS(error) && bytes == 1) setByte(text[0], static_cast<std::uint8_t>(back[0]));
    }
    return true;
  }

  Step decode(Bytes input, std::span<char32_t> output, bool) const override {
    const std::size_t count = std::min(input.size(), output.size());
    for (std::size_t i = 0; i < count; ++i) {
      const char32_t c = characters_[std::to_integer<std::size_t>(input[i])];
      if (c == noCharacter) return {i, i, Outcome::malformed, 1};
      output[i] = c;
    }
    return {count, count, count == input.size() ? Outcome::done : Outcome::outputFull};
  }

  Step encode(std::span<const char32_t> input, MutableBytes output, bool, bool) const override {
    const std::size_t count = std::min(input.size(), output.size());
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint16_t byte = byteOf(input[i]);
      if (byte == noByte) return {i, i, Outcome::unmappable};
      output[i] = static_cast<std::byte>(byte);
    }
    if (count == input.size()) return {count, count, Outcome::done};
    return {count, count, byteOf(input[count]) == noByte ? Outcome::unmappable : Outcome::outputFull};
  }

 private:
  using Page = std::array<std::uint16_t, 256>;

  void setByte(char16_t character, std::uint8_t byte) {
    std::unique_ptr<Page>& page = pages_[character >> 8];
    if (!page) {
      page = std::make_unique<Page>();
      page->fill(noByte);
    }
    (*page)[character & 0xFF] = byte;
  }

  std::uint16_t byteOf(char32_t character) const {
    if (character > 0xFFFF) return noByte;
    const Page* page = pages_[character >> 8].get();
    return page ? (*page)[character & 0xFF] : noByte;
  }

  std::array<char32_t, 256> characters_;
  std::array<std::unique_ptr<Page>, 256> pages_;
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
