// Worst texts of some megabytes come to an end. No clock is read: a call whose time grew with the square of its text
// would take minutes for each of these, and ctest ends the program long before. check_growth.py counts instructions.
#include <gtest/gtest.h>

#include "tests/robustness/worst_texts.h"

namespace rq::test {
namespace {

constexpr std::size_t textBytes = std::size_t{4} << 20;

class Linear : public testing::TestWithParam<Worst> {};

TEST_P(Linear, MegabytesOfTheWorstTextsComeToAnEnd) {
  std::vector<std::uint8_t> output(outputBytes(textBytes));
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != GetParam().operation) continue;
    Session session(usualEncoding(slot.flavour));
    session.host.recording = false;
    const std::uint64_t capacity = (output.size() - RQ_OUTPUT_SLACK_BYTES) / slot.outputUnit();
    for (const char32_t* piece : GetParam().pieces) {
      for (const std::u32string_view end : {std::u32string_view(), terminators}) {
        const auto input = inputOf(slot, {piece, end}, textBytes);
        const Answer answer = callSlot(slot, slotsOf(session.object, slot.flavour), session.object, input.data(),
                                       input.size() / slot.inputUnit(), output.data(), capacity, false);
        EXPECT_EQ(answer.status, RQ_SUCCESS) << slot.fullName();
        EXPECT_TRUE(slot.shape == Shape::measure || answer.written <= capacity) << slot.fullName();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, Linear, testing::ValuesIn(worst),
                         [](const auto& operation) { return operation.param.operation; });

}  // namespace
}  // namespace rq::test
