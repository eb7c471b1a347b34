// Hosts that refuse calls or report false lengths: each call of each slot, and each two of them.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/model/calls.h"
#include "tests/model/codec_twin.h"

namespace rq::test {
namespace {

constexpr MockHost::Services allServices = {true, false, true};

/// Refuses the n-th call, counted over all services.
Failure refusal(std::uint64_t nth) {
  return {Service::any, nth, Outcome::refusal};
}

/// A slot in its usual session, and its result when nothing fails.
class Subject {
 public:
  Subject(const Slot& tested, bool isLong) : slot(tested), session(usualEncoding(tested.flavour)) {
    session.host.offer(allServices);
    input_ = richText(slot, isLong);
    capacity_ = 12 * input_.size();
    twin::setKernel(session.host.kernel());
    usual = call();
  }

  SlotResult call() { return call(slotsOf(session.object, slot.flavour)); }
  /// A call with this failure, then one without: a failure must leave nothing behind.
  SlotResult callWith(const Failure& failure) {
    session.host.schedule.add(failure);
    SlotResult result = call();
    session.host.schedule.clear();
    EXPECT_EQ(result.mistake, nullptr) << slot.fullName();
    EXPECT_TRUE(call() == usual) << slot.fullName() << " remembers a failure";
    return result;
  }
  /// A call with these failures. The naive twin must give the same when the host answers equal requests alike, and a
  /// call without failures must then give the usual result. Returns how many of its calls the host could refuse.
  std::uint64_t compareWith(std::initializer_list<Failure> failures) {
    Schedule& schedule = session.host.schedule;
    schedule.clear();
    for (const Failure& failure : failures) schedule.add(failure);
    const SlotResult result = call();
    const std::uint64_t calls = schedule.count();
    EXPECT_EQ(result.mistake, nullptr) << slot.fullName();
    if (!slot.isTransform()) compareWithTwin(result);
    schedule.clear();
    EXPECT_TRUE(call() == usual) << slot.fullName() << " remembers a failure";
    return calls;
  }
  /// How often a call uses that service.
  std::uint64_t uses(Service service) {
    call();
    return session.host.count(service);
  }
  bool pads() const { return slot.shape == Shape::paddedTransform; }
  std::uint64_t capacity() const { return capacity_; }
  /// Changes the room for the output.
  void limit(std::uint64_t capacity) {
    capacity_ = capacity;
    usual = call();
  }

  const Slot& slot;
  Session session;
  SlotResult usual;

 private:
  SlotResult call(const RQOperations& operations) {
    session.host.forget();
    return callGuarded(slot, session, operations, input_, capacity_, pads());
  }
  void compareWithTwin(const SlotResult& result) {
    session.host.schedule.repeat(std::vector(session.host.calls));
    const SlotResult twin = call(twin::operations(slot.flavour));
    EXPECT_EQ(twin.mistake, nullptr) << slot.fullName() << ", the twin";
    EXPECT_TRUE(result.answer == twin.answer)
        << slot.fullName() << ": status " << result.answer.status << ", length " << result.answer.written << ", twin "
        << twin.answer.status << ", " << twin.answer.written;
    const std::uint64_t length = result.answer.written == notStored ? 0 : result.answer.written * slot.outputUnit();
    EXPECT_TRUE(std::equal(result.output.begin(), result.output.begin() + static_cast<std::ptrdiff_t>(length),
                           twin.output.begin()))
        << slot.fullName() << ": not the twin's bytes";
  }

  std::vector<std::uint8_t> input_;
  std::uint64_t capacity_ = 0;
};

void expectRefusedConversion(const Subject& subject, const SlotResult& result, std::uint64_t nth) {
  const Slot& slot = subject.slot;
  if (slot.isTransform()) {
    EXPECT_EQ(result.answer.status, MockHost::refusalStatus) << slot.fullName();
    EXPECT_EQ(result.answer.written, subject.pads() ? subject.capacity() : 0) << slot.fullName();
  } else if (slot.shape == Shape::measure) {
    EXPECT_EQ(result.answer.count, 0) << slot.fullName();
  } else {
    EXPECT_EQ(result.answer.status, RQ_SUCCESS) << slot.fullName() << ": the status of a conversion does not matter";
    // The wide session never takes a notation as it stands: there the answer to these calls is always no.
    const bool isAnsweredNo = slot.fullName() == "wide.putUParen" && nth > 1;
    EXPECT_EQ(result == subject.usual, isAnsweredNo)
        << slot.fullName() << ": conversion " << nth << " and what it changes";
  }
}

void expectRefusedMemory(const Subject& subject, const SlotResult& result) {
  if (subject.slot.shape == Shape::measure) {
    EXPECT_EQ(result.answer.count, -1) << subject.slot.fullName();
    return;
  }
  EXPECT_EQ(result.answer.status, RQ_NO_MEMORY) << subject.slot.fullName();
  EXPECT_EQ(result.answer.written, notStored) << subject.slot.fullName();
}

TEST(Faults, EachConversionOfEachSlotIsRefused) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      EXPECT_EQ(subject.usual.mistake, nullptr) << slot.fullName();
      const std::uint64_t conversions = subject.uses(Service::convert);
      EXPECT_GE(conversions, 1U) << slot.fullName();
      for (std::uint64_t nth = 1; nth <= conversions; ++nth)
        expectRefusedConversion(subject, subject.callWith({Service::convert, nth, Outcome::refusal}), nth);
    }
}

