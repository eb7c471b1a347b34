// No slot reads beyond its input or writes outside of its output: guard pages on both sides, at every length.
#include <gtest/gtest.h>

#include "tests/model/calls.h"

namespace rq::test {
namespace {

/// Sessions of a flavour that differ in what they ask and give: bytes, several bytes, units of any value.
std::vector<std::uint32_t> sessionsOf(Flavour flavour) {
  if (flavour == Flavour::wide) return {utf32, laxUnits, latin1};
  return {utf8, latin1, doubleByte};
}

/// Each notation whole, cut, nested and empty; all in ASCII, so that every session holds it.
constexpr std::u32string_view texts[] = {
    U"a&#65;&#x42;&#xD83D;&#xDE00;&#&#x;&", U"\\u0041\\U0001F600\\uD83D\\uDE00\\uu0041\\uUx\\",
    U"<U0041><U0001F600>x<U><U<u00e9>><U0001F60", U"  plain text, and nothing else in it  "};

void expectSame(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input, std::uint64_t capacity,
                bool pad) {
  const SlotResult atEnd = callGuarded(slot, session, input, capacity, pad, Flush::atEnd);
  const SlotResult atBeginning = callGuarded(slot, session, input, capacity, pad, Flush::atBeginning);
  ASSERT_EQ(atEnd.mistake, nullptr) << slot.fullName() << ", " << input.size() << " bytes, capacity " << capacity;
  ASSERT_EQ(atBeginning.mistake, nullptr)
      << slot.fullName() << ", " << input.size() << " bytes, capacity " << capacity;
  ASSERT_TRUE(atEnd == atBeginning) << slot.fullName() << " depends on what lies around its input";
}

void checkPrefixes(const Slot& slot, Session& session, std::vector<std::uint8_t> input, std::uint64_t shortest) {
  const bool pad = slot.shape == Shape::paddedTransform;
  for (; input.size() >= shortest; input.resize(input.size() - slot.inputUnit())) {
    const std::uint64_t units = input.size() / slot.inputUnit();
    for (const std::uint64_t capacity : {std::uint64_t{0}, units, 12 * units + 5})
      expectSame(slot, session, input, capacity, pad);
    if (input.size() < slot.inputUnit()) break;
  }
}

TEST(Guards, EveryPrefixOfATextEndsAtAGuardPage) {
  for (const Slot& slot : allSlots())
    for (const std::uint32_t encoding : sessionsOf(slot.flavour)) {
      Session session(encoding);
      session.host.recording = false;
      session.host.offer({true, false, true});
      for (const std::u32string_view text : texts) checkPrefixes(slot, session, inputOf(slot, encoding, text), 0);
    }
}

// Around the thresholds of the working buffers, with characters of each size.
TEST(Guards, EveryPrefixOfALongTextEndsAtAGuardPage) {
  for (const Slot& slot : allSlots()) {
    Session session(usualEncoding(slot.flavour));
    session.host.recording = false;
    const std::vector<std::uint8_t> text = richText(slot, true);
    checkPrefixes(slot, session, text, 240 * slot.inputUnit());
  }
}

// Every capacity, so that the output ends within each piece of the text.
TEST(Guards, OutputsEndAtAGuardPageAtEveryCapacity) {
  for (const Slot& slot : allSlots()) {
    Session session(usualEncoding(slot.flavour));
    session.host.recording = false;
    const std::vector<std::uint8_t> text = richText(slot, false);
    if (slot.shape == Shape::measure) continue;
    for (const bool pad : {false, true})
      for (std::uint64_t capacity = 0; capacity <= 260; ++capacity) expectSame(slot, session, text, capacity, pad);
  }
}

}  // namespace
}  // namespace rq::test
