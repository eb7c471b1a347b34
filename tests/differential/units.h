/* Texts of units between guard pages, for the routines over bytes and over RQChar. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_UNITS_H
#define RQUNI_TESTS_DIFFERENTIAL_UNITS_H

#include "tests/differential/buffers.h"
#include "tests/differential/choices.h"
#include "tests/model/kit_twin.h"

namespace rq::test {

template <class U>
struct Units {
  U* at;
  std::uint64_t n;
  std::uint64_t bytes() const { return n * sizeof(U); }
};

inline constexpr std::uint64_t maxCount = 4000;

/// Mostly short, sometimes long enough for every step of a kernel.
inline std::uint64_t countOf(Choices& choices) {
  const unsigned kind = choices.byte();
  if (kind < 0xC0) return kind % 72;
  return kind < 0xFC ? choices.below(300) : choices.below(maxCount + 1);
}

/// Changes one unit.
template <class U>
void spoil(Choices& choices, Units<U> text) {
  if (text.n == 0) return;
  const std::uint64_t i = choices.below(static_cast<std::uint32_t>(text.n));
  const unsigned kind = choices.byte();
  if (kind & 1)
    twin::set(text.at, i, static_cast<U>(choices.word()));
  else
    twin::set(text.at, i, static_cast<U>(twin::get(text.at, i) ^ (U{1} << kind / 2 % (8 * sizeof(U)))));
}

/// Letters of one script and blanks.
inline void writeLetters(Choices& choices, Units<RQChar> text) {
  constexpr RQChar starts[] = {0x20,   0x41,   0xC0,   0x100,  0x180,  0x1C0,  0x240,   0x370,      0x400,     0x530,
                               0x1080, 0x13A0, 0x1C80, 0x1E00, 0x1F00, 0x1F80, 0x2100,  0x24B0,     0x2C00,    0x2D00,
                               0xA640, 0xA780, 0xAB30, 0xFF20, 0xFFC0, 0xFFF0, 0x10400, 0x7FFFFFE0, 0xFFFFFFC0};
  const RQChar start = starts[choices.byte() % std::size(starts)];
  for (std::uint64_t i = 0; i < text.n; ++i) {
    const RQChar letter = choices.byte();
    twin::set(text.at, i, letter < 0xE0 ? start + (letter & 0x3F) : RQChar{' '});
  }
}

/// Anything, letters, or mostly one value, so that searches go far.
template <class U>
void writeUnits(Choices& choices, Units<U> text) {
  const unsigned kind = choices.byte();
  if (kind % 4 == 0) return choices.fill(text.at, text.bytes());
  if constexpr (sizeof(U) == sizeof(RQChar))
    if (kind % 4 == 1) return writeLetters(choices, text);
  twin::fill(text.at, kind & 0x80 ? static_cast<U>('a') : static_cast<U>(choices.word()), text.n);
  for (unsigned left = kind / 4 % 4; left > 0; --left) spoil(choices, text);
}

template <class U>
Units<U> placeUnits(Choices& choices, CaseBuffer& buffer, std::uint64_t n) {
  return {reinterpret_cast<U*>(buffer.placeAt(n * sizeof(U), choices.byte())), n};
}
template <class U>
Units<U> unitsIn(Choices& choices, CaseBuffer& buffer) {
  const Units<U> text = placeUnits<U>(choices, buffer, countOf(choices));
  writeUnits(choices, text);
  return text;
}

/// A value to look for: one of the text's, or any.
template <class U>
U valueFor(Choices& choices, Units<U> text) {
  const unsigned kind = choices.byte();
  if (kind % 4 == 0) return static_cast<U>('a');
  if (kind % 4 == 1 || text.n == 0) return static_cast<U>(choices.word());
  return twin::get(text.at, choices.below(static_cast<std::uint32_t>(text.n)));
}

/// The text as it was, for the twin to work on.
class Copy {
 public:
  template <class U>
  U* of(Units<U> text) {
    std::memcpy(bytes_, static_cast<const void*>(text.at), text.bytes());
    return reinterpret_cast<U*>(bytes_);
  }
  template <class U>
  bool operator==(Units<U> text) const {
    return std::memcmp(bytes_, static_cast<const void*>(text.at), text.bytes()) == 0;
  }

 private:
  alignas(64) std::uint8_t bytes_[maxCount * 8];
};
inline Copy expected;

/// For texts of up to `maxCount` units of 8 bytes. Static locals, so that they come after the variables they need.
inline CaseBuffer& first() {
  static CaseBuffer buffer(8 * maxCount);
  return buffer;
}
inline CaseBuffer& second() {
  static CaseBuffer buffer(8 * maxCount);
  return buffer;
}

}  // namespace rq::test

#endif
