// The time of a call grows with its text and no faster, whatever the text holds.
//
// Processor time, not instructions: this runs on every change. check_growth.py counts instructions for more texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "tests/robustness/worst_texts.h"

namespace rq::test {
namespace {

/// Sixteen times the text takes sixteen times as long in a linear call, and 256 times in a quadratic one. The limit
/// lies in the middle, so that neither caches nor other processes decide.
constexpr std::size_t shortBytes = 64 << 10, longBytes = 16 * shortBytes;
constexpr double maxGrowth = 64;
constexpr int rounds = 5;

double processorSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double secondsOf(const Slot& slot, RQInterface* object, const std::vector<std::uint8_t>& input,
                 std::vector<std::uint8_t>& output) {
  const std::uint64_t capacity = (output.size() - RQ_OUTPUT_SLACK_BYTES) / slot.outputUnit();
  const double begun = processorSeconds();
  callSlot(slot, slotsOf(object, slot.flavour), object, input.data(), input.size() / slot.inputUnit(), output.data(),
           capacity, false);
  return processorSeconds() - begun;
}

class Linear : public testing::TestWithParam<Worst> {};

TEST_P(Linear, SixteenTimesTheTextTakesSixteenTimesAsLong) {
  std::vector<std::uint8_t> output(outputBytes(longBytes));
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != GetParam().operation) continue;
    Session session(usualEncoding(slot.flavour));
    session.host.recording = false;
    for (const char32_t* piece : GetParam().pieces)
      for (const std::u32string_view end : {std::u32string_view(), terminators}) {
        const WorstText text = {piece, end};
        const auto shortInput = inputOf(slot, text, shortBytes), longInput = inputOf(slot, text, longBytes);
        double shortest = 1e9, longest = 1e9;
        for (int round = 0; round < rounds; ++round) {
          shortest = std::min(shortest, secondsOf(slot, session.object, shortInput, output));
          longest = std::min(longest, secondsOf(slot, session.object, longInput, output));
          if (longest < maxGrowth * shortest) break;
        }
        EXPECT_LT(longest, maxGrowth * shortest)
            << slot.fullName() << ", " << shown(inputOf(slot, piece), slot.isWide() ? Flavour::wide : Flavour::plain)
            << (end.empty() ? "" : ", terminators at the end");
      }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, Linear, testing::ValuesIn(worst),
                         [](const auto& operation) { return operation.param.operation; });

}  // namespace
}  // namespace rq::test
