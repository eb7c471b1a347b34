#include "host/pieces.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "frame/types.h"

namespace rq::host {
namespace {

constexpr std::size_t scratchUnits = 4096;

std::uint32_t byteAt(Bytes text, std::size_t index) {
  return std::to_integer<std::uint32_t>(text[index]);
}

/// The lengths of an encoding's code units, or 0 for encodings of ICU.
std::size_t unitBytes(const Encoding& encoding) {
  switch (encoding.identifier) {
    case RQ_ENCODING_UTF16_BIG:
    case RQ_ENCODING_UTF16_LITTLE:
      return 2;
    case RQ_ENCODING_UTF32_BIG:
    case RQ_ENCODING_UTF32_LITTLE:
      return 4;
    default:
      return codecOf(encoding.identifier)->cutsCleanly() ? 1 : 0;
  }
}

std::uint32_t utf16At(const Encoding& encoding, Bytes text, std::size_t index) {
  const bool big = encoding.identifier == RQ_ENCODING_UTF16_BIG;
  return byteAt(text, index + (big ? 0 : 1)) << 8 | byteAt(text, index + (big ? 1 : 0));
}

/// The length of the UTF-8 character that `text` ends inside of, as far as it is there, or 0.
std::size_t unfinishedUtf8(Bytes text) {
  for (std::size_t length = 1; length <= std::min<std::size_t>(3, text.size()); ++length) {
    const std::uint32_t byte = byteAt(text, text.size() - length);
    if ((byte & 0xC0) == 0x80) continue;
    const std::size_t whole = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    return length < whole ? length : 0;
  }
  return 0;
}

/// Bytes at the end of `text` that ICU has read and not yet turned into characters. Encodings that write surrogates
/// leave 1 as well when the text ends behind a high one.
std::size_t pendingInIcu(const Encoding& encoding, Bytes text) {
  const Converter converter = openConverter(encoding.name);
  UChar lastUnit = 0;
  if (!converter) return 0;
  std::array<UChar, scratchUnits> units;
  const auto* from = reinterpret_cast<const char*>(text.data());
  const char* const end = from + text.size();
  UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
  while (error == U_BUFFER_OVERFLOW_ERROR) {
    error = U_ZERO_ERROR;
    UChar* to = units.data();
    ucnv_toUnicode(converter.get(), &to, units.data() + units.size(), &from, end, nullptr, 0, &error);
    if (to != units.data()) lastUnit = to[-1];
  }
  if (U_FAILURE(error)) return 0;  // the operation on the text says what is wrong
  if (U16_IS_LEAD(lastUnit)) return 1;
  return static_cast<std::size_t>(std::max(ucnv_toUCountPending(converter.get(), &error), 0));
}

struct Lines {
  std::uint64_t ends = 0, charactersBehind = 0;
};

constexpr std::size_t blockUnits = 128;  // no unit is too small to count them

template <class Unit>
Unit unitAt(Bytes text, std::size_t index) {
  Unit unit;
  std::memcpy(&unit, &text[index * sizeof unit], sizeof unit);
  return unit;
}

/// Counts in a unit, which compilers vectorise.
template <class Unit, class Counts>
Unit countBlock(Bytes text, std::size_t begin, Counts counts) {
  Unit count = 0;
  for (std::size_t i = 0; i < blockUnits; ++i)
    count = static_cast<Unit>(count + (counts(unitAt<Unit>(text, begin + i)) ? 1 : 0));
  return count;
}

template <class Unit, class Counts>
std::uint64_t countUnits(Bytes text, Counts counts) {
  const std::size_t units = text.size() / sizeof(Unit);
  std::uint64_t count = 0;
  std::size_t i = 0;
  for (; units - i >= blockUnits; i += blockUnits) count += countBlock<Unit>(text, i, counts);
  for (; i < units; ++i) count += counts(unitAt<Unit>(text, i)) ? 1U : 0U;
  return count;
}

/// The same as countLines, without the start of a search by blocks.
template <class Unit, class Begins>
Lines countFewLines(Bytes text, Unit lineFeed, Begins begins) {
  Lines lines;
  for (std::size_t i = 0; i < text.size() / sizeof(Unit); ++i) {
    const Unit unit = unitAt<Unit>(text, i);
    if (unit == lineFeed) {
      lines = {lines.ends + 1, 0};
    } else if (begins(unit)) {
      ++lines.charactersBehind;
    }
  }
  return lines;
}

/// Counts the units of a text that end a line, and behind the last of them those that begin a character.
template <class Unit, class Begins>
Lines countLines(Bytes text, Unit lineFeed, Begins begins) {
  const auto endsLine = [lineFeed](Unit unit) { return unit == lineFeed; };
  std::size_t behind = text.size() / sizeof(Unit);
  if (behind < blockUnits) return countFewLines(text, lineFeed, begins);
  while (behind >= blockUnits && countBlock<Unit>(text, behind - blockUnits, endsLine) == 0) behind -= blockUnits;
  while (behind > 0 && !endsLine(unitAt<Unit>(text, behind - 1))) --behind;
  const std::size_t bytes = behind * sizeof(Unit);
  return {countUnits<Unit>(text.first(bytes), endsLine), countUnits<Unit>(text.subspan(bytes), begins)};
}

/// The byte of a single-byte encoding that ends a line; nothing for other encodings, or if there are two.
std::optional<std::uint8_t> lineEndByte(const Encoding& encoding) {
  if (unitBytes(encoding) != 1) return std::nullopt;
  const Codec& codec = *codecOf(encoding.identifier);
  std::optional<std::uint8_t> found;
  for (unsigned value = 0; value < 0x100; ++value) {
    const auto byte = static_cast<std::byte>(value);
    char32_t character = 0;
    if (codec.decodeOne({&byte, 1}, character, true).produced == 0 || character != U'\n') continue;
    if (found) return std::nullopt;
    found = static_cast<std::uint8_t>(value);
  }
  return found;
}

/// Nothing for stateful encodings.
std::optional<Lines> linesOf(const Encoding& encoding, Bytes text) {
  const auto always = [](auto) { return true; };
  switch (encoding.identifier) {
    case RQ_ENCODING_UTF8:
      return countLines<std::uint8_t>(text, '\n', [](std::uint8_t byte) { return (byte & 0xC0) != 0x80; });
    case RQ_ENCODING_UTF16_LITTLE:
      return countLines<std::uint16_t>(text, '\n', [](std::uint16_t unit) { return (unit & 0xFC00) != 0xDC00; });
    case RQ_ENCODING_UTF16_BIG:
      return countLines<std::uint16_t>(text, '\n' << 8, [](std::uint16_t unit) { return (unit & 0xFC) != 0xDC; });
    case RQ_ENCODING_UTF32_LITTLE:
      return countLines<std::uint32_t>(text, '\n', always);
    case RQ_ENCODING_UTF32_BIG:
      return countLines<std::uint32_t>(text, std::uint32_t{'\n'} << 24, always);
    default:
      break;
  }
  const Codec& codec = *codecOf(encoding.identifier);
  if (codec.stateful()) return std::nullopt;
  if (const auto lineEnd = lineEndByte(encoding)) return countLines<std::uint8_t>(text, *lineEnd, always);
  Lines lines;
  readCharacters(codec, text, [&](std::span<const char32_t> piece) {
    const Lines more = countLines<char32_t>(std::as_bytes(piece), U'\n', always);
    lines.charactersBehind = more.charactersBehind + (more.ends == 0 ? lines.charactersBehind : 0);
    lines.ends += more.ends;
  });
  return lines;
}

/// U+0020 in an encoding; empty where there is none.
std::string blankIn(const Codec& codec) {
  const std::byte blank{' '};
  return convertAll(*codecOf(RQ_ENCODING_UTF8), codec, {&blank, 1}).value_or("");
}

Error cannotOpen(const Encoding& encoding) {
  return {Error::Kind::system, "cannot open the encoding " + encoding.name};
}

}  // namespace

std::size_t wholeCharacters(const Encoding& encoding, Bytes text) {
  if (encoding.identifier == RQ_ENCODING_UTF8) return text.size() - unfinishedUtf8(text);
  const std::size_t unit = unitBytes(encoding);
  if (unit == 0) {
    std::size_t length = text.size();
    while (const std::size_t pending = pendingInIcu(encoding, text.first(length))) length -= pending;
    return length;
  }
  const std::size_t units = text.size() - text.size() % unit;
  const bool endsWithHighSurrogate =
      unit == 2 && units > 0 && (utf16At(encoding, text, units - 2) & 0xFC00) == 0xD800;
  return endsWithHighSurrogate ? units - 2 : units;
}

std::size_t wholeBlocks(const Encoding& encoding, Bytes text) {
  const Codec& codec = *codecOf(encoding.identifier);
  std::array<char32_t, Codec::pieceCharacters> block;
  std::size_t length = 0;
  for (;;) {
    const Step read = codec.decodeFully(text.subspan(length), block, true);
    if (read.produced < block.size()) return length;
    length += read.consumed;
  }
}

bool writesInBlocks(const Encoding& encoding) {
  const Converter converter = openConverter(encoding.name);
  if (!converter) return false;
  const UConverterType type = ucnv_getType(converter.get());
  return type == UCNV_SCSU || (type >= UCNV_LMBCS_1 && type <= UCNV_LMBCS_LAST);
}

Position positionBehind(const Encoding& encoding, Bytes text, Position start) {
  const std::optional<Lines> lines = linesOf(encoding, text);
  start.offset += text.size();
  if (!lines) return start;
  return {start.offset, start.line + lines->ends, (lines->ends == 0 ? start.column : 1) + lines->charactersBehind};
}

std::uint64_t blanksAtEnd(const Encoding& encoding, Bytes text) {
  const Codec& codec = *codecOf(encoding.identifier);
  const std::string blank = blankIn(codec);
  const auto endsWithBlank = [&blank](Bytes bytes) {
    return !blank.empty() && bytes.size() >= blank.size() &&
           std::memcmp(bytes.data() + bytes.size() - blank.size(), blank.data(), blank.size()) == 0;
  };
  std::uint64_t count = 0;
  if (codec.cutsCleanly()) {
    for (; endsWithBlank(text); text = text.first(text.size() - blank.size())) ++count;
  } else if (endsWithBlank(text)) {
    readCharacters(codec, text, [&count](std::span<const char32_t> piece) {
      for (const char32_t c : piece) count = c == U' ' ? count + 1 : 0;
    });
  }
  return count;
}

std::bitset<0x80> asciiBytes(const Codec& codec) {
  std::bitset<0x80> ascii;
  for (unsigned value = 0; value < 0x80; ++value) {
    const auto byte = static_cast<std::byte>(value);
    char32_t character = 0;
    const Step step = codec.decodeOne({&byte, 1}, character, true);
    ascii[value] = step.produced == 1 && step.consumed == 1 && character == value;
  }
  return ascii;
}

bool isAsciiCompatible(const Codec& codec) {
  return asciiBytes(codec).all();
}

Result<CharacterReader> CharacterReader::open(const Encoding& encoding) {
  Converter converter = openConverter(encoding.name);
  if (!converter) return cannotOpen(encoding);
  return CharacterReader(encoding, std::move(converter));
}

Error CharacterReader::problem(bool truncated, const std::string& bytes) const {
  Problem problem{truncated ? Outcome::truncated : Outcome::malformed, position_, std::as_bytes(std::span(bytes)), 0};
  problem.position.offset = offset_ - bytes.size();
  return {Error::Kind::data, describe(problem, *encoding_, *encoding_)};
}

/// False for a surrogate without its partner.
Done CharacterReader::take(std::u16string_view units) {
  for (const char16_t unit : units) {
    if ((lead_ != 0) != U16_IS_TRAIL(unit)) return problem(false, "");
    if (U16_IS_LEAD(unit)) {
      lead_ = unit;
      continue;
    }
    const char32_t character = lead_ != 0 ? static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead_, unit)) : unit;
    lead_ = 0;
    characters_.push_back(character);
    position_.line += character == U'\n' ? 1 : 0;
    position_.column = character == U'\n' ? 1 : position_.column + 1;
  }
  return done();
}

