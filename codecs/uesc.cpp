// Unicode escapes: a backslash, `u` or `U`, and four or eight hexadecimal digits.
#include <algorithm>

#include "codecs/blocks.h"
#include "codecs/cursor.h"
#include "codecs/digit_words.h"
#include "codecs/encode_blocks.h"
#include "codecs/flavour.h"
#include "codecs/surrogates.h"
#include "codecs/widen.h"

namespace rq {
namespace {

constexpr std::uint32_t shortEscape = 4;  // digits

/// The planes that eight digits may name. For any other plane only the first four digits count.
constexpr bool isPlaneOfLongEscape(std::uint32_t plane) {
  return plane <= 2 || (plane >= 14 && plane <= 16);
}

/// The digits of an escape, taken from the run behind its marker. A run of zeros keeps its full length.
constexpr Digits digitsOfEscape(Digits run) {
  if (run.count == shortEscape) return run;
  if (run.count < shortEscape) return {0, run.count};
  if (run.value == 0) return run;
  if (run.count < maxDigits || !isPlaneOfLongEscape(run.value >> 16)) return run.first(shortEscape);
  return run;
}

/// Decodes an escape; a high surrogate includes the low one behind it. With too few digits it stays as text.
template <Flavour F, class Unit = typename F::Unit>
Common decodeEscape(const Unit* at, std::uint64_t remaining, Unit escape) {
  const Digits digits = digitsOfEscape(F::readHex(at + 2, std::min<std::uint64_t>(remaining - 2, maxDigits)));
  if (digits.count < shortEscape) return {Common::asText, digits.count + 2};
  const Common whole = {digits.value, digits.count + 2};
  if (digits.count != shortEscape || !isHighSurrogate(digits.value)) return whole;

  const Unit* const behind = at + whole.length;
  const std::uint64_t left = remaining - whole.length;
  if (left <= 2 || load(behind) != escape || withoutCase(load(behind + 1)) != 'U') return whole;
  const Digits low = F::readHex(behind + 2, std::min<std::uint64_t>(left - 2, shortEscape));
  if (low.count != shortEscape || !isLowSurrogate(low.value)) return whole;
  return {pairedCodePoint(digits.value, low.value), 2 * whole.length};
}

/// The capacity in units that the host is given for a decoded character.
constexpr std::uint64_t roundTripRoom = 20;

/// Escapes with at least four digits. Where the host may make digits, also those with fewer, so that it sees each one
/// once; doubled markers never.
template <Flavour F, class Unit = typename F::Unit>
class CommonEscapes {
 public:
  static constexpr std::uint64_t maxLength = 2 * (2 + std::uint64_t{shortEscape});
  static constexpr bool includesOthers = true;  // a high surrogate includes the low one

  CommonEscapes(Unit escape, const Unit* end) : escape_(escape), end_(end) {}

  Marks<Unit> marks() const { return {escape_, 'U', caseless<Unit>}; }

  Common read(const Unit* at) const {
    if constexpr (!F::hasServedDigits) {
      const std::uint32_t value = fourHexDigits.at(at + 2);
      const bool isCharacter = value != 0 && value < noFourDigits && !isHighSurrogate(value);
      if (isCharacter && !mayBeLong(at + 2 + shortEscape)) [[likely]]
        return {value, 2 + shortEscape};
      if (sizeof(Unit) == 1 && value >= noFourDigits) return {};  // no host makes more digits of bytes
    }
    return readOther(at);
  }

 private:
  /// Not inlined: most escapes have four digits, and the loop that decodes needs the registers.
  [[gnu::noinline]] Common readOther(const Unit* at) const {
    if (withoutCase(load(at + 2)) == 'U') return {};
    return decodeEscape<F>(at, static_cast<std::uint64_t>(end_ - at), escape_);
  }

