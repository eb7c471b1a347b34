// How far each slot writes past its capacity: exactly as far as operations.h says, and 8 bytes always suffice.
#include <gtest/gtest.h>

#include <algorithm>

#include "trust/calls.h"

namespace rq::test {
namespace {

constexpr std::uint8_t untouched = 0xC7;

/// Texts that overshoot where anything can, at any capacity.
constexpr const char32_t* texts[] = {U"",
                                     U"\\uu\\uu\\uu\\UU\\uu\\uu\\uu\\uu\\uu\\uu\\uu",
                                     U"a\\uu\\uu\\uu\\UU\\uu\\uu\\uu\\uu\\uu\\uu",
                                     U"\\u00E9\\u00E9\\U00E9\\u00E9\\u00E9\\u00E9",
                                     U"ab\\u00E9\\u00E9\\U00E9\\u00E9\\u00E9\\u00E9",
                                     U"<U0001F600>x<U0001F600>x<U0001F600>x<U0001F600>x",
                                     U"x<U0001F600>x<U0001F600>x<U0041>x<U0001F600>x",
                                     U"<U0041>x<U0001F600>x<U0001F600>x<U0041>x<U0001F600>x",
                                     U"&#233;&#xE9;&#65;\u00E9\u00E8\u0080<U00E9>x",
                                     U"plain text, and nothing else in it at all......"};

/// Bytes from the output's beginning up to the last one that changed.
std::uint64_t reachOf(const Made& made) {
  std::uint64_t reach = made.output.size();
  while (reach > 0 && made.output[reach - 1] == untouched) --reach;
  return reach;
}

TEST(Slack, EveryOperationKeepsToItsDocumentedOvershoot) {
  for (const Slot& slot : allSlots()) {
    Session session(usualSession(slot.flavour));
    session.host.recording = false;
    std::uint64_t furthest = 0, documented = 0;
    for (const char32_t* text : texts)
      for (const bool pad : {false, true})
        for (std::uint64_t capacity = 0; capacity <= 48; ++capacity) {
          const Made made =
              make(slot, session, inputOf(slot, text), capacity, pad);  // a byte more would end the test
          EXPECT_EQ(made.mistake, nullptr) << slot.fullName() << " capacity " << capacity;
          const std::uint64_t overshoot = slot.overshoot(capacity, pad);
          EXPECT_LE(overshoot, std::uint64_t{RQ_OUTPUT_SLACK_BYTES});
          const std::uint64_t end = capacity * slot.outputUnit(), reach = reachOf(made);
          documented = std::max(documented, overshoot);
          furthest = std::max(furthest, reach > end ? reach - end : 0);
        }
    EXPECT_EQ(furthest, documented) << slot.fullName() << ": the documented overshoot is the real one";
  }
}

}  // namespace
}  // namespace rq::test
