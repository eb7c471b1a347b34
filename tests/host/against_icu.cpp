#include "tests/host/against_icu.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <map>
#include <memory>
#include <span>
#include <string>

#include "host/encodings.h"
#include "host/transcoder.h"
#include "tests/differential/family.h"

namespace rq::test {
namespace {

using host::Outcome;

struct Result {
  std::string bytes;
  Outcome outcome;
  bool lacksNext = false;  // the target lacks the next character: where the room ends as well, either is true
};

/// Leaves the error standing. ICU's own stop drops invisible characters that the target lacks.
void stop(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32, UConverterCallbackReason,
          UErrorCode*) {}

UConverter* converterOf(const host::Encoding& encoding) {
  struct Close {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };
  static std::map<std::uint32_t, std::unique_ptr<UConverter, Close>> opened;
  auto& converter = opened[encoding.identifier];
  if (!converter) {
    UErrorCode error = U_ZERO_ERROR;
    converter.reset(ucnv_open(encoding.name.c_str(), &error));
    ucnv_setFromUCallBack(converter.get(), stop, nullptr, nullptr, nullptr, &error);
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error)) throw Difference{"ICU does not open " + encoding.name};
  }
  ucnv_reset(converter.get());
  return converter.get();
}

// --- The twin: the whole text at once, then what fits.

struct Decoded {
  std::u32string characters;
  Outcome outcome;
};
Decoded decodedByIcu(const host::Encoding& encoding, const std::string& text) {
  std::u16string units(4 * text.size() + 16, u'\0');
  UChar* end = units.data();
  const char* from = text.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_toUnicode(converterOf(encoding), &end, units.data() + units.size(), &from, text.data() + text.size(), nullptr,
                 true, &error);
  Decoded decoded{{}, Outcome::done};
  if (U_FAILURE(error)) decoded.outcome = error == U_TRUNCATED_CHAR_FOUND ? Outcome::truncated : Outcome::malformed;
  for (const UChar* at = units.data(); at != end; ++at) {
    if (!U16_IS_SURROGATE(*at)) {
      decoded.characters += *at;
    } else if (U16_IS_LEAD(*at) && at + 1 != end && U16_IS_TRAIL(at[1])) {
      decoded.characters += static_cast<char32_t>(U16_GET_SUPPLEMENTARY(*at, at[1]));
      ++at;
    } else {  // a lone surrogate, unless the text was cut between two
      const bool cut = U16_IS_LEAD(*at) && at + 1 == end && decoded.outcome != Outcome::done;
      if (!cut) decoded.outcome = Outcome::malformed;
      break;
    }
  }
  return decoded;
}

/// The bytes of a text, or nothing when the encoding lacks a character.
std::optional<std::string> encodedByIcu(const host::Encoding& encoding, std::u32string_view text) {
  std::u16string units;
  for (const char32_t c : text) {
    if (c > 0xFFFF) units += static_cast<char16_t>(U16_LEAD(c));
    units += static_cast<char16_t>(c > 0xFFFF ? U16_TRAIL(c) : c);
  }
  std::string bytes(8 * units.size() + 64, '\0');
  char* end = bytes.data();
  const UChar* from = units.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_fromUnicode(converterOf(encoding), &end, bytes.data() + bytes.size(), &from, units.data() + units.size(),
                   nullptr, true, &error);
  if (U_FAILURE(error)) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(end - bytes.data()));
  return bytes;
}

/// The longest beginning of `text` that the target can write in so many bytes. `end` is how the text itself ends.
Result cut(const host::Encoding& target, const std::u32string& text, Outcome end, std::size_t capacity) {
  Result result{"", Outcome::done};
  for (std::size_t count = 1; count <= text.size(); ++count) {
    const std::optional<std::string> bytes = encodedByIcu(target, std::u32string_view(text).substr(0, count));
    if (!bytes) {
      result.lacksNext = result.outcome == Outcome::done;
      if (result.lacksNext) result.outcome = Outcome::unmappable;
      return result;
    }
    result.outcome = Outcome::outputFull;
    if (bytes->size() <= capacity) result = {*bytes, Outcome::done};
  }
  if (result.outcome == Outcome::done) result.outcome = end;
  return result;
}

// --- Texts.

/// A character: mostly of the stretches that many encodings have, sometimes any.
char32_t anyCharacter(Choices& choices) {
  struct Stretch {
    char32_t first, count;
  };
  static constexpr Stretch stretches[] = {
      {0x00, 0x80},    {0x20, 0x5F},    {0xA0, 0x60},    {0x100, 0x80},    {0x370, 0x90},    {0x400, 0x60},
      {0x5D0, 0x50},   {0xE00, 0x60},   {0x2010, 0x60},  {0x3000, 0x100},  {0x4E00, 0x5200}, {0xAC00, 0x2BA4},
      {0xE000, 0x800}, {0xF900, 0x200}, {0xFE00, 0x200}, {0x1F300, 0x300}, {0x20000, 0x6000}};
  if (choices.oneIn(16)) {
    const char32_t c = choices.below(0x1100) * 0x100U + choices.byte();
    return U_IS_SURROGATE(c) ? 0xFFFD : c;
  }
  const Stretch& stretch = stretches[choices.below(std::size(stretches))];
  return stretch.first + choices.below(0x10000) % stretch.count;
}

