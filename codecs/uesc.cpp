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

/// A decoded escape; a high surrogate includes the low surrogate behind it.
struct Decoded {
  std::uint32_t codePoint;
  std::uint64_t consumed;
  bool isEscape;  // false when it has too few digits: the text stays
};

template <Flavour F, class Unit = typename F::Unit>
Decoded decodeEscape(const Unit* at, std::uint64_t remaining, Unit escape) {
  const Digits digits = digitsOfEscape(F::readHex(at + 2, std::min<std::uint64_t>(remaining - 2, maxDigits)));
  const Decoded whole = {digits.value, digits.count + 2, digits.count >= shortEscape};
  if (digits.count != shortEscape || !isHighSurrogate(digits.value)) return whole;

  const Unit* const behind = at + whole.consumed;
  const std::uint64_t left = remaining - whole.consumed;
  if (left <= 2 || load(behind) != escape || withoutCase(load(behind + 1)) != 'U') return whole;
  const Digits low = F::readHex(behind + 2, std::min<std::uint64_t>(left - 2, shortEscape));
  if (low.count != shortEscape || !isLowSurrogate(low.value)) return whole;
  return {pairedCodePoint(digits.value, low.value), whole.consumed + 2 + shortEscape, true};
}

/// The capacity in units that the host is given for a decoded character.
constexpr std::uint64_t roundTripRoom = 20;

/// Escapes of the common shape: four digits but not four zeros, not eight, not a high surrogate. Where the host
/// upper-cases digits, all escapes but doubled markers, so that it sees each one once.
template <Flavour F, class Unit = typename F::Unit>
class CommonEscapes {
 public:
  static constexpr std::uint64_t maxLength = 2 * (2 + std::uint64_t{shortEscape});
  // A high surrogate includes the low one. An object's escape character may be a digit that begins a pair.
  static constexpr bool includesOthers = sizeof(Unit) == 1;

  CommonEscapes(Unit escape, const Unit* end) : escape_(escape), end_(end) {}

  Marks<Unit> marks() const { return {escape_, 'U', caseless<Unit>}; }

  Common read(const Unit* at) const {
    if constexpr (F::hasServedDigits) {
      if (withoutCase(load(at + 2)) == 'U') return {};
      const Decoded decoded = decodeEscape<F>(at, static_cast<std::uint64_t>(end_ - at), escape_);
      return {decoded.codePoint, decoded.consumed, !decoded.isEscape};
    } else {
      const std::uint32_t value = fourHexDigits.at(at + 2);
      if (value == 0 || value >= noFourDigits || isHighSurrogate(value)) return {};
      return mayBeLong(at + 6) ? Common{} : Common{value, 2 + shortEscape};
    }
  }

 private:
  /// Whether four more digits may follow. In the wide flavour the host may make a digit of what is not ASCII.
  static bool mayBeLong(const Unit* behind) {
    const Unit next = load(behind);
    if (next < kit::asciiEnd && hexDigit(next) == noDigit) return false;
    if (fourHexDigits.at(behind) < noFourDigits) return true;
    if constexpr (sizeof(Unit) == 1)
      return false;
    else
      return (next | load(behind + 1) | load(behind + 2) | load(behind + 3)) >= kit::asciiEnd;
  }

  const Unit escape_;
  const Unit* const end_;
};

template <Flavour F, class Unit = typename F::Unit>
RQStatus getUEsc(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                 std::uint64_t* written) {
  Cursor<Unit> cursor(input, units, output, capacity);
  RQ_UNINITIALIZED RoundTrips<Unit, roundTripRoom> roundTrips(object);
  const Unit escape = F::escape(object);
  RQ_UNINITIALIZED BlockDecoder<CommonEscapes<F>, Unit, roundTripRoom> blocks({escape, cursor.end()});
  RQStatus status = RQ_SUCCESS;
  while (cursor.hasWork() && cursor.copyUpTo(escape, 'U', caseless<Unit>)) {
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
    const Decoded decoded = decodeEscape<F>(at, cursor.remaining(), escape);
    const Replacement<Unit> replacement =
        decoded.isEscape ? roundTrips.of(decoded.codePoint) : Replacement<Unit>{nullptr, 0};
    if (!cursor.replace(decoded.consumed, replacement)) {
      status = RQ_REPLACEMENT_DOES_NOT_FIT;
      break;
    }
  }
  *written = cursor.written();
  return status;
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
