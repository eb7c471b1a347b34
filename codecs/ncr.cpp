// Numeric character references: an ampersand, the reference character, digits or `x` and hexadecimal digits, `;`.
#include <algorithm>

#include "codecs/blocks.h"
#include "codecs/cursor.h"
#include "codecs/digit_words.h"
#include "codecs/field.h"
#include "codecs/flavour.h"
#include "codecs/surrogates.h"
#include "codecs/widen.h"

namespace rq {
namespace {

/// One reference: all from '&' to ';'.
struct Reference {
  Digits digits;
  std::uint64_t length;  // units, both ends included; 0 when no ';' is left

  std::uint32_t value() const { return digits.count >= 2 ? digits.value : 0; }  // a single digit counts as none
  bool mayBeSurrogate() const { return digits.count >= 4; }
};

template <Flavour F, class Unit = typename F::Unit>
inline Reference readReference(const Unit* at, Terminators<Unit>& terminators) {
  const std::uint64_t hexadecimal = terminators.left(at + 2) != 0 && load(at + 2) == 'x';  // not 'X'
  const Field inside = hexadecimal ? hexField<F>(at + 3, terminators) : decimalField(at + 2, terminators);
  if (inside.length == noTerminator) return {{}, 0};
  return {inside.digits, inside.length + 3 + hexadecimal};
}

/// A decoded reference; a high surrogate includes the reference to a low surrogate behind it.
struct Decoded {
  std::uint32_t codePoint;
  std::uint64_t consumed;  // 0 when no ';' is left: then there is no reference
};

template <Flavour F, class Unit = typename F::Unit>
inline Decoded decodeReference(const Unit* at, Unit second, Terminators<Unit>& terminators) {
  const Reference high = readReference<F>(at, terminators);
  const Decoded whole = {high.value(), high.length};
  if (!high.mayBeSurrogate() || !isHighSurrogate(high.value())) return whole;

  const Unit* const behind = at + high.length;
  constexpr std::uint64_t shortestPartner = 5;
  if (terminators.left(behind) < shortestPartner || load(behind) != '&' || load(behind + 1) != second) return whole;
  const Reference low = readReference<F>(behind, terminators);
  if (low.length == 0) return whole;
  if (!low.mayBeSurrogate() || !isLowSurrogate(low.value())) return {high.value() & 0xFFFF, high.length};
  return {pairedCodePoint(high.value(), low.value()), high.length + low.length};
}

/// The capacity in units that the host is given for a decoded character.
constexpr std::uint64_t roundTripRoom = 20;

/// References of the common shape: two to seven digits and nothing else, not a high surrogate. Where the host
/// upper-cases digits, all hexadecimal references, so that it sees each one once.
template <Flavour F, class Unit = typename F::Unit>
class CommonReferences {
 public:
  CommonReferences(Unit second, Terminators<Unit>& terminators)
      : second_(second), terminators_(F::hasServedDigits ? &terminators : nullptr) {}

  Marks<Unit> marks() const { return {'&', second_, static_cast<Unit>(~Unit{0})}; }

  Common read(const Unit* at) const {
    if (load(at + 2) == 'x') return readHexadecimal(at);
    if (load(at + 6) == ';') {
      const std::uint32_t value = fourDecimalDigits.at(at + 2);
      if (value < noFourDigits) return {value, 7};
    }
    const std::uint64_t text = loadText(at + 2), bits = decimalDigitBits(text);
    if (!isWhole(at + 2, bits)) return {};
    return reference(decimalValue(text, bits), 2 + bits / 8 + 1);
  }

 private:
  Common readHexadecimal(const Unit* at) const {
    if constexpr (F::hasServedDigits) {
      const Decoded decoded = decodeReference<F>(at, second_, *terminators_);
      return {decoded.codePoint, decoded.consumed};
    }
    const std::uint64_t text = loadText(at + 3), bits = hexDigitBits(text);
    if (!isWhole(at + 3, bits)) return {};
    return reference(hexValue(text, bits), 3 + bits / 8 + 1);
  }

  static bool isWhole(const Unit* digits, std::uint64_t bits) {
    return bits >= 2 * 8 && bits < 64 && load(digits + bits / 8) == ';';
  }
  static Common reference(std::uint32_t value, std::uint64_t length) {
    return isHighSurrogate(value) ? Common{} : Common{value, length};
  }

