// The U-paren notation: `<`, `U` or `u`, four or eight hexadecimal digits, `>`.
#include <emmintrin.h>

#include <algorithm>

#include "codecs/blocks.h"
#include "codecs/cursor.h"
#include "codecs/digit_words.h"
#include "codecs/field.h"
#include "codecs/flavour.h"
#include "codecs/widen.h"

namespace rq {
namespace {

constexpr std::uint32_t firstNonAscii = 0x80;

/// Which notations a decoder replaces.
enum class Wanted { all, asciiOnly };

/// Whether a notation is text for a decoder.
template <Wanted wanted>
constexpr bool stays(std::uint32_t value) {
  return wanted == Wanted::asciiOnly && value >= firstNonAscii;
}

/// What a notation names; fewer than four digits count as none.
constexpr std::uint32_t valueOf(Digits digits) {
  return digits.count >= 4 ? digits.value : 0;
}

/// The capacity in units that the host is given for a decoded character.
constexpr std::uint64_t roundTripRoom = 12;

/// Notations of the common shape: up to eight digits and nothing else.
template <Flavour F, Wanted wanted, class Unit = typename F::Unit>
class CommonNotations {
 public:
  static constexpr std::uint64_t maxLength = 2 + maxDigits + 1;
  static constexpr bool includesOthers = false;

  Marks<Unit> marks() const { return {'<', 'U', caseless<Unit>}; }

