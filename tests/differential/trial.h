/* One call of a slot, made of the library and of its naive twin, and all that is compared of the two. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_TRIAL_H
#define RQUNI_TESTS_DIFFERENTIAL_TRIAL_H

#include <vector>

#include "support/mock_host.h"
#include "trust/slots.h"

namespace rq::test {

struct Trial {
  const Slot* slot = nullptr;
  std::uint32_t encoding = latin1;
  MockHost::Services services{};
  bool pad = false;
  /// What the host does each time: refuses, or answers conversions with a status.
  bool refusesMemory = false, refusesConversions = false;
  std::uint32_t convertStatus = 0;
  /// What it does the n-th time only.
  enum class Once { nothing, refuses, lies } once = Once::nothing;
  Service refused = Service::convert;
  Lie lie = Lie::none;
  std::uint64_t nth = 1;
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
/// When it fails always or never and does not lie, the answer is the twin's too: status, whether a length is stored,
/// the length or count, the bytes, how far they reach past the capacity. What is asked of the host is asked in the
/// twin's order; the library may leave out what it knows already. A transform asks for one conversion, of the whole
/// text into the whole room, and gives what that gives.
void checkTrial(const Trial& trial);

}  // namespace rq::test

#endif
