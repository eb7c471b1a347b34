// Units of text at any address: an RQChar of a caller's buffer need not be aligned.
#ifndef RQUNI_CODECS_UNITS_H
#define RQUNI_CODECS_UNITS_H

#include <cstring>

#include "frame/types.h"

namespace rq {

template <class Unit>
inline Unit load(const Unit* from) {
  Unit unit;
  std::memcpy(&unit, from, sizeof unit);
  return unit;
}

template <class Unit>
inline void store(Unit* to, Unit unit) {
  std::memcpy(to, &unit, sizeof unit);
}

/// Copies sizeof(Word) to 2 x sizeof(Word) bytes by two moves that may overlap.
template <class Word>
inline void copyByTwoMoves(void* to, const void* from, uint64_t bytes) {
  Word head, tail;
  std::memcpy(&head, from, sizeof head);
  std::memcpy(&tail, static_cast<const char*>(from) + bytes - sizeof tail, sizeof tail);
  std::memcpy(to, &head, sizeof head);
  std::memcpy(static_cast<char*>(to) + bytes - sizeof tail, &tail, sizeof tail);
}

/// Copies units; most copies are of one character, and a call would cost more than they do.
template <class Unit>
inline void copyUnits(Unit* to, const Unit* from, uint64_t count) {
  const uint64_t bytes = count * sizeof(Unit);
  if (bytes > 16)
    std::memcpy(to, from, bytes);
  else if (bytes >= 8)
    copyByTwoMoves<uint64_t>(to, from, bytes);
  else if (bytes >= 4)
    copyByTwoMoves<uint32_t>(to, from, bytes);
  else if (bytes >= 2)
    copyByTwoMoves<uint16_t>(to, from, bytes);
  else if (bytes == 1)
    store(to, load(from));
}

/// With the bit that tells ASCII letters' cases apart cleared.
template <class Unit>
constexpr Unit withoutCase(Unit unit) {
  return static_cast<Unit>(unit & ~Unit{0x20});
}

constexpr uint64_t smaller(uint64_t a, uint64_t b) {
  return a < b ? a : b;
}

}  // namespace rq

#endif
