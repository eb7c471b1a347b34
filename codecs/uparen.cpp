// The U-paren notation: `<`, `U` or `u`, four or eight hexadecimal digits, `>`.
#include "codecs/field.h"
#include "codecs/flavour.h"
#include "codecs/output.h"
#include "codecs/widen.h"

namespace rq {
namespace {

/// Which notations a decoder replaces.
enum class Wanted { all, asciiOnly };

template <Flavour F, Wanted wanted, class Unit = typename F::Unit>
RQStatus decodeUParen(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output,
                      std::uint64_t capacity, std::uint64_t* written) {
  Progress<Unit> progress(input, units, output, capacity);
  Terminators<Unit> terminators(input, units, '>');
  RQ_UNINITIALIZED RoundTrips<Unit, 12> roundTrips(object);
  while (progress.goesOn() && progress.copyUpTo('<', 'U', withoutCase(static_cast<Unit>(~Unit{0})))) {
    const Field field = hexField<F>(progress.at() + 2, terminators);
    if (field.length == noTerminator) {
      progress.copyRest();
      break;
    }
    const std::uint32_t value = field.digits.count >= 4 ? field.digits.value : 0;
    const bool stays = wanted == Wanted::asciiOnly && value >= 0x80;
    if (!progress.replace(field.length + 3, stays ? Replacement<Unit>{nullptr, 0} : roundTrips.of(value)))
      return RQ_REPLACEMENT_DOES_NOT_FIT;  // *written keeps its value; hosts count on it
  }
  *written = progress.written();
  return RQ_SUCCESS;
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getUParen(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                   std::uint64_t* written) {
  return decodeUParen<F, Wanted::all>(object, input, units, output, capacity, written);
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus getUParenP(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                    std::uint64_t* written) {
  return decodeUParen<F, Wanted::asciiOnly>(object, input, units, output, capacity, written);
}

constexpr std::uint64_t shortLength = 7;  // units of `<u0041>`
constexpr std::uint64_t longLength = 11;  // units of `<u0001F600>`

/// The length of a notation that stands at `at` by its shape alone, or 0. The digits are not looked at, and one more
/// character must follow: a notation that ends the text is escaped. Hosts count on that off-by-one.
template <class Character>
std::uint64_t notationLength(const Character* at, std::uint64_t remaining) {
  if (load(at) != '<' || remaining <= shortLength || withoutCase(load(at + 1)) != 'U') return 0;
  if (load(at + shortLength - 1) == '>') return shortLength;
  if (remaining > longLength && load(at + longLength - 1) == '>') return longLength;
  return 0;
}

/// Converts a notation straight into the output; false when the session needs more or fewer units for it. The host is
/// offered as many *bytes* as the notation has characters: wide sessions that keep to that never pass one through.
/// May write 4 bytes past the capacity, when 7 units are left and the notation has 11.
template <class Unit, class Character>
bool passThrough(RQTranscoder* toSession, const Character* at, std::uint64_t length, Unit* out) {
  RQChar characters[longLength];
  for (std::uint64_t i = 0; i < length; ++i) characters[i] = load(at + i);
  std::uint64_t produced = 0;
  transcode(toSession, characters, length * sizeof(RQChar), out, length, &produced);
  return produced / sizeof(Unit) == length;
}

/// The beginning of a notation up to its fourth digit, and a whole one with four digits, as text.
constexpr std::uint64_t beginningText(std::uint32_t digits) {
  return '<' | 'u' << 8 | hexText(digits) << 16;
}
constexpr std::uint64_t shortText(std::uint32_t digits) {
  return beginningText(digits) | std::uint64_t{'>'} << 48;
}

/// Writes a notation and returns its length, or 0 when it does not fit in `room` units.
template <class Unit>
std::uint64_t writeNotation(Unit* out, std::uint64_t room, std::uint32_t character) {
  const std::uint64_t length = character < 0x10000 ? shortLength : longLength;
  if (room < length) return 0;
  if (length == shortLength) {
    storeText<shortLength>(out, shortText(character));
  } else {
    storeText<6>(out, beginningText(character >> 16));
    storeText<5>(out + 6, hexText(character) | std::uint64_t{'>'} << 32);
  }
  return length;
}

/// Writes characters of four digits up to a '<' as notations, one store each, and returns their number. A store goes
/// one byte beyond its notation, so it stops where something is certain to be written behind it: before the last
/// character, and while there is room for the longest notation.
template <class Character>
std::uint64_t writeRun(std::uint8_t* out, std::uint64_t room, const Character* text, std::uint64_t count) {
  if (room <= longLength || count < 2) return 0;
  const std::uint64_t most = smaller(count - 1, (room - longLength) / shortLength);
  std::uint64_t i = 0;
  for (; i < most; ++i, out += shortLength) {
    const Character character = load(text + i);
    if (character > 0xFFFF || character == '<') break;
    storeText<8>(out, shortText(character));
  }
  return i;
}
template <class Character>
std::uint64_t writeRun(RQChar*, std::uint64_t, const Character*, std::uint64_t) {
  return 0;  // sixteen times the bytes: not worth a path of its own
}

template <class Unit, class Character>
RQStatus encodeNotations(RQTranscoder* toSession, const Character* text, std::uint64_t count, Unit* output,
                         std::uint64_t capacity, std::uint64_t* written) {
  std::uint64_t out = 0;
  RQStatus status = RQ_SUCCESS;
  for (std::uint64_t i = 0; i < count && out < capacity;) {
    const std::uint64_t run = writeRun(output + out, capacity - out, text + i, count - i);
    i += run;
    out += run * shortLength;
    const std::uint64_t room = capacity - out;
    if (room < shortLength) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    const std::uint64_t standing = notationLength(text + i, count - i);
    if (standing != 0 && passThrough(toSession, text + i, standing, output + out)) {
      out += standing;
      i += standing;
      continue;
    }
    const std::uint64_t length = writeNotation(output + out, room, load(text + i));
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

/// Whether a text is its own characters for this encoder. In the wide flavour units compare signed: those from
/// 0x80000000 up are taken as they stand, and hosts count on it.
bool isPlainText(const std::uint8_t* input, std::uint64_t units) {
  return isAscii(input, units);
}
bool isPlainText(const RQChar* input, std::uint64_t units) {
  for (std::uint64_t i = 0; i < units; ++i)
    if (static_cast<std::int32_t>(load(input + i)) > 0x7F) return false;
  return true;
}

template <Flavour F, class Unit = typename F::Unit>
RQStatus putUParen(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                   std::uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, 255);
  if (!buffer.obtained()) return RQ_NO_MEMORY;
  RQTranscoder* const toSession = object->transcoders[RQ_FORM_UTF32_NATIVE].toSession;
  return withCharacters(object, input, units, isPlainText(input, units), buffer,
                        [&](const auto* text, std::uint64_t count) {
                          return encodeNotations(toSession, text, count, output, capacity, written);
                        });
}

}  // namespace
}  // namespace rq

RQ_CODEC(ulGetUParen, getUParen, Plain)
RQ_CODEC(S_ulGetUParen, getUParen, Served)
RQ_CODEC(T_ulGetUParen, getUParen, Wide)
RQ_CODEC(ulGetUParenP, getUParenP, Plain)
RQ_CODEC(S_ulGetUParenP, getUParenP, Served)
RQ_CODEC(T_ulGetUParenP, getUParenP, Wide)
RQ_CODEC(ulPutUParen, putUParen, Plain)
RQ_CODEC(S_ulPutUParen, putUParen, Served)
RQ_CODEC(T_ulPutUParen, putUParen, Wide)
