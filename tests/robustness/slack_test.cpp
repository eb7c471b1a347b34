// How far each slot writes past its capacity: exactly as far as operations.h says, and 8 bytes always suffice.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/model/calls.h"

namespace rq::test {
namespace {

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
std::uint64_t reachOf(const SlotResult& result) {
  std::uint64_t reach = result.output.size();
  while (reach > 0 && result.output[reach - 1] == untouched) --reach;
  return reach;
}

/// Sessions in which an operation could reach further than in others.
std::vector<std::uint32_t> sessionsOf(Flavour flavour) {
  if (flavour == Flavour::wide) return {utf32, laxUnits, utf8};
  return {utf8, laxBytes};
}

TEST(Slack, EveryOperationKeepsToItsDocumentedOvershoot) {
  for (const Slot& slot : allSlots()) {
    std::uint64_t furthest = 0, documented = 0;
    for (const std::uint32_t encoding : sessionsOf(slot.flavour)) {
      Session session(encoding);
      session.host.recording = false;
      for (const char32_t* text : texts)
        for (const bool pad : {false, true})
          for (std::uint64_t capacity = 0; capacity <= 48; ++capacity) {
            const SlotResult result = callGuarded(slot, session, inputOf(slot, encoding, text), capacity,
                                                  pad);  // a byte more would end the test
            ASSERT_EQ(result.mistake, nullptr) << slot.fullName() << " capacity " << capacity;
            const std::uint64_t end = capacity * slot.outputUnit(), reach = reachOf(result);
            documented = std::max(documented, slot.overshoot(capacity, pad));
            furthest = std::max(furthest, reach > end ? reach - end : 0);
          }
    }
    EXPECT_EQ(furthest, documented) << slot.fullName() << ": the documented overshoot is the real one";
  }
}

// The rule of the header: 8 bytes behind any output are enough for everything, and some operation needs them all.
TEST(Slack, EightBytesAreEnoughForEveryOperation) {
  std::uint64_t most = 0;
  for (const Slot& slot : allSlots())
    for (const bool pad : {false, true})
      for (std::uint64_t capacity = 0; capacity <= 48; ++capacity)
        most = std::max(most, slot.overshoot(capacity, pad));
  EXPECT_EQ(most, std::uint64_t{RQ_OUTPUT_SLACK_BYTES});
}

// The encoder first writes a notation as it stands, then finds that the host did not accept it. Those bytes lie
// beyond the length, never beyond the overshoot.
TEST(Slack, AFailedPassThroughClobbersNoMoreThanTheNotation) {
  for (const Flavour flavour : {Flavour::plain, Flavour::served}) {
    Session session(latin1);
    session.host.schedule.add({Service::convert, 1, Outcome::lengthZero});
    const CodecResult result = call(slotsOf(session.object, flavour).putUParen, session.object, flavour,
                                    unitsOf(flavour, latin1, U"<U0001F600>x"), 12);
    EXPECT_EQ(result.status, RQ_OUTPUT_TOO_SMALL);
    EXPECT_EQ(shown(result.bytes, flavour), "<u003C>");
    EXPECT_EQ(result.reach, 11U);
  }
}

}  // namespace
}  // namespace rq::test