TEST(Faults, EachBlockOfEachSlotIsRefused) {
  unsigned slotsWithBlocks = 0;
  for (const Slot& slot : allSlots()) {
    Subject subject(slot, true);
    const std::uint64_t blocks = subject.uses(Service::allocate);
    slotsWithBlocks += blocks != 0;
    for (std::uint64_t nth = 1; nth <= blocks; ++nth)
      expectRefusedMemory(subject, subject.callWith({Service::allocate, nth, Outcome::refusal}));
  }
  EXPECT_EQ(slotsWithBlocks, 3U * 5);  // the three encoders and the two measures, in each flavour
}

TEST(Faults, ServedDigitsAreReadWithoutTheirServiceToo) {
  unsigned slotsThatAsk = 0;
  for (const Slot& slot : allSlots()) {
    Subject subject(slot, false);
    const std::uint64_t lookUps = subject.uses(Service::lookUpCharset);
    slotsThatAsk += lookUps != 0;
    for (std::uint64_t nth = 1; nth <= lookUps; ++nth)
      EXPECT_TRUE(subject.callWith({Service::lookUpCharset, nth, Outcome::refusal}) == subject.usual)
          << slot.fullName() << ": ASCII upper case needs no service";
  }
  EXPECT_EQ(slotsThatAsk, 5U);  // the decoders, and the encoder of references for its U-paren notation
}

// Each call of each slot, and each two calls of one, of the same service or of different ones.
TEST(Faults, EachTwoCallsOfEachSlotAreRefused) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      const std::uint64_t calls = subject.compareWith({});
      for (std::uint64_t n = 1; n <= calls; ++n) {
        const std::uint64_t left = subject.compareWith({refusal(n)});
        for (std::uint64_t m = n + 1; m <= left; ++m) subject.compareWith({refusal(n), refusal(m)});
      }
    }
}

TEST(Faults, EachCallIsRefusedWhereTheOutputIsTooSmallToo) {
  for (const Slot& slot : allSlots()) {
    if (slot.shape == Shape::measure) continue;
    Subject subject(slot, false);
    const std::uint64_t whole = subject.usual.answer.written;
    for (const std::uint64_t capacity : {std::uint64_t{0}, std::uint64_t{7}, whole / 2, whole - 1, whole}) {
      subject.limit(capacity);
      const std::uint64_t calls = subject.compareWith({});
      for (std::uint64_t n = 1; n <= calls; ++n) subject.compareWith({refusal(n)});
    }
  }
}

// The host fills what it reports, so that twin and library see the same bytes.
TEST(Faults, FalseLengthsGiveTheSameInLibraryAndTwin) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      subject.session.host.fillsFalseLengths = true;
      const std::uint64_t calls = subject.compareWith({});
      unsigned other = 0;
      for (std::uint64_t n = 1; n <= calls; ++n)
        for (const Outcome length : falseLengths) {
          const Failure first = {Service::any, n, length};
          const std::uint64_t left = subject.compareWith({first});
          if (isLong) continue;
          for (std::uint64_t m = n + 1; m <= left; ++m) {
            const Outcome another = falseLengths[other++ % std::size(falseLengths)];
            subject.compareWith({first, {Service::any, m, m % 2 == 0 ? Outcome::refusal : another}});
          }
        }
    }
}

// Bytes that a host reports but did not write are zero: they must not show what the stack held.
TEST(Faults, ClaimedBytesThatNobodyWroteAreZero) {
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != "putNCR") continue;
    Session session(usualEncoding(slot.flavour));
    session.host.schedule.add({Service::convert, Failure::always, Outcome::lengthCapacity});
    const SlotResult result = callGuarded(slot, session, inputOf(slot, U"abc"), 100, false);
    const std::uint64_t unit = slot.outputUnit();
    ASSERT_EQ(result.answer.written, 30U) << slot.fullName();
    for (std::uint64_t i = 0; i < 30 * unit; ++i)
      EXPECT_EQ(result.output[i], i % (10 * unit) == 0 ? "abc"[i / (10 * unit)] : 0) << slot.fullName() << ' ' << i;
  }
}

TEST(Faults, ClaimedCharactersThatNobodyWroteAreZero) {
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != "putUEsc") continue;
    Session session(usualEncoding(slot.flavour));
    session.host.schedule.add({Service::convert, Failure::always, Outcome::lengthCapacity});
    const SlotResult result = callGuarded(slot, session, inputOf(slot, U"\u00E9"), 1000, false);
    constexpr std::uint64_t escape = 6, others = 255;  // what the buffer on the stack holds
    const std::uint64_t unit = slot.outputUnit();
    ASSERT_EQ(result.answer.written, escape + others) << slot.fullName();
    for (std::uint64_t i = escape * unit; i < (escape + others) * unit; ++i)
      EXPECT_EQ(result.output[i], 0) << slot.fullName() << ' ' << i;
  }
}

TEST(Faults, EachConversionOfEachSlotReportsFalseLengths) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      for (const Outcome outcome : falseLengths)
        for (std::uint64_t nth = 1, last = subject.uses(Service::convert); nth <= last; ++nth) {
          const SlotResult result = subject.callWith({Service::convert, nth, outcome});
          if (!slot.isTransform() || subject.pads()) continue;
          // The transform passes the host's length on: hosts count on it, and operations.h asks them to keep to the
          // capacity.
          const std::uint64_t unit = slot.isPut() ? 1 : slot.outputUnit();
          const std::uint64_t capacityBytes = subject.capacity() * slot.outputUnit();
          const std::uint64_t truth = subject.usual.answer.written * unit;
          const std::uint64_t reported = reportedLength(outcome, truth, capacityBytes, 0);
          EXPECT_EQ(result.answer.written, reported / unit) << slot.fullName();
        }
    }
}

}  // namespace
}  // namespace rq::test
