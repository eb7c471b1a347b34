// Units of text at any address: an RQChar of a caller's buffer need not be aligned.
#ifndef RQUNI_CODECS_UNITS_H
#define RQUNI_CODECS_UNITS_H

#include <cstdint>
#include <cstring>

#include "frame/types.h"

namespace rq {

// Pointers become untyped first: a compiler may take it that one to an RQChar is aligned.
template <class Unit>
inline Unit load(const Unit* from) {
  Unit unit;
  std::memcpy(&unit, static_cast<const void*>(from), sizeof unit);
  return unit;
}

template <class Unit>
inline void store(Unit* to, Unit unit) {
  std::memcpy(static_cast<void*>(to), &unit, sizeof unit);
}

/// Copies sizeof(Word) to 2 x sizeof(Word) bytes by two moves that may overlap.
template <class Word>
inline void copyByTwoMoves(void* to, const void* from, std::uint64_t bytes) {
  Word head, tail;
  std::memcpy(&head, from, sizeof head);
  std::memcpy(&tail, static_cast<const char*>(from) + bytes - sizeof tail, sizeof tail);
  std::memcpy(to, &head, sizeof head);
  std::memcpy(static_cast<char*>(to) + bytes - sizeof tail, &tail, sizeof tail);
}

/// Copies units; most copies are of one character, and a call would cost more than they do.
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
    std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), bytes);
  }
}

/// Writes the lowest `count` bytes of `text` as units, the lowest first.
template <std::uint64_t count>
inline void storeText(std::uint8_t* to, std::uint64_t text) {
  if constexpr (count > 4 && count < 8) {  // two stores; a compiler may go by way of the stack
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

/// With the bit that tells ASCII letters' cases apart cleared.
template <class Unit>
constexpr Unit withoutCase(Unit unit) {
  return static_cast<Unit>(unit & ~Unit{0x20});
}

constexpr std::uint64_t smaller(std::uint64_t a, std::uint64_t b) {
  return a < b ? a : b;
}

}  // namespace rq

#endif