  const Unit second_;
  Terminators<Unit>* const terminators_;  // of the served flavour only: others keep theirs in registers
};

template <Flavour F, class Unit = typename F::Unit>
RQStatus getNcr(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                std::uint64_t* written) {
  Cursor<Unit> cursor(input, units, output, capacity);
  Terminators<Unit> terminators(input, units, ';');
  RQ_UNINITIALIZED RoundTrips<Unit, roundTripRoom> roundTrips(object);
  const Unit second = F::reference(object);
  RQ_UNINITIALIZED BlockDecoder<CommonReferences<F>, Unit, roundTripRoom> blocks({second, terminators});
  RQStatus status = RQ_SUCCESS;
  while (cursor.hasWork() && cursor.copyUpTo('&', second, static_cast<Unit>(~Unit{0}))) {
    const Progress progress = blocks.decode(cursor, roundTrips);
    if (progress == Progress::some) continue;
    if (progress == Progress::textDoesNotFit) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    const Decoded decoded = decodeReference<F>(cursor.at(), second, terminators);
    if (decoded.consumed == 0) {
      cursor.copyRest();
      break;
    }
    if (!cursor.replace(decoded.consumed, roundTrips.of(decoded.codePoint))) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
  }
  *written = cursor.written();
  return status;
}

/// The last code point that the encoder does not escape. Deliberately not U+007F.
constexpr std::uint32_t lastUnescaped = 0x80;

/// The first value with six decimal places. No reference has more.
constexpr std::uint32_t firstOfSixPlaces = 100000;

/// Decimal places of an escaped character, without a branch.
constexpr std::uint64_t placesOf(std::uint32_t character) {
  return std::uint64_t{3} + (character >= 1000) + (character >= 10000) + (character >= firstOfSixPlaces);
}

/// The last four units of every reference: three digits and ';'.
struct ReferenceEnds {
  std::uint32_t text[1000];
  consteval ReferenceEnds() : text{} {
    for (std::uint32_t i = 0; i < 1000; ++i)
      text[i] = ('0' + i / 100) | ('0' + i / 10 % 10) << 8 | ('0' + i % 10) << 16 | std::uint32_t{';'} << 24;
  }
};
inline constexpr ReferenceEnds referenceEnds;

/// Writes a decimal reference: its two marks, given as text, `places` digits, ';'. Returns its length. From 1,000,000
/// the first digit exceeds 9 and becomes a zero unit. Kept: hosts depend on it.
template <class Unit>
inline std::uint64_t writeReference(Unit* out, std::uint32_t marks, std::uint32_t value, std::uint64_t places) {
  const std::uint32_t first = value / firstOfSixPlaces, others = value % firstOfSixPlaces;
  const std::uint32_t leading = (first < 10 ? '0' + first : 0) | std::uint32_t{decimalPairs.text[others / 1000]} << 8;
  const std::uint32_t shown = leading >> 8 * (6 - places);
  storeText<4>(out, marks | shown << 16);
  if (places == 6) store(out + 4, static_cast<Unit>(shown >> 16));
  storeText<4>(out + places - 1, referenceEnds.text[others % 1000]);
  return places + 3;
}

/// The digits and the length of `<U0041>`, the U-paren notation with four digits.
constexpr std::uint64_t uparenDigitsAt = 2;
constexpr std::uint64_t uparenDigits = 4;
constexpr std::uint64_t uparenLength = 7;

/// The value of every U-paren notation in a text: the four digits at the beginning of the *input*, wherever the
/// notation stands. A unit that is not a digit, or is missing, adds -1 in its place. Kept: hosts depend on it.
template <Flavour F, class Unit = typename F::Unit>
std::uint32_t uparenValue(const Unit* input, std::uint64_t units) {
  RQ_UNINITIALIZED Unit digits[scratchUnits];
  const std::uint64_t there = units > uparenDigitsAt ? std::min(units - uparenDigitsAt, uparenDigits) : 0;
  copyUnits(digits, input + uparenDigitsAt, there);
  F::upperCase(digits, there);
  std::uint32_t value = 0;
  for (std::uint64_t i = 0; i < uparenDigits; ++i) {
    const std::uint32_t digit = i < there ? upperHexDigit(digits[i]) : noDigit;
    value = value * 16 + (digit != noDigit ? digit : ~std::uint32_t{0});
  }
  return value;
}

/// The capacity in units that the host is given for what is not escaped.
constexpr std::uint64_t unescapedRoom = 10;

/// The characters that are not escaped, as the session writes them. Asks the host once for each.
template <class Unit>
class UnescapedCharacters {
 public:
  explicit UnescapedCharacters(RQTranscoder* toSession) : toSession_(toSession) {}