  /// Whether four more digits may follow. In the wide flavour the host may make a digit of what is not ASCII. Tests
  /// two first: one letter of prose behind an escape is often a digit, two seldom are.
  static bool mayBeLong(const Unit* behind) {
    if constexpr (sizeof(Unit) > 1)
      if ((load(behind) | load(behind + 1) | load(behind + 2) | load(behind + 3)) >= kit::asciiEnd) return true;
    if ((hexDigit(load(behind)) | hexDigit(load(behind + 1))) == noDigit) return false;
    return fourHexDigits.at(behind) < noFourDigits;
  }

  const Unit escape_;
  const Unit* const end_;
};

/// Decodes from the first escape on. Not inlined: a text without escapes needs no room for answers.
template <Flavour F, class Unit = typename F::Unit>
[[gnu::noinline]] RQStatus decodeEscapes(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output,
                                         std::uint64_t capacity, std::uint64_t* written, std::uint64_t copied) {
  Cursor<Unit> cursor(input, units, output, capacity, copied);
  RQ_UNINITIALIZED RoundTrips<Unit, roundTripRoom> roundTrips(object);
  const Unit escape = F::escape(object);
  RQ_UNINITIALIZED BlockDecoder<CommonEscapes<F>, Unit, roundTripRoom> blocks({escape, cursor.end()});
  RQStatus status = RQ_SUCCESS;
  do {
    if (blocks.decode(cursor, roundTrips)) [[unlikely]]
      continue;
    if (cursor.remaining() <= 2) {
      cursor.copyRest();
      break;
    }
    const Unit* const at = cursor.at();
    if (withoutCase(load(at + 2)) == 'U') {
      cursor.writeDoubled(escape, load(at + 1));
      continue;
    }
    const Common decoded = decodeEscape<F>(at, cursor.remaining(), escape);
    const bool stays = decoded.codePoint == Common::asText;
    const auto replacement =
        stays ? Replacement<Unit>{nullptr, 0} : roundTrips.of(static_cast<std::uint32_t>(decoded.codePoint));
    if (!cursor.replace(decoded.length, replacement)) {
      status = RQ_REPLACEMENT_DOES_NOT_FIT;
      break;
    }
  } while (cursor.hasWork() && cursor.copyUpTo(escape, 'U', caseless<Unit>));
  *written = cursor.written();
  return status;
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getUEsc(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                 std::uint64_t* written) {
  Cursor<Unit> cursor(input, units, output, capacity);
  if (cursor.hasWork() && cursor.copyUpTo(F::escape(object), 'U', caseless<Unit>))
    return decodeEscapes<F>(object, input, units, output, capacity, written, cursor.written());
  *written = cursor.written();
  return RQ_SUCCESS;
}

/// The first character that is escaped; DEL deliberately is.
constexpr std::uint8_t firstEscaped = 0x7F;
/// Units of an escape with four and with eight digits. Shorter text is never taken for an escape by the encoder.
constexpr std::uint64_t shortLength = 6;
constexpr std::uint64_t longLength = 10;

/// An escape with four digits as text, with a zero in the place of its backslash.
constexpr std::uint64_t escapeText(std::uint32_t digits) {
  return 'u' << 8 | hexText(digits) << 16;
}

/// Writes an escape and returns its length. Four digits are written by stores of `stored` units.
template <std::uint64_t stored, class Unit>
std::uint64_t writeEscape(Unit* out, std::uint32_t character) {
  if (character <= 0xFFFF) [[likely]] {
    storeText<stored>(out, '\\' | escapeText(character));
    return shortLength;
  }
  storeText<stored>(out, '\\' | escapeText(character >> 16));
  storeText<longLength - shortLength>(out + shortLength, hexText(character));
  return longLength;
}

/// Whether the encoder copies a character.
constexpr bool isLiteral(std::uint32_t character) {
  return character < firstEscaped && character != '\\';
}
constexpr kit::AsciiSet literals = [] {
  kit::AsciiSet set;
  for (std::uint32_t c = 0; c < firstEscaped; ++c)
    if (isLiteral(c)) set.add(c);
  return set;
}();

/// Encodes a character of a block that is not copied. Leaves a backslash before a marker, which may look like an
/// escape.
template <class Unit>
std::uint64_t writeOther(Unit* out, const RQChar* at) {
  const std::uint32_t character = load(at);
  if (character != '\\') [[likely]]
    return writeEscape<8>(out, character);
  store(out, Unit{'\\'});
  return withoutCase(load(at + 1)) == 'U' ? leave : 1;
}

/// Copies literals up to the first other character. Returns their number.
template <class Unit, class Character>
std::uint64_t copyLiteralRun(const Character* text, std::uint64_t count, Unit* out) {
  std::uint64_t i = 0;
  if constexpr (sizeof(Character) > 1) {  // most runs are short, and a loop is faster than a kernel
    constexpr std::uint64_t shortRun = 4;
    for (; i < shortRun; ++i) {
      if (i == count || !isLiteral(load(text + i))) return i;
      store(out + i, static_cast<Unit>(load(text + i)));
    }
    if (i == count) return i;
  }
  return i + kit::copyWhileBelow(text + i, count - i, out + i, '\\', firstEscaped);
}

/// Encodes a text of characters. A doubled marker at the end may exceed the capacity by 2 units, *written included.
template <class Unit, class Character>
RQStatus encodeEscapes(const Character* text, std::uint64_t count, Unit* output, std::uint64_t capacity,
                       std::uint64_t* written) {
  std::uint64_t out = 0;
  RQStatus status = RQ_SUCCESS;
  for (std::uint64_t i = 0; i < count && out < capacity;) {
    if (fitsBlock(count - i, capacity - out)) {
      const Moved blocks = encodeBlocks(
          text + i, count - i, output + out, capacity - out, literals,
          [](Unit* to, const RQChar* at, std::uint64_t most) {
            return kit::copyWhileBelow(at, most, to, '\\', firstEscaped);
          },
          [](Unit* to, const RQChar* at) { return writeOther(to, at); });
      i += blocks.read;
      out += blocks.written;
      if (i == count || out == capacity) break;
    }
    const std::uint32_t character = load(text + i);
    if (isLiteral(character)) {
      const std::uint64_t copied = copyLiteralRun(text + i, std::min(count - i, capacity - out), output + out);
      i += copied;
      out += copied;
      continue;
    }
    if (character == '\\') {
      store(output + out++, Unit{'\\'});
      ++i;
      const bool looksLikeEscape = count - i + 1 >= shortLength && withoutCase(load(text + i)) == 'U';
      if (!looksLikeEscape) continue;
      const auto marker = static_cast<Unit>(load(text + i++));
      store(output + out++, marker);  // the capacity is not tested
      store(output + out++, marker);
      continue;
    }
    if (capacity - out < (character <= 0xFFFF ? shortLength : longLength)) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    out += writeEscape<shortLength>(output + out, character);
    ++i;
  }
  *written = out;
  return status;
}

/// Longer texts take a block of the pool. The other encoders take one from 256 units on; kept: hosts depend on it.
constexpr std::uint64_t maxLocalUnits = 256;

template <Flavour F, class Unit = typename F::Unit>
RQStatus putUEsc(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                 std::uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, maxLocalUnits);
  if (!buffer.obtained()) return RQ_NO_MEMORY;
  return withCharacters(
      object, input, units, isAscii(input, units), buffer,
      [&](const auto* text, std::uint64_t count) { return encodeEscapes(text, count, output, capacity, written); });
}

}  // namespace
}  // namespace rq

RQ_CODEC(ulGetUEsc, getUEsc, Plain)
RQ_CODEC(S_ulGetUEsc, getUEsc, Served)
RQ_CODEC(T_ulGetUEsc, getUEsc, Wide)
RQ_CODEC(ulPutUEsc, putUEsc, Plain)
RQ_CODEC(S_ulPutUEsc, putUEsc, Served)
RQ_CODEC(T_ulPutUEsc, putUEsc, Wide)