std::u32string anyText(Choices& choices) {
  std::u32string text;
  for (std::uint32_t i = choices.below(12); i > 0; --i) text += anyCharacter(choices);
  if (choices.oneIn(32)) {  // around the sizes of the host's pieces
    const std::size_t length = 1000 + choices.below(100);
    while (!text.empty() && text.size() < length) text += text;
    text.resize(std::min(text.size(), length));
  }
  return text;
}

/// Bytes of the encoding, whole or with errors: some are others, some are gone.
std::string anyBytes(Choices& choices, const host::Encoding& encoding) {
  std::string bytes;
  if (choices.oneIn(4)) {
    for (std::uint32_t i = choices.below(24); i > 0; --i) bytes += static_cast<char>(choices.byte());
    return bytes;
  }
  for (const char32_t c : anyText(choices)) bytes += encodedByIcu(encoding, {&c, 1}).value_or("");
  if (bytes.empty()) return bytes;
  if (choices.oneIn(2)) bytes[choices.below(0x10000) % bytes.size()] = static_cast<char>(choices.byte());
  if (choices.oneIn(2)) bytes.resize(choices.below(0x10000) % (bytes.size() + 1));
  return bytes;
}

const host::Encoding& anyForm(Choices& choices) {
  return *host::findEncoding(host::formEncodings[choices.below(RQ_FORMS)]);
}

// --- The comparison.

std::string inHexadecimal(const std::string& bytes) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes.substr(0, 200)) {
    text += digits[static_cast<unsigned char>(byte) >> 4];
    text += digits[byte & 15];
  }
  return text;
}

std::string shown(const Result& result) {
  return std::to_string(result.bytes.size()) + ": " + inHexadecimal(result.bytes) + " (" +
         std::string(host::describe(host::statusOf(result.outcome))) + ")";
}

/// SCSU and LMBCS choose bytes by the text around, so that a long text has others when it is written piece by piece.
bool isWrittenBySteps(const host::Encoding& encoding) {
  const UConverterType type = ucnv_getType(converterOf(encoding));
  return type == UCNV_SCSU || (type >= UCNV_LMBCS_1 && type <= UCNV_LMBCS_LAST);
}

bool isBeginningOf(const Decoded& whole, const Decoded& beginning) {
  return beginning.outcome == Outcome::done && whole.characters.starts_with(beginning.characters);
}

void compare(const host::Encoding& source, const host::Encoding& target, const std::string& input,
             std::size_t capacity, const Result& expected) {
  constexpr char canary = '\x5A';
  constexpr std::size_t slack = 16;
  std::string output(capacity + slack, canary);
  const auto conversion =
      host::convert(*host::codecOf(source.identifier), *host::codecOf(target.identifier),
                    std::as_bytes(std::span(input)), std::as_writable_bytes(std::span(output)).first(capacity));
  const bool beyond = conversion.produced > capacity || output.substr(capacity) != std::string(slack, canary);
  output.resize(std::min(conversion.produced, capacity));
  const Result got{output, conversion.outcome};
  constexpr std::size_t longestCharacter = 8;
  const bool roomEnds = expected.lacksNext && capacity - expected.bytes.size() < longestCharacter;
  const bool sameOutcome = got.outcome == expected.outcome || (roomEnds && got.outcome == Outcome::outputFull);
  if (!beyond && got.bytes == expected.bytes && sameOutcome) return;
  if (!beyond && isWrittenBySteps(target) &&
      isBeginningOf(decodedByIcu(source, input), decodedByIcu(target, got.bytes)))
    return;
  throw Difference{source.name + " to " + target.name + ", " + std::to_string(capacity) + " bytes of room, " +
                   inHexadecimal(input) + "\n  expected " + shown(expected) + "\n  got      " + shown(got) +
                   (beyond ? ", and something beyond the room" : "")};
}

}  // namespace

void compareHostWithIcu(Choices& choices) {
  const std::vector<host::Encoding>& all = host::encodings();
  const host::Encoding& encoding = all[choices.below(0x10000) % all.size()];
  const host::Encoding& form = anyForm(choices);
  if (choices.oneIn(2)) {
    const std::string input = anyBytes(choices, encoding);
    const Decoded decoded = decodedByIcu(encoding, input);
    const std::size_t most = encodedByIcu(form, decoded.characters).value_or("").size();
    const std::size_t capacity = choices.oneIn(2) ? choices.below(0x10000) % (most + 1) : most + choices.below(8);
    compare(encoding, form, input, capacity, cut(form, decoded.characters, decoded.outcome, capacity));
  } else {
    const std::u32string text = anyText(choices);
    const std::string input = encodedByIcu(form, text).value();
    const std::size_t most = encodedByIcu(encoding, text).value_or(input).size();
    const std::size_t capacity = choices.oneIn(2) ? choices.below(0x10000) % (most + 1) : most + choices.below(8);
    compare(form, encoding, input, capacity, cut(encoding, text, Outcome::done, capacity));
  }
}

}  // namespace rq::test