  Replacement<Unit> of(std::uint32_t character) {
    Answer& answer = answers_[character];
    std::uint64_t& word = known_[character / 64];
    const std::uint64_t bit = std::uint64_t{1} << character % 64;
    if ((word & bit) == 0) {
      word |= bit;
      std::uint64_t produced = 0;
      std::memset(answer.units, 0, sizeof answer.units);  // bytes that a host leaves out must not show the stack
      transcode(toSession_, &character, sizeof character, answer.units, sizeof answer.units, &produced);
      answer.count = std::min<std::uint64_t>(produced, sizeof answer.units) / sizeof(Unit);
      const bool same = answer.count == 1 && answer.units[0] == character;
      if (same && character < 0x80 && character != '<') same_.add(character);  // '<' may begin a U-paren notation
    }
    return {answer.units, answer.count};
  }

  /// Whether the host has answered that the session writes `character` as the same unit.
  bool isSame(std::uint32_t character) const { return same_.has(character); }

  /// Copies characters up to the first that isSame does not hold for. Returns their number.
  template <class Character>
  std::uint64_t copySame(const Character* text, std::uint64_t count, Unit* out) const {
    constexpr std::uint64_t shortRun = 8;  // a loop is faster than a kernel
    for (std::uint64_t i = 0; i < shortRun; ++i) {
      if (i == count || !isSame(load(text + i))) return i;
      store(out + i, static_cast<Unit>(load(text + i)));
    }
    return shortRun + copyManySame(text + shortRun, count - shortRun, out + shortRun);
  }

 private:
  std::uint64_t copyManySame(const std::uint8_t* text, std::uint64_t count, std::uint8_t* out) const {
    return kit::copyMembers(text, count, out, same_);
  }
  std::uint64_t copyManySame(const RQChar* text, std::uint64_t count, std::uint8_t* out) const {
    RQ_UNINITIALIZED std::uint8_t ascii[512];
    std::uint64_t copied = 0, last = sizeof ascii;
    for (; last == sizeof ascii; copied += last) {
      const std::uint64_t next = std::min<std::uint64_t>(count - copied, sizeof ascii);
      const std::uint64_t narrow = kit::copyWhileBelow(text + copied, next, ascii, '<', 0x80);
      last = kit::copyMembers(ascii, narrow, out + copied, same_);
    }
    return copied;
  }
  std::uint64_t copyManySame(const RQChar* text, std::uint64_t count, RQChar* out) const {
    std::uint64_t i = 0;
    for (; i < count && isSame(load(text + i)); ++i) store(out + i, load(text + i));
    return i;
  }

  struct Answer {
    Unit units[unescapedRoom];
    std::uint64_t count;
  };
  RQTranscoder* const toSession_;
  std::uint64_t known_[lastUnescaped / 64 + 1] = {};
  kit::AsciiSet same_;
  Answer answers_[lastUnescaped + 1];
};

/// One call of the encoder. Its text is characters: RQChar, or bytes where all are ASCII.
template <Flavour F, class Unit = typename F::Unit>
class NcrEncoder {
 public:
  NcrEncoder(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity)
      : marks_('&' | std::uint32_t{F::reference(object)} << 8),
        toSession_(object->transcoders[RQ_FORM_UTF32_NATIVE].toSession),
        input_(input),
        units_(units),
        output_(output),
        capacity_(capacity),
        unescaped_(toSession_) {}

