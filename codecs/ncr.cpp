// Numeric character references: an ampersand, the reference character, digits or `x` and hexadecimal digits, `;`.
#include <algorithm>

#include "codecs/blocks.h"
#include "codecs/cursor.h"
#include "codecs/digit_words.h"
#include "codecs/encode_blocks.h"
#include "codecs/field.h"
#include "codecs/flavour.h"
#include "codecs/surrogates.h"
#include "codecs/widen.h"

namespace rq {
namespace {

/// What the digits of a reference name; a single digit counts as none.
constexpr std::uint32_t valueOf(Digits digits) {
  return digits.count >= 2 ? digits.value : 0;
}

/// One reference: all from '&' to ';'.
struct Reference {
  Digits digits;
  std::uint64_t length;  // units, both ends included; 0 when no ';' is left

  std::uint32_t value() const { return valueOf(digits); }
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

/// References of the common shape: up to eight digits and nothing else, not a high surrogate.
template <Flavour F, class Unit = typename F::Unit>
class CommonReferences {
 public:
  static constexpr std::uint64_t maxLength = 3 + maxDigits + 1;
  static constexpr bool includesOthers = false;

  explicit CommonReferences(Unit second) : second_(second) {}

  Marks<Unit> marks() const { return {'&', second_, static_cast<Unit>(~Unit{0})}; }

  Common read(const Unit* at) const {
    if (load(at + 2) == 'x') {
      Digits own = fourHexDigits.before(at + 3, Unit{';'});
      if (own.value >= noFourDigits || load(at + 3 + own.count) != ';') own = hexDigitsOf(loadText(at + 3));
      if (load(at + 3 + own.count) != ';' || isHighSurrogate(own.value)) return {};  // the host sees each digit once
      return reference(F::asServed(own, at + 3), 3 + own.count + 1);
    }
    const Digits own = decimalDigits(at + 2);
    if (load(at + 2 + own.count) != ';') return {};
    return reference(own, 2 + own.count + 1);
  }

 private:
  /// Three or four digits are those of letters, five those of ideographs.
  static Digits decimalDigits(const Unit* field) {
    const Digits four = fourDecimalDigits.before(field, Unit{';'});
    if (four.value < noFourDigits) {
      const Unit next = load(field + four.count);
      if (next == ';') return four;
      const std::uint32_t fifth = decimalDigit(next);
      if (fifth != noDigit && load(field + 5) == ';') return {four.value * 10 + fifth, 5};
    }
    return decimalDigitsOf(loadText(field));
  }

  static Common reference(Digits digits, std::uint32_t length) {
    const std::uint32_t value = valueOf(digits);
    return isHighSurrogate(value) ? Common{} : Common{value, length};
  }

