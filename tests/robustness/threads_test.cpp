// Many threads on one object, and objects made and ended side by side: every answer as if there were one thread.
#include <gtest/gtest.h>

#include <thread>

#include "tests/model/calls.h"
#include "tests/robustness/parallel_host.h"

namespace rq::test {
namespace {

constexpr unsigned threadCount = 16, rounds = 12;

/// One call without anything that threads would share.
SlotResult callAlone(const Slot& slot, RQInterface* object, bool isLong) {
  const std::vector<std::uint8_t> input = richText(slot, isLong);
  const std::uint64_t capacity = 12 * input.size();
  const bool pad = slot.shape == Shape::paddedTransform;
  SlotResult result{};
  result.output.assign(capacity * slot.outputUnit() + RQ_OUTPUT_SLACK_BYTES, untouched);
  result.answer = callSlot(slot, slotsOf(object, slot.flavour), object, input.data(), input.size() / slot.inputUnit(),
                           result.output.data(), capacity, pad);
  return result;
}

std::vector<SlotResult> callAll(RQInterface* narrow, RQInterface* wide, unsigned firstSlot) {
  const Slots& slots = allSlots();
  std::vector<SlotResult> all(2 * slots.size());
  for (std::size_t i = 0; i < all.size(); ++i) {  // each thread begins elsewhere
    const std::size_t at = (i + firstSlot) % all.size();
    const Slot& slot = slots[at / 2];
    all[at] = callAlone(slot, slot.isWide() ? wide : narrow, at % 2 != 0);
  }
  return all;
}

RQInterface* create(ParallelHost& host) {
  return Library::get().rquni(host.context(), host.journal());
}

TEST(Threads, SixteenOnOneObjectAnswerAsOne) {
  ParallelHost narrowHost(usualEncoding(Flavour::plain)), wideHost(usualEncoding(Flavour::wide));
  Library::get().rqextent(narrowHost.kernel());
  RQInterface *const narrow = create(narrowHost), *const wide = create(wideHost);
  ASSERT_TRUE(narrow && wide);
  const std::vector<SlotResult> alone = callAll(narrow, wide, 0);
  std::vector<unsigned> differences(threadCount);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < threadCount; ++t)
    threads.emplace_back([&, t] {
      for (unsigned round = 0; round < rounds; ++round)
        if (callAll(narrow, wide, 8 * t + round) != alone) ++differences[t];
    });
  for (std::thread& thread : threads) thread.join();
  for (unsigned t = 0; t < threadCount; ++t) EXPECT_EQ(differences[t], 0U) << "thread " << t;
  narrow->destroy(narrow);
  wide->destroy(wide);
  EXPECT_EQ(ParallelHost::live(), 0);
}

TEST(Threads, ObjectsAreMadeUsedAndEndedSideBySide) {
  ParallelHost narrowHost(usualEncoding(Flavour::plain)), wideHost(usualEncoding(Flavour::wide));
  Library::get().rqextent(narrowHost.kernel());
  std::vector<std::thread> threads;
  std::vector<unsigned> mistakes(threadCount);
  for (unsigned t = 0; t < threadCount; ++t)
    threads.emplace_back([&, t] {
      for (unsigned round = 0; round < 100; ++round) {
        RQInterface *const narrow = create(narrowHost), *const wide = create(wideHost);
        if (!narrow || !wide) {
          ++mistakes[t];
          continue;
        }
        const Slot& slot = allSlots()[(t + round) % allSlots().size()];
        const SlotResult first = callAlone(slot, slot.isWide() ? wide : narrow, true);
        if (!(callAlone(slot, slot.isWide() ? wide : narrow, true) == first)) ++mistakes[t];
        narrow->destroy(narrow);
        wide->destroy(wide);
      }
    });
  for (std::thread& thread : threads) thread.join();
  for (unsigned t = 0; t < threadCount; ++t) EXPECT_EQ(mistakes[t], 0U) << "thread " << t;
  EXPECT_EQ(ParallelHost::live(), 0);
}

}  // namespace
}  // namespace rq::test