  Common read(const Unit* at) const {
    Digits own = {fourHexDigits.at(at + 2), 4};
    if (own.value >= noFourDigits || load(at + 6) != '>') own = hexDigitsOf(loadText(at + 2));
    if (load(at + 2 + own.count) != '>') return {};
    const std::uint32_t named = valueOf(F::asServed(own, at + 2));
    return {stays<wanted>(named) ? Common::asText : named, 2 + std::uint64_t{own.count} + 1};
  }
};

/// Decodes from the first notation on. Not inlined: a text without notations needs no room for answers.
template <Flavour F, Wanted wanted, class Unit = typename F::Unit>
[[gnu::noinline]] RQStatus decodeNotations(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output,
                                           std::uint64_t capacity, std::uint64_t* written, std::uint64_t copied) {
  Cursor<Unit> cursor(input, units, output, capacity, copied);
  Terminators<Unit> terminators(input, units, '>');
  RQ_UNINITIALIZED RoundTrips<Unit, roundTripRoom> roundTrips(object);
  RQ_UNINITIALIZED BlockDecoder<CommonNotations<F, wanted>, Unit, roundTripRoom> blocks({});
  do {
    if (blocks.decode(cursor, roundTrips)) [[unlikely]]
      continue;
    const Field field = hexField<F>(cursor.at() + 2, terminators);
    if (field.length == noTerminator) {
      cursor.copyRest();
      break;
    }
    const std::uint32_t value = valueOf(field.digits);
    const auto replacement = stays<wanted>(value) ? Replacement<Unit>{nullptr, 0} : roundTrips.of(value);
    if (!cursor.replace(field.length + 3, replacement))
      return RQ_REPLACEMENT_DOES_NOT_FIT;  // *written keeps its value: hosts depend on it
  } while (cursor.hasWork() && cursor.copyUpTo('<', 'U', caseless<Unit>));
  *written = cursor.written();
  return RQ_SUCCESS;
}

template <Flavour F, Wanted wanted, class Unit = typename F::Unit>
RQStatus decodeUParen(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output,
                      std::uint64_t capacity, std::uint64_t* written) {
  Cursor<Unit> cursor(input, units, output, capacity);
  if (cursor.hasWork() && cursor.copyUpTo('<', 'U', caseless<Unit>))
    return decodeNotations<F, wanted>(object, input, units, output, capacity, written, cursor.written());
  *written = cursor.written();
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

/// The length of a notation at `at`, judged by its shape, or 0. The digits are not tested. One more character must
/// follow: a notation that ends the text is escaped. Kept, off by one as it is: hosts depend on it.
template <class Character>
std::uint64_t notationLength(const Character* at, std::uint64_t remaining) {
  if (load(at) != '<' || remaining <= shortLength || withoutCase(load(at + 1)) != 'U') return 0;
  if (load(at + shortLength - 1) == '>') return shortLength;
  if (remaining > longLength && load(at + longLength - 1) == '>') return longLength;
  return 0;
}

/// Converts a notation straight into the output. Returns false when it needs more or fewer units in the session. The
/// host's capacity is as many *bytes* as the notation has characters, so a wide session that respects it never passes
/// one. May write 4 bytes past the capacity: 7 units are certain to be left, and the notation may have 11.
template <class Unit, class Character>
[[gnu::noinline]] bool passThrough(RQTranscoder* toSession, const Character* at, std::uint64_t length, Unit* out) {
  RQChar characters[longLength];
  for (std::uint64_t i = 0; i < length; ++i) characters[i] = load(at + i);
  std::uint64_t produced = 0;
  transcode(toSession, characters, length * sizeof(RQChar), out, length, &produced);
  return produced / sizeof(Unit) == length;
}

/// A notation up to its fourth digit, and a whole one with four digits, as text.
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

/// The notations of all ASCII characters, and a zero behind each.
struct AsciiNotations {
  std::uint64_t text[kit::asciiEnd];
  consteval AsciiNotations() : text{} {
    for (std::uint32_t c = 0; c < kit::asciiEnd; ++c) text[c] = shortText(c);
  }
};
constexpr AsciiNotations asciiNotations;

/// A character's notation with four digits. Bytes are ASCII.
inline std::uint64_t notationText(std::uint8_t character) {
  return asciiNotations.text[character];
}
inline std::uint64_t notationText(RQChar character) {
  return shortText(character);
}

/// Whether one of 16 bytes is `character`.
inline bool hasAny(const std::uint8_t* text, char character) {
  const auto block = load<__m128i>(static_cast<const void*>(text));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(character))) != 0;
}

/// Writes characters of four digits as notations, up to a '<', with one store each. Returns their number. A store
/// writes one byte too many. Later stores must cover it, so it stops before the last character and while the longest
/// notation fits.
template <class Character>
std::uint64_t writeRun(std::uint8_t* out, std::uint64_t room, const Character* text, std::uint64_t count) {
  if (room <= longLength || count < 2) return 0;
  const std::uint64_t limit = std::min(count - 1, (room - longLength) / shortLength);
  std::uint64_t i = 0;
  if constexpr (sizeof(Character) == 1) {
    for (; limit - i >= 16 && !hasAny(text + i, '<'); i += 16, out += 16 * shortLength)
      for (std::uint64_t k = 0; k < 16; ++k) storeText<8>(out + k * shortLength, notationText(text[i + k]));
  }
  for (; i < limit; ++i, out += shortLength) {
    const Character character = load(text + i);
    if (character > 0xFFFF || character == '<') break;
    storeText<8>(out, notationText(character));
  }
  return i;
}
template <class Character>
std::uint64_t writeRun(RQChar*, std::uint64_t, const Character*, std::uint64_t) {
  return 0;  // too little to gain: the output is 28 bytes a character
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

/// Whether the units of a text are its characters. Wide units compare signed: those from 0x80000000 up are never
/// converted. Kept: hosts depend on it.
bool unitsAreCharacters(const std::uint8_t* input, std::uint64_t units) {
  return isAscii(input, units);
}
bool unitsAreCharacters(const RQChar* input, std::uint64_t units) {
  for (std::uint64_t i = 0; i < units; ++i)
    if (static_cast<std::int32_t>(load(input + i)) > 0x7F) return false;
  return true;
}

/// Longer texts take a block of the pool.
constexpr std::uint64_t maxLocalUnits = 255;

template <Flavour F, class Unit = typename F::Unit>
RQStatus putUParen(RQInterface* object, const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity,
                   std::uint64_t* written) {
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, maxLocalUnits);
  if (!buffer.obtained()) return RQ_NO_MEMORY;
  RQTranscoder* const toSession = object->transcoders[RQ_FORM_UTF32_NATIVE].toSession;
  return withCharacters(object, input, units, unitsAreCharacters(input, units), buffer,
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