  const Unit second_;
};

/// Decodes from the first reference on. Not inlined: a text without references needs no room for answers.
template <Flavour F, class Unit = typename F::Unit>
[[gnu::noinline]] RQStatus decodeReferences(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output,
                                            std::uint64_t capacity, std::uint64_t* written, std::uint64_t copied) {
  Cursor<Unit> cursor(input, units, output, capacity, copied);
  Terminators<Unit> terminators(input, units, ';');
  RQ_UNINITIALIZED RoundTrips<Unit, roundTripRoom> roundTrips(object);
  const Unit second = F::reference(object);
  RQ_UNINITIALIZED BlockDecoder<CommonReferences<F>, Unit, roundTripRoom> blocks(CommonReferences<F>{second});
  RQStatus status = RQ_SUCCESS;
  do {
    if (blocks.decode(cursor, roundTrips)) [[unlikely]]
      continue;
    const Decoded decoded = decodeReference<F>(cursor.at(), second, terminators);
    if (decoded.consumed == 0) {
      cursor.copyRest();
      break;
    }
    if (!cursor.replace(decoded.consumed, roundTrips.of(decoded.codePoint))) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
  } while (cursor.hasWork() && cursor.copyUpTo('&', second, static_cast<Unit>(~Unit{0})));
  *written = cursor.written();
  return status;
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getNcr(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                std::uint64_t* written) {
  Cursor<Unit> cursor(input, units, output, capacity);
  if (cursor.hasWork() && cursor.copyUpTo('&', F::reference(object), static_cast<Unit>(~Unit{0})))
    return decodeReferences<F>(object, input, units, output, capacity, written, cursor.written());
  *written = cursor.written();
  return RQ_SUCCESS;
}

/// The last code point that the encoder does not escape. Deliberately not U+007F.
constexpr std::uint32_t lastUnescaped = 0x80;

/// The first value with six decimal places. No reference has more.
constexpr std::uint32_t firstOfSixPlaces = 100000;
/// Units of a reference with six places.
constexpr std::uint64_t longReference = 9;

/// The last four units of every reference: three digits and ';'.
struct ReferenceEnds {
  std::uint32_t text[1000];
  consteval ReferenceEnds() : text{} {
    for (std::uint32_t i = 0; i < 1000; ++i)
      text[i] = ('0' + i / 100) | ('0' + i / 10 % 10) << 8 | ('0' + i % 10) << 16 | std::uint32_t{';'} << 24;
  }
};
inline constexpr ReferenceEnds referenceEnds;

/// The thousands of a number below 100000 without leading zeros, as text behind two marks. With it, where the last
/// four units follow, and how long the reference is.
struct Thousands {
  struct {
    std::uint32_t text;
    std::uint8_t endsAt;  // a bit
    std::uint8_t length;
  } of[100];
  consteval Thousands() : of{} {
    for (std::uint32_t i = 0; i < 100; ++i) {
      const std::uint32_t digits = i == 0 ? 0 : i < 10 ? 1 : 2;
      const std::uint32_t text = digits == 0 ? 0 : digits == 1 ? '0' + i : decimalPairs.text[i];
      of[i] = {text << 16, static_cast<std::uint8_t>(16 + 8 * digits), static_cast<std::uint8_t>(6 + digits)};
    }
  }
};
inline constexpr Thousands thousands;

/// A reference of three to five digits as text, and its length. `marks` are its first two units.
struct ShortReference {
  std::uint64_t text, length;
  ShortReference(std::uint32_t marks, std::uint32_t value) {
    const auto& leading = thousands.of[value / 1000];
    text = (marks | leading.text) | std::uint64_t{referenceEnds.text[value % 1000]} << leading.endsAt;
    length = leading.length;
  }
};

/// Writes a reference with six places. From 1,000,000 the first digit exceeds 9 and becomes a zero unit. Kept: hosts
/// depend on it.
template <class Unit>
inline std::uint64_t writeLongReference(Unit* out, std::uint32_t marks, std::uint32_t value) {
  const std::uint32_t first = value / firstOfSixPlaces, others = value % firstOfSixPlaces;
  const std::uint64_t leading = (first < 10 ? '0' + first : 0) | std::uint32_t{decimalPairs.text[others / 1000]} << 8;
  storeText<5>(out, marks | leading << 16);
  storeText<4>(out + 5, referenceEnds.text[others % 1000]);
  return longReference;
}

/// Writes a reference and returns its length, or 0 when it does not fit in `room` units.
template <class Unit>
inline std::uint64_t writeReference(Unit* out, std::uint64_t room, std::uint32_t marks, std::uint32_t value) {
  if (value >= firstOfSixPlaces) return room < longReference ? 0 : writeLongReference(out, marks, value);
  const ShortReference reference(marks, value);
  if (room < reference.length) return 0;
  storeText<4>(out, reference.text);
  storeText<4>(out + reference.length - 4, referenceEnds.text[value % 1000]);
  return reference.length;
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
  explicit UnescapedCharacters(RQTranscoder* toSession) : toSession_(toSession) { clear(states_); }

  Replacement<Unit> of(std::uint32_t character) {
    if (states_[character] == State::unknown) ask(character);
    Answer& answer = answers_[character];
    if (states_[character] == State::same) {  // such answers are not kept
      answer.units[0] = static_cast<Unit>(character);
      answer.count = 1;
    }
    return {answer.units, answer.count};
  }

  /// The characters of which the host has answered that the session writes them as the same unit, but '<': that may
  /// begin a U-paren notation.
  const kit::AsciiSet& same() const { return same_; }

  /// Copies characters up to the first that is not one of these, and asks the host on the way. Returns their number.
  template <class Character>
  std::uint64_t copySame(const Character* text, std::uint64_t count, Unit* out) {
    constexpr std::uint64_t shortRun = 16;  // of known characters: a loop is faster than a kernel
    for (std::uint64_t i = 0;;) {
      for (std::uint64_t end = std::min(count, i + shortRun); i < end; ++i) {
        const std::uint32_t character = load(text + i);
        if (sizeof(Character) > 1 && character >= kit::asciiEnd) return i;  // bytes are ASCII
        if (states_[character] != State::same) {
          if (states_[character] == State::known || character == '<' || !ask(character)) return i;
          end = std::min(count, i + shortRun);
        }
        store(out + i, static_cast<Unit>(character));
      }
      if (i == count) return i;
      if constexpr (sizeof(Character) == 1) i += kit::copyMembers(text + i, count - i, out + i, same_);
    }
  }

 private:
  enum class State : std::uint8_t { unknown, known, same };

  /// Returns whether the session writes the character as the same unit. Inlined: in a short text the questions are
  /// most of the work.
  [[gnu::always_inline]] bool ask(std::uint32_t character) {
    asked_ = character;
    produced_ = 0;
    std::memset(scratch_, 0, sizeof scratch_);  // bytes that a host leaves out must not show the stack
    transcode(toSession_, &asked_, sizeof asked_, scratch_, sizeof scratch_, &produced_);
    if (produced_ / sizeof(Unit) == 1 && scratch_[0] == character && character < kit::asciiEnd && character != '<') {
      states_[character] = State::same;
      same_.add(character);
      return true;
    }
    states_[character] = State::known;
    Answer& answer = answers_[character];
    std::memcpy(answer.units, scratch_, sizeof scratch_);
    answer.count = std::min<std::uint64_t>(produced_, sizeof scratch_) / sizeof(Unit);
    return false;
  }

  struct Answer {
    Unit units[unescapedRoom];
    std::uint64_t count;
  };
  RQTranscoder* const toSession_;
  // What a transcoder reads and stores. Local variables would cost a stack canary for each question.
  RQChar asked_ = {};
  std::uint64_t produced_ = {};
  Unit scratch_[unescapedRoom] = {};
  State states_[(lastUnescaped + 16) / 16 * 16];
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
      if (fitsBlock(count - i, capacity_ - written)) {
        const Moved blocks = encodeBlocks(
            text + i, count - i, output_ + written, capacity_ - written, unescaped_.same(),
            [this](Unit* out, const RQChar* at, std::uint64_t most) {
              return kit::copyMemberBlocks(at, most, out, unescaped_.same());
            },
            [this, marks = marks_](Unit* out, const RQChar* at) { return writeOther(out, at, marks); });
        i += blocks.read;
        written += blocks.written;
      }
      const std::uint64_t copied =
          unescaped_.copySame(text + i, std::min(count - i, capacity_ - written), output_ + written);
      i += copied;
      written += copied;
      if (i == count || written == capacity_) break;

      std::uint32_t character = load(text + i);
      if (character == '<' && isUParen(text + i, count - i)) {
        character = uparenValue<F>(input_, units_);
        i += uparenLength - 1;
      }
      const std::uint64_t room = capacity_ - written;
      if (character > lastUnescaped) {
        const std::uint64_t length = writeReference(output_ + written, room, marks_, character);
        if (length == 0) break;
        written += length;
      } else {
        const Replacement<Unit> answer = unescaped_.of(character);
        if (answer.count > room) break;
        copyUnits(output_ + written, answer.units, answer.count);
        written += answer.count;
      }
    }
    return written;
  }

 private:
  /// Encodes a character of a block that is not copied. Leaves what may be a U-paren notation.
  std::uint64_t writeOther(Unit* out, const RQChar* at, std::uint32_t marks) {
    const std::uint32_t character = load(at);
    if (character >= firstOfSixPlaces) return writeLongReference(out, marks, character);
    if (character > lastUnescaped) [[likely]] {
      const ShortReference reference(marks, character);
      storeText<8>(out, reference.text);
      return reference.length;
    }
    if (character == '<' && withoutCase(load(at + 1)) == 'U') return leave;
    const Replacement<Unit> answer = unescaped_.of(character);
    copyUnits(out, answer.units, answer.count);
    return answer.count;
  }

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
