/* One call of a slot, made of the library and of its naive twin, and all that is compared of the two. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_TRIAL_H
#define RQUNI_TESTS_DIFFERENTIAL_TRIAL_H

#include <vector>

#include "tests/model/mock_host.h"
#include "tests/model/slots.h"

namespace rq::test {

struct Trial {
  const Slot* slot = nullptr;
  std::uint32_t encoding = latin1;
  MockHost::Services services{};
  bool pad = false;
  /// What the host does each time: refuses, or answers conversions with a status.
  bool refusesMemory = false, refusesConversions = false;
  std::uint32_t convertStatus = 0;
  /// What becomes of the n-th call that can fail, over all services; 0: of none.
  Fate fate{};
  std::uint64_t nth = 0;
  /// As Region::place takes them.
  unsigned inputPlace = 0, outputPlace = 0;
  std::uint64_t capacity = 0;
  std::vector<std::uint8_t> text;  // whole units

  std::uint64_t units() const { return text.size() / slot->inputUnit(); }
  bool isTransform() const { return slot->shape == Shape::transform || slot->shape == Shape::paddedTransform; }
};

inline constexpr std::uint64_t mostUnits = 1500, mostCapacity = 12 * mostUnits + 16;

/// The encoding of the Unicode text that a transform takes or gives.
std::uint32_t formOf(const Slot& slot);

/// Makes the call; throws a Difference when one of these does not hold.
///
/// Whatever the host does: nothing outside the buffers is touched, the output by no more than its documented
/// overshoot, the input is not changed, nothing behind *written units is changed (putUParen may clobber its room, the
/// pad fills it), *written is stored but for the two documented exceptions, the status is a documented one, and every
/// block is given back.
///
/// The answer is the twin's: status, whether a length is stored, the length or count, the bytes, how far they reach
/// past the capacity. What is asked of the host is asked in the twin's order; the library may leave out what it knows
/// already. A transform asks for one conversion, of the whole text into the whole room, and gives what that gives.
/// Not compared are a transform whose transcoder lies, and calls in which the host answered one question in two ways.
void checkTrial(const Trial& trial);

}  // namespace rq::test

#endif
