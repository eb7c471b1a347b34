/* All 69 slots as data. Tests go through this list, so that no slot can be left out. */
#ifndef RQUNI_TESTS_MODEL_SLOTS_H
#define RQUNI_TESTS_MODEL_SLOTS_H

#include <array>
#include <cstdint>
#include <string>

#include "frame/rquni.h"
#include "tests/model/texts.h"

namespace rq::test {

enum class Shape { codec, transform, paddedTransform, measure };

struct Slot {
  Flavour flavour;
  unsigned position;  // 1 to 23, as in operations.def
  const char* name;   // of the slot, without its flavour
  Shape shape;

  bool isWide() const { return flavour == Flavour::wide; }
  /// Puts take session text and give Unicode text; Gets the other way round.
  bool isPut() const { return name[0] == 'p'; }
  bool isTransform() const { return shape == Shape::transform || shape == Shape::paddedTransform; }
  /// Whether the input is text in a Unicode form rather than session text.
  bool takesUnicodeForm() const { return isTransform() && !isPut(); }
  /// Bytes of one unit of the input's length, and of the capacity.
  std::uint64_t inputUnit() const;
  std::uint64_t outputUnit() const { return isWide() ? 4 : 1; }
  /// How many bytes beyond the capacity a call may write, as operations.h documents it.
  std::uint64_t overshoot(std::uint64_t capacity, bool pad) const;
  /// "plain.getNCR"
  std::string fullName() const;
};

inline constexpr unsigned operationsPerFlavour = 23;
using Slots = std::array<Slot, 3 * operationsPerFlavour>;
const Slots& allSlots();

inline constexpr std::uint64_t notStored = 0x5EED5EED5EED5EED;

/// The answer of a call: a status and *written, which starts as notStored, or a measure's count.
struct Answer {
  RQStatus status = 0;
  std::uint64_t written = notStored;
  std::int64_t count = 0;
  bool operator==(const Answer&) const = default;
};

/// Calls that slot of `operations`.
Answer callSlot(const Slot& slot, const RQOperations& operations, RQInterface* object, const void* input,
                std::uint64_t length, void* output, std::uint64_t capacity, bool pad);

/// The promise that a call broke whatever its host did, or null. `output` is `room` bytes, capacity and overshoot,
/// each of them `untouched` before. Only putUParen may clobber its room behind the length that it reports.
const char* mistakeOf(const Slot& slot, const Answer& answer, const std::uint8_t* output, std::uint64_t room,
                      std::uint8_t untouched);

}  // namespace rq::test

#endif
