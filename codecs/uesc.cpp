// Unicode escapes: a backslash, `u` or `U`, and four or eight hexadecimal digits.
#include "codecs/flavour.h"
#include "codecs/output.h"
#include "codecs/surrogates.h"
#include "codecs/widen.h"

namespace rq {
namespace {

constexpr std::uint32_t shortEscape = 4;  // digits

/// The planes that eight digits may name; a longer run than four is read as its first four digits for any other.
constexpr bool isPlaneOfLongEscape(std::uint32_t plane) {
  return plane <= 2 || (plane >= 14 && plane <= 16);
}

/// The digits of an escape out of the run behind its marker. A run of zeros keeps its full length.
constexpr Digits digitsOfEscape(Digits run) {
  if (run.count == shortEscape) return run;
  if (run.count < shortEscape) return {0, run.count};
  if (run.value == 0) return run;
  if (run.count < mostDigits || !isPlaneOfLongEscape(run.value >> 16)) return run.first(shortEscape);
  return run;
}

/// An escape at the current place, with the low surrogate behind it if there is one.
struct Decoded {
  std::uint32_t codePoint;
  std::uint64_t consumed;
  bool isEscape;  // false: too few digits, the text stays
};

template <Flavour F, class Unit = typename F::Unit>
Decoded decodeEscape(const Unit* at, std::uint64_t remaining, Unit escape) {
  const Digits digits = digitsOfEscape(F::readHex(at + 2, smaller(remaining - 2, mostDigits)));
  const Decoded whole = {digits.value, digits.count + 2, digits.count >= shortEscape};
  if (digits.count != shortEscape || !isHighSurrogate(digits.value)) return whole;

  const Unit* const behind = at + whole.consumed;
  const std::uint64_t left = remaining - whole.consumed;
  if (left <= 2 || load(behind) != escape || withoutCase(load(behind + 1)) != 'U') return whole;
  const Digits low = F::readHex(behind + 2, smaller(left - 2, shortEscape));
  if (low.count != shortEscape || !isLowSurrogate(low.value)) return whole;
  return {pairedCodePoint(digits.value, low.value), whole.consumed + 2 + shortEscape, true};
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getUEsc(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                 std::uint64_t* written) {
  Progress<Unit> progress(input, units, output, capacity);
  RQ_UNINITIALIZED RoundTrips<Unit, 20> roundTrips(object);
  const Unit escape = F::escape(object);
  RQStatus status = RQ_SUCCESS;
  while (progress.goesOn() && progress.copyUpTo(escape, 'U', withoutCase(static_cast<Unit>(~Unit{0})))) {
    if (progress.remaining() <= 2) {
      progress.copyRest();
      break;
    }
    const Unit* const at = progress.at();
    if (withoutCase(load(at + 2)) == 'U') {
      progress.writeDoubled(escape, load(at + 1));
      continue;
    }
    const Decoded decoded = decodeEscape<F>(at, progress.remaining(), escape);
    const Replacement<Unit> replacement =
        decoded.isEscape ? roundTrips.of(decoded.codePoint) : Replacement<Unit>{nullptr, 0};
    if (!progress.replace(decoded.consumed, replacement)) {
      status = RQ_REPLACEMENT_DOES_NOT_FIT;
      break;
    }
  }
  *written = progress.written();
  return status;
}

/// The first character that is escaped; DEL deliberately is.
constexpr std::uint8_t firstEscaped = 0x7F;
/// Units of an escape with four and with eight digits; `\u0041` in a text to be encoded is at least as long.
constexpr std::uint64_t shortLength = 6;
constexpr std::uint64_t longLength = 10;

/// An escape with four digits as text, but for its backslash.
constexpr std::uint64_t escapeText(std::uint32_t digits) {
  return 'u' << 8 | hexText(digits) << 16;
}

/// Writes an escape and returns its length, or 0 when it does not fit in `room` units.
template <class Unit>
std::uint64_t writeEscape(Unit* out, std::uint64_t room, std::uint32_t character) {
  const std::uint64_t length = character > 0xFFFF ? longLength : shortLength;
  if (room < length) return 0;
  if (length == shortLength) {
    storeText<shortLength>(out, '\\' | escapeText(character));
  } else {
    storeText<shortLength>(out, '\\' | escapeText(character >> 16));
    storeText<longLength - shortLength>(out + shortLength, hexText(character));
  }
  return length;
}

constexpr bool isPlain(std::uint32_t character) {
  return (character != '\\') & (character < firstEscaped);
}

/// Encodes words: characters of four digits, and single plain ones with such a character behind. No branch tells
/// these apart, for it would be mispredicted once a word: a plain one begins the escape that comes next, and is
/// followed by it once more, in its right place. Bytes are written by one store, up to 7 too many, so it stops where
/// as many are certain to be written behind: before the last three characters, and while two of the longest fit.
template <class Unit>
Moved encodeWords(const RQChar* text, std::uint64_t count, Unit* out, std::uint64_t room) {
  Moved moved;
  constexpr std::uint64_t stored = sizeof(Unit) == 1 ? 8 : shortLength;
  while (count - moved.read > 3 && room - moved.written >= stored + 2 * longLength) {
    const std::uint32_t character = load(text + moved.read);
    const std::uint64_t plain = isPlain(character);  // 1 or 0, and reckoned with
    const std::uint32_t escaped = load(text + moved.read + plain);
    if (escaped < firstEscaped || escaped > 0xFFFF) break;
    storeText<stored>(out + moved.written, ('\\' + plain * (character - std::uint64_t{'\\'})) | escapeText(escaped));
    moved.written += shortLength - (shortLength - 1) * plain;
    ++moved.read;
  }
  return moved;
}
/// Bytes are ASCII, so there is nothing to do.
template <class Unit>
Moved encodeWords(const std::uint8_t*, std::uint64_t, Unit*, std::uint64_t) {
  return {};
}

/// Encodes a text of characters; *written may come to lie up to 2 above the capacity, by a doubled marker at its end.
template <class Unit, class Character>
RQStatus encodeEscapes(const Character* text, std::uint64_t count, Unit* output, std::uint64_t capacity,
                       std::uint64_t* written) {
  std::uint64_t out = 0;
  RQStatus status = RQ_SUCCESS;
  for (std::uint64_t i = 0; i < count && out < capacity;) {
    const Moved words = encodeWords(text + i, count - i, output + out, capacity - out);
    i += words.read;
    out += words.written;  // words end with text and room left

    const std::uint32_t character = load(text + i);
    if (isPlain(character)) {
      const std::uint64_t most = smaller(count - i, capacity - out);
      const std::uint64_t copied = kit::copyWhileBelow(text + i, most, output + out, '\\', firstEscaped);
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
      store(output + out++, marker);  // not tested against the capacity
      store(output + out++, marker);
      continue;
    }
    const std::uint64_t length = writeEscape(output + out, capacity - out, character);
    if (length == 0) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    out += length;
    ++i;
  }
  *written = out;
  return status;
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus putUEsc(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                 std::uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, 256);
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