  /// Returns the units written. Cuts text that does not fit between two characters, without an error.
  template <class Character>
  std::uint64_t encode(const Character* text, std::uint64_t count) {
    std::uint64_t written = 0;
    for (std::uint64_t i = 0; i < count && written < capacity_; ++i) {
      const Moved words = encodeWords(text + i, count - i, output_ + written, capacity_ - written);
      i += words.read;
      written += words.written;
      if (i == count || written == capacity_) break;

      std::uint32_t character = load(text + i);
      if (unescaped_.isSame(character)) {
        const std::uint64_t run =
            unescaped_.copySame(text + i, std::min(count - i, capacity_ - written), output_ + written);
        written += run;
        i += run - 1;
        continue;
      }
      if (character == '<' && isUParen(text + i, count - i)) {
        character = uparenValue<F>(input_, units_);
        i += uparenLength - 1;
      }
      const std::uint64_t room = capacity_ - written;
      if (character > lastUnescaped) {
        const std::uint64_t places = placesOf(character);
        if (places + 3 > room) break;
        written += writeReference(output_ + written, marks_, character, places);
      } else {
        const Replacement<Unit> same = unescaped_.of(character);
        if (same.count > room) break;
        copyUnits(output_ + written, same.units, same.count);
        written += same.count;
      }
    }
    return written;
  }

 private:
  /// Encodes words: characters of up to five digits, and a blank before each if there is one. Uses no branch for the
  /// blank, because it would be mispredicted once a word.
  Moved encodeWords(const RQChar* text, std::uint64_t count, Unit* out, std::uint64_t room) const {
    constexpr std::uint64_t longest = 8;
    const bool blanks = unescaped_.isSame(' ');
    const std::uint32_t marks = marks_;
    Moved moved;
    while (count - moved.read > 1 && room - moved.written > longest) {
      const std::uint64_t gap = blanks & (load(text + moved.read) == ' ');
      const std::uint32_t character = load(text + moved.read + gap);
      if (character <= lastUnescaped || character >= firstOfSixPlaces) break;
      store(out + moved.written, Unit{' '});  // without a blank, the reference overwrites it
      moved.written += gap;
      moved.written += writeReference(out + moved.written, marks, character, placesOf(character));
      moved.read += gap + 1;
    }
    return moved;
  }
  /// Bytes are ASCII: no word to encode.
  Moved encodeWords(const std::uint8_t*, std::uint64_t, Unit*, std::uint64_t) const { return {}; }

  /// Whether a U-paren notation stands here: by its shape, and by taking one unit a character in the session.
  template <class Character>
  bool isUParen(const Character* at, std::uint64_t remaining) {
    if (remaining < uparenLength || withoutCase(load(at + 1)) != 'U' || load(at + uparenLength - 1) != '>')
      return false;
    RQChar characters[uparenLength];
    for (std::uint64_t i = 0; i < uparenLength; ++i) characters[i] = load(at + i);
    Unit converted[unescapedRoom];
    std::uint64_t produced = 0;
    transcode(toSession_, characters, sizeof characters, converted, sizeof converted, &produced);
    return produced == uparenLength * sizeof(Unit);
  }

  const std::uint32_t marks_;  // of a reference, as text
  RQTranscoder* const toSession_;
  const Unit* const input_;
  const std::uint64_t units_;
  Unit* const output_;
  const std::uint64_t capacity_;
  UnescapedCharacters<Unit> unescaped_;
};

/// Longer texts take a block of the pool.
constexpr std::uint64_t maxLocalUnits = 255;

template <Flavour F, class Unit = typename F::Unit>
RQStatus putNcr(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                std::uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, maxLocalUnits);
  if (!buffer.obtained()) return RQ_NO_MEMORY;
  RQ_UNINITIALIZED NcrEncoder<F> encoder(object, input, units, output, capacity);
  *written = withCharacters(object, input, units, isAscii(input, units), buffer,
                            [&](const auto* text, std::uint64_t count) { return encoder.encode(text, count); });
  return RQ_SUCCESS;
}

}  // namespace
}  // namespace rq

RQ_CODEC(ulGetNCR, getNcr, Plain)
RQ_CODEC(S_ulGetNCR, getNcr, Served)
RQ_CODEC(T_ulGetNCR, getNcr, Wide)
RQ_CODEC(ulPutNCR, putNcr, Plain)
RQ_CODEC(S_ulPutNCR, putNcr, Served)
RQ_CODEC(T_ulPutNCR, putNcr, Wide)