Result<Bytes> CharacterReader::read(Bytes piece, bool last) {
  characters_.clear();
  std::array<UChar, scratchUnits> units;
  const auto* from = reinterpret_cast<const char*>(piece.data());
  const char* const end = from + piece.size();
  UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
  while (error == U_BUFFER_OVERFLOW_ERROR) {
    error = U_ZERO_ERROR;
    UChar* to = units.data();
    const char* const before = from;
    ucnv_toUnicode(converter_.get(), &to, units.data() + units.size(), &from, end, nullptr, last ? 1 : 0, &error);
    offset_ += static_cast<std::uint64_t>(from - before);
    if (Done taken = take({units.data(), to}); !taken) return taken.error();
  }
  if (U_FAILURE(error)) {
    std::array<char, 32> bytes;
    auto length = static_cast<std::int8_t>(bytes.size());
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidChars(converter_.get(), bytes.data(), &length, &ignored);
    return problem(error == U_TRUNCATED_CHAR_FOUND,
                   {bytes.data(), static_cast<std::size_t>(std::max<std::int8_t>(length, 0))});
  }
  if (last && lead_ != 0) return problem(false, "");
  return std::as_bytes(std::span(characters_));
}

Result<CharacterWriter> CharacterWriter::open(const Encoding& encoding, Unmappable unmappable) {
  Converter converter = openConverter(encoding.name, unmappable);
  if (!converter) return cannotOpen(encoding);
  return CharacterWriter(std::move(converter));
}

