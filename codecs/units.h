// Copies and stores of a few units of text, at any address.
#ifndef RQUNI_CODECS_UNITS_H
#define RQUNI_CODECS_UNITS_H

#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/types.h"
#include "kit/unaligned.h"

namespace rq {

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
template <std::uint64_t count>
inline void storeText(RQChar* to, std::uint64_t text) {
  for (std::uint64_t i = 0; i < count; ++i) store(to + i, static_cast<RQChar>(text >> 8 * i & 0xFF));
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
