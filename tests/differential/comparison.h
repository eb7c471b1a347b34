/* One call of a slot as data, and its comparison: the library's result against the naive twin's. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_COMPARISON_H
#define RQUNI_TESTS_DIFFERENTIAL_COMPARISON_H

#include <vector>

#include "tests/model/mock_host.h"
#include "tests/model/slots.h"

namespace rq::test {

struct Case {
  const Slot* slot = nullptr;
  std::uint32_t encoding = latin1;
  MockHost::Services services{};
  bool pad = false;
  /// The object's escape characters.
  std::uint8_t escape = '\\', reference = '#';
  /// The calls that the host fails, and the status of conversions that do not fail.
  Failure failure{};
  std::uint32_t convertStatus = 0;
  /// As placeAt takes them.
  unsigned inputPlace = 0, outputPlace = 0;
  std::uint64_t capacity = 0;
  std::vector<std::uint8_t> text;  // whole units

  std::uint64_t units() const { return text.size() / slot->inputUnit(); }
};

inline constexpr std::uint64_t maxUnits = 1500, maxCapacity = 12 * maxUnits + 16;

/// Calls the library, then the twin, and compares; throws a Difference when one of these does not hold.
///
/// Whatever the host does: the call touches nothing outside its buffers but the documented overshoot of the output,
/// it does not change the input or what lies behind *written units (putUParen may clobber its room, the pad fills
/// it), it stores *written but for the two documented exceptions, its status is a documented one, and it gives every
/// block back.
///
/// The result is the twin's: status, whether a length is stored, the length or count, the bytes, how far they reach
/// past the capacity. The library calls the host in the twin's order; it may leave out what it knows already. A
/// transform makes one conversion, of the whole text into the whole room, and returns that conversion's result. Two
/// kinds of cases are not compared: a transform whose transcoder reports a false length, and a call whose host gave
/// two outcomes to equal requests.
void checkCase(const Case& test);

}  // namespace rq::test

#endif
