// Copies and stores of a few units of text, at any address.
#ifndef RQUNI_CODECS_UNITS_H
#define RQUNI_CODECS_UNITS_H

#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/types.h"
#include "kit/unaligned.h"

namespace rq {

/// Fills an array of whole vectors with zeros. Hides the zero from the compiler, which would use `rep stos`: that is
/// slow to start.
template <class T, std::uint64_t count>
inline void clear(T (&array)[count]) {
  __m128i zero = _mm_setzero_si128();
  static_assert(sizeof array % sizeof zero == 0);
  asm("" : "+x"(zero));
  for (std::uint64_t i = 0; i < count; i += sizeof zero / sizeof(T)) store(array + i, zero);
}

/// Copies sizeof(Word) to 2 x sizeof(Word) bytes with two moves that may overlap.
template <class Word>
inline void copyByTwoMoves(void* to, const void* from, std::uint64_t bytes) {
  const std::uint64_t last = bytes - sizeof(Word);
  const Word head = load<Word>(from), tail = load<Word>(static_cast<const char*>(from) + last);
  store(to, head);
  store(static_cast<char*>(to) + last, tail);
}

/// Copies units. Inline for up to 16 bytes: most copies are of one character, and a call costs more than the copy.
template <class Unit>
inline void copyUnits(Unit* to, const Unit* from, std::uint64_t count) {
  const std::uint64_t bytes = count * sizeof(Unit);
  if (bytes < 4) {
    if (bytes >= 2)
      copyByTwoMoves<std::uint16_t>(to, from, bytes);
    else if (bytes == 1)
      store(to, load(from));
  } else if (bytes < 8) {
    copyByTwoMoves<std::uint32_t>(to, from, bytes);
  } else if (bytes <= 16) {
    copyByTwoMoves<std::uint64_t>(to, from, bytes);
  } else {
    __builtin_memcpy(static_cast<void*>(to), static_cast<const void*>(from), bytes);
  }
}

/// Stores the lowest `count` bytes of `text` as units, the lowest first.
template <std::uint64_t count>
inline void storeText(std::uint8_t* to, std::uint64_t text) {
  if constexpr (count > 4 && count < 8) {  // two stores; memcpy of such a size may go through the stack
    storeText<4>(to, text);
    storeText<count - 4>(to + 4, text >> 32);
  } else {
    std::memcpy(to, &text, count);
  }
}
/// Stores the lowest `count` units of a vector.
template <std::uint64_t count>
inline void storeUnits(RQChar* to, __m128i units) {
  if constexpr (count == 4) {
    store(to, units);
  } else if constexpr (count == 1) {
    store(to, _mm_cvtsi128_si32(units));
  } else {
    store(to, _mm_cvtsi128_si64(units));
    if constexpr (count == 3) store(to + 2, _mm_cvtsi128_si32(_mm_unpackhi_epi64(units, units)));
  }
}
template <std::uint64_t count>
inline void storeText(RQChar* to, std::uint64_t text) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<std::int64_t>(text)), zero);
  storeUnits<count <= 4 ? count : 4>(to, _mm_unpacklo_epi16(words, zero));
  if constexpr (count > 4) storeUnits<count - 4>(to + 4, _mm_unpackhi_epi16(words, zero));
}

/// All bits but the one that separates upper and lower case ASCII letters.
template <class Unit>
inline constexpr Unit caseless = std::numeric_limits<Unit>::max() - 0x20;

/// `unit` with that bit cleared: 'U' for 'U' and 'u'.
template <class Unit>
constexpr Unit withoutCase(Unit unit) {
  return unit & caseless<Unit>;
}

}  // namespace rq

#endif
