// Numeric character references: an ampersand, the reference character, digits or `x` and hexadecimal digits, `;`.
#include "codecs/flavour.h"
#include "codecs/output.h"
#include "codecs/surrogates.h"
#include "codecs/widen.h"

namespace rq {
namespace {

/// One reference: from '&' to ';', all that lies between belongs to it.
struct Reference {
  Digits digits;
  uint64_t length;  // units, both ends included

  uint32_t value() const { return digits.count >= 2 ? digits.value : 0; }  // one digit is not enough: U+0000
  bool mayBeSurrogate() const { return digits.count >= 4; }
};

template <Flavour F, class Unit = typename F::Unit>
Reference readReference(const Unit* at, const Unit* end) {
  const auto inside = static_cast<uint64_t>(end - (at + 2));
  const bool hexadecimal = inside != 0 && load(at + 2) == 'x';  // not 'X'
  const Digits digits = hexadecimal ? F::readHex(at + 3, smaller(inside - 1, mostDigits))
                                    : readDigits<10, decimalDigit>(at + 2, smaller(inside, mostDigits));
  return {digits, inside + 3};
}

/// The reference at the current place and what it names: with a low surrogate behind a high one, both references.
struct Decoded {
  uint32_t codePoint;
  uint64_t consumed;
};

template <Flavour F, class Unit = typename F::Unit>
Decoded decodeReference(const Progress<Unit>& progress, const Unit* end, Unit second,
                        Terminators<Unit>& terminators) {
  const Reference high = readReference<F>(progress.at(), end);
  const Decoded whole = {high.value(), high.length};
  if (!high.mayBeSurrogate() || !isHighSurrogate(high.value())) return whole;

  const Unit* const behind = progress.at() + high.length;
  constexpr uint64_t shortestPartner = 5;
  if (progress.remaining() - high.length < shortestPartner || load(behind) != '&' || load(behind + 1) != second)
    return whole;
  const Unit* const secondEnd = terminators.find(behind + 2);
  if (secondEnd == progress.end()) return whole;

  const Reference low = readReference<F>(behind, secondEnd);
  if (!low.mayBeSurrogate() || !isLowSurrogate(low.value())) return {high.value() & 0xFFFF, high.length};
  return {pairedCodePoint(high.value(), low.value()), high.length + low.length};
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getNcr(RQInterface* object, const Unit* input, uint64_t units, Unit* output, uint64_t capacity,
                uint64_t* written) {
  Progress<Unit> progress(input, units, output, capacity);
  Terminators<Unit> terminators(input, units, ';');
  RQ_UNINITIALIZED RoundTrips<Unit, 20> roundTrips(object);
  const Unit second = F::reference(object);
  RQStatus status = RQ_SUCCESS;
  while (progress.goesOn() && progress.copyUpTo('&', second, static_cast<Unit>(~Unit{0}))) {
    const Unit* const end = terminators.find(progress.at() + 2);
    if (end == progress.end()) {
      progress.copyRest();
      break;
    }
    const Decoded decoded = decodeReference<F>(progress, end, second, terminators);
    if (!progress.replace(decoded.consumed, roundTrips.of(decoded.codePoint))) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
  }
  *written = progress.written();
  return status;
}

/// The last code point that is written as it stands; deliberately not U+007F.
constexpr uint32_t lastUnescaped = 0x80;

/// Decimal places of a character that is escaped. There are never more than six.
constexpr uint64_t placesOf(uint32_t character) {
  if (character < 1000) return 3;
  if (character < 10000) return 4;
  return character < 100000 ? 5 : 6;
}

/// Writes a decimal reference with `places` digits. What a million and more overflows the first place by becomes a
/// zero unit; hosts count on it.
template <class Unit>
void writeReference(Unit* out, Unit second, uint32_t value, uint64_t places) {
  store(out, Unit{'&'});
  store(out + 1, second);
  Unit* const first = out + 2;
  Unit* place = first + places;
  store(place, Unit{';'});
  for (; place - first > 2; value /= 100) storePair(place -= 2, decimalPairs.text[value % 100]);
  if (place - first == 2) {
    store(--place, static_cast<Unit>('0' + value % 10));
    value /= 10;
  }
  store(first, static_cast<Unit>(value < 10 ? '0' + value : 0));
}

/// Units at the beginning of the input, where the digits of every angle notation are taken from, matched or not.
constexpr uint64_t angleDigitsAt = 2;
constexpr uint64_t angleDigits = 4;
/// The length of `<U0041>`.
constexpr uint64_t angleLength = 7;

/// The value that every angle notation of a text gets: the four digits at the beginning of the *input*, wherever the
/// notation stands. A unit that is no digit, or is missing, adds -1 in its place. Hosts count on all of it.
template <Flavour F, class Unit = typename F::Unit>
uint32_t angleValue(const Unit* input, uint64_t units) {
  uint32_t value = 0;
  for (uint64_t i = angleDigitsAt; i < angleDigitsAt + angleDigits; ++i) {
    const Digits digit = i < units ? F::readHex(input + i, 1) : Digits{};
    value = value * 16 + (digit.count == 1 ? digit.value : noDigit);
  }
  return value;
}

/// The session's answers for the characters that are written as they stand, asked once each.
template <class Unit>
class PlainCharacters {
 public:
  explicit PlainCharacters(RQTranscoder* toSession) : toSession_(toSession) {}

  Replacement<Unit> of(uint32_t character) {
    Answer& answer = answers_[character];
    uint64_t& word = known_[character / 64];
    const uint64_t bit = uint64_t{1} << character % 64;
    if ((word & bit) == 0) {
      word |= bit;
      uint64_t produced = 0;
      std::memset(answer.units, 0, sizeof answer.units);  // what a host leaves out must not show the stack
      transcode(toSession_, &character, sizeof character, answer.units, sizeof answer.units, &produced);
      answer.count = smaller(produced, sizeof answer.units) / sizeof(Unit);
      const bool same = answer.count == 1 && answer.units[0] == character;
      if (same && character < 0x80 && character != '<') same_.add(character);  // '<' may begin an angle notation
    }
    return {answer.units, answer.count};
  }

  /// Whether `character` is known to be the same in the session, and needs nothing but a copy.
  bool isSame(uint32_t character) const { return same_.has(character); }

  /// Copies characters for as long as they are known to be the same, and returns their number.
  uint64_t copySame(const uint8_t* text, uint64_t count, uint8_t* out) const {
    return kit::copyMembers(text, count, out, same_);
  }
  template <class Character>
  uint64_t copySame(const Character* text, uint64_t count, Unit* out) const {
    uint64_t i = 0;
    for (; i < count && isSame(load(text + i)); ++i) store(out + i, static_cast<Unit>(load(text + i)));
    return i;
  }

 private:
  struct Answer {
    Unit units[10];
    uint64_t count;
  };
  RQTranscoder* const toSession_;
  uint64_t known_[lastUnescaped / 64 + 1] = {};
  kit::AsciiSet same_;
  Answer answers_[lastUnescaped + 1];
};

/// One call of the encoder, over the text as characters (RQChar, or bytes where all are ASCII).
template <Flavour F, class Unit = typename F::Unit>
class NcrEncoder {
 public:
  NcrEncoder(RQInterface* object, const Unit* input, uint64_t units, Unit* output, uint64_t capacity)
      : second_(F::reference(object)),
        toSession_(object->transcoders[RQ_FORM_UTF32_NATIVE].toSession),
        input_(input),
        units_(units),
        output_(output),
        capacity_(capacity),
        plain_(toSession_) {}

  /// Returns the units written. Text that does not fit is cut at a character, without an error.
  template <class Character>
  uint64_t encode(const Character* text, uint64_t count) {
    uint64_t written = 0;
    for (uint64_t i = 0; i < count && written < capacity_; ++i) {
      uint32_t character = load(text + i);
      if (plain_.isSame(character)) {
        const uint64_t run = plain_.copySame(text + i, smaller(count - i, capacity_ - written), output_ + written);
        written += run;
        i += run - 1;
        continue;
      }
      if (character == '<' && isAngle(text + i, count - i)) {
        character = angleValue<F>(input_, units_);
        i += angleLength - 1;
      }
      const uint64_t room = capacity_ - written;
      if (character > lastUnescaped) {
        const uint64_t places = placesOf(character);
        if (places + 3 > room) break;
        writeReference(output_ + written, second_, character, places);
        written += places + 3;
      } else {
        const Replacement<Unit> same = plain_.of(character);
        if (same.count > room) break;
        copyUnits(output_ + written, same.units, same.count);
        written += same.count;
      }
    }
    return written;
  }

 private:
  /// Whether an angle notation stands here: its shape, and that the session holds it in one unit a character.
  template <class Character>
  bool isAngle(const Character* at, uint64_t remaining) {
    if (remaining < angleLength || withoutCase(load(at + 1)) != 'U' || load(at + 6) != '>') return false;
    RQChar characters[angleLength];
    for (uint64_t i = 0; i < angleLength; ++i) characters[i] = load(at + i);
    Unit converted[10];
    uint64_t produced = 0;
    transcode(toSession_, characters, sizeof characters, converted, sizeof converted, &produced);
    return produced == angleLength * sizeof(Unit);
  }

  const Unit second_;
  RQTranscoder* const toSession_;
  const Unit* const input_;
  const uint64_t units_;
  Unit* const output_;
  const uint64_t capacity_;
  PlainCharacters<Unit> plain_;
};

template <Flavour F, class Unit = typename F::Unit>
RQStatus putNcr(RQInterface* object, const Unit* input, uint64_t units, Unit* output, uint64_t capacity,
                uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, 255);
  if (!buffer.obtained()) return RQ_NO_MEMORY;
  RQ_UNINITIALIZED NcrEncoder<F> encoder(object, input, units, output, capacity);
  *written = withCharacters(object, input, units, isAscii(input, units), buffer,
                            [&](const auto* text, uint64_t count) { return encoder.encode(text, count); });
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