std::optional<Bytes> CharacterWriter::write(Bytes characters, bool last) {
  bytes_.clear();
  begun_ = begun_ || !characters.empty();
  if (!begun_) return Bytes(bytes_);  // nothing has no end either
  constexpr std::size_t room = 16 * Codec::pieceCharacters;
  std::array<UChar, 2 * Codec::pieceCharacters> units;
  bool ended = false;
  while (!ended) {
    std::size_t count = 0;
    const Bytes block = characters.first(std::min(characters.size(), Codec::pieceCharacters * sizeof(char32_t)));
    characters = characters.subspan(block.size());
    for (std::size_t at = 0; at < block.size(); at += sizeof(char32_t)) {
      char32_t c;
      std::memcpy(&c, &block[at], sizeof c);
      if (c > 0xFFFF) units[count++] = static_cast<UChar>(0xD7C0 + (c >> 10));
      units[count++] = static_cast<UChar>(c > 0xFFFF ? 0xDC00 | (c & 0x3FF) : c);
    }
    ended = characters.empty();
    const UChar* from = units.data();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      const std::size_t filled = bytes_.size();
      bytes_.resize(filled + room);
      auto* const begin = reinterpret_cast<char*>(bytes_.data() + filled);
      char* to = begin;
      ucnv_fromUnicode(converter_.get(), &to, begin + room, &from, units.data() + count, nullptr,
                       static_cast<UBool>(last && ended), &error);
      bytes_.resize(filled + static_cast<std::size_t>(to - begin));
    }
    if (U_FAILURE(error)) return std::nullopt;
  }
  return Bytes(bytes_);
}

}  // namespace rq::host
