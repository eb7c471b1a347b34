// Hosts that fail and hosts that lie: each call of each slot, and each two of them.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/model/calls.h"
#include "tests/model/codec_twin.h"

namespace rq::test {
namespace {

constexpr RQStatus refusal = 0x805FFFFF;  // the mock's
constexpr MockHost::Services allServices = {true, false, true};
constexpr Fate refused = {true, Lie::none};

bool isTransform(const Slot& slot) {
  return slot.shape == Shape::transform || slot.shape == Shape::paddedTransform;
}

/// What happens to which of a call's questions to the host, counted over all services.
struct Trouble {
  std::uint64_t nth;
  Fate fate;
};

/// A slot in its usual session, and what it answers when nothing fails.
class Subject {
 public:
  Subject(const Slot& tested, bool isLong) : slot(tested), session(usualSession(tested.flavour)) {
    session.host.offer(allServices);
    input_ = richText(slot, isLong);
    capacity_ = 12 * input_.size();
    twin::setKernel(session.host.kernel());
    usual = call();
  }

  Made call() { return call(slotsOf(session.object, slot.flavour)); }
  /// A call with the faults that are set, then one without: a failure must leave nothing behind.
  Made callOnce() {
    Made made = call();
    session.host.behave();
    EXPECT_EQ(made.mistake, nullptr) << slot.fullName();
    EXPECT_TRUE(call() == usual) << slot.fullName() << " remembers a failure";
    return made;
  }
  /// A call in such trouble. The naive twin, to whom the host answers the same questions in the same way, must give
  /// the same; afterwards all must be as it was. Returns the questions asked.
  std::uint64_t callInTrouble(std::initializer_list<Trouble> all) {
    MockHost& host = session.host;
    host.fates.forget();
    for (const Trouble& trouble : all) host.fates.set(trouble.nth, trouble.fate);
    const Made made = call();
    const std::uint64_t asked = host.fates.count();
    EXPECT_EQ(made.mistake, nullptr) << slot.fullName();
    if (!isTransform(slot)) expectTheTwins(made);
    host.behave();
    EXPECT_TRUE(call() == usual) << slot.fullName() << " remembers a failure";
    return asked;
  }
  std::uint64_t questions(Service service) {
    call();
    return session.host.count(service);
  }
  bool pads() const { return slot.shape == Shape::paddedTransform; }
  std::uint64_t capacity() const { return capacity_; }
  /// Also with room for only so much.
  void limit(std::uint64_t capacity) {
    capacity_ = capacity;
    usual = call();
  }

  const Slot& slot;
  Session session;
  Made usual;

 private:
  Made call(const RQOperations& operations) {
    session.host.forget();
    return make(slot, session, operations, input_, capacity_, pads());
  }
  void expectTheTwins(const Made& made) {
    session.host.fates.repeat(std::vector(session.host.calls));
    const Made twin = call(twin::operations(slot.flavour));
    EXPECT_EQ(twin.mistake, nullptr) << slot.fullName() << ", the twin";
    EXPECT_TRUE(made.answer == twin.answer)
        << slot.fullName() << ": status " << made.answer.status << ", length " << made.answer.written << ", twin "
        << twin.answer.status << ", " << twin.answer.written;
    const std::uint64_t length = made.answer.written == notStored ? 0 : made.answer.written * slot.outputUnit();
    EXPECT_TRUE(std::equal(made.output.begin(), made.output.begin() + static_cast<std::ptrdiff_t>(length),
                           twin.output.begin()))
        << slot.fullName() << ": not the twin's bytes";
  }

  std::vector<std::uint8_t> input_;
  std::uint64_t capacity_ = 0;
};

void expectRefusedConversion(const Subject& subject, const Made& made, std::uint64_t nth) {
  const Slot& slot = subject.slot;
  if (isTransform(slot)) {
    EXPECT_EQ(made.answer.status, refusal) << slot.fullName();
    EXPECT_EQ(made.answer.written, subject.pads() ? subject.capacity() : 0) << slot.fullName();
  } else if (slot.shape == Shape::measure) {
    EXPECT_EQ(made.answer.count, 0) << slot.fullName();
  } else {
    EXPECT_EQ(made.answer.status, RQ_SUCCESS) << slot.fullName() << ": statuses of conversions are not looked at";
    // The wide session never takes a notation as it stands: there these questions are always answered with no.
    const bool isAnsweredNo = slot.fullName() == "wide.putUParen" && nth > 1;
    EXPECT_EQ(made == subject.usual, isAnsweredNo)
        << slot.fullName() << ": conversion " << nth << " and what it changes";
  }
}

void expectRefusedMemory(const Subject& subject, const Made& made) {
  if (subject.slot.shape == Shape::measure) {
    EXPECT_EQ(made.answer.count, -1) << subject.slot.fullName();
    return;
  }
  EXPECT_EQ(made.answer.status, RQ_NO_MEMORY) << subject.slot.fullName();
  EXPECT_EQ(made.answer.written, notStored) << subject.slot.fullName();
}

TEST(Faults, EachConversionOfEachSlotIsRefused) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      EXPECT_EQ(subject.usual.mistake, nullptr) << slot.fullName();
      const std::uint64_t questions = subject.questions(Service::convert);
      EXPECT_GE(questions, 1U) << slot.fullName();
      for (std::uint64_t nth = 1; nth <= questions; ++nth) {
        subject.session.host.refuse(Service::convert, nth);
        expectRefusedConversion(subject, subject.callOnce(), nth);
      }
    }
}

TEST(Faults, EachBlockOfEachSlotIsRefused) {
  unsigned slotsWithBlocks = 0;
  for (const Slot& slot : allSlots()) {
    Subject subject(slot, true);
    const std::uint64_t blocks = subject.questions(Service::allocate);
    slotsWithBlocks += blocks != 0;
    for (std::uint64_t nth = 1; nth <= blocks; ++nth) {
      subject.session.host.refuse(Service::allocate, nth);
      expectRefusedMemory(subject, subject.callOnce());
    }
  }
  EXPECT_EQ(slotsWithBlocks, 3U * 5);  // the three encoders and the two measures, in each flavour
}

TEST(Faults, ServedDigitsAreReadWithoutTheirServiceToo) {
  unsigned slotsThatAsk = 0;
  for (const Slot& slot : allSlots()) {
    Subject subject(slot, false);
    const std::uint64_t questions = subject.questions(Service::lookUpCharset);
    slotsThatAsk += questions != 0;
    for (std::uint64_t nth = 1; nth <= questions; ++nth) {
      subject.session.host.refuse(Service::lookUpCharset, nth);
      EXPECT_TRUE(subject.callOnce() == subject.usual) << slot.fullName() << ": ASCII upper case needs no service";
    }
  }
  EXPECT_EQ(slotsThatAsk, 5U);  // the decoders, and the encoder of references for its angle notation
}

// Each call of each slot, and each two calls of one, of the same service or of different ones.
TEST(Faults, EachTwoCallsOfEachSlotAreRefused) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      const std::uint64_t calls = subject.callInTrouble({});
      for (std::uint64_t n = 1; n <= calls; ++n) {
        const std::uint64_t left = subject.callInTrouble({{n, refused}});
        for (std::uint64_t m = n + 1; m <= left; ++m) subject.callInTrouble({{n, refused}, {m, refused}});
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
      const std::uint64_t calls = subject.callInTrouble({});
      for (std::uint64_t n = 1; n <= calls; ++n) subject.callInTrouble({{n, refused}});
    }
  }
}

// A host that claims more than it made, and fills what it claims: then twin and library see the same bytes.
TEST(Faults, LiesMakeTheSameOfTheLibraryAndOfItsTwin) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      subject.session.host.liesFill = true;
      const std::uint64_t calls = subject.callInTrouble({});
      unsigned other = 0;
      for (std::uint64_t n = 1; n <= calls; ++n)
        for (const Lie lie : allLies) {
          const std::uint64_t left = subject.callInTrouble({{n, {false, lie}}});
          if (isLong) continue;
          for (std::uint64_t m = n + 1; m <= left; ++m)  // with another lie each time, or with a refusal
            subject.callInTrouble({{n, {false, lie}}, {m, {m % 2 == 0, allLies[other++ % std::size(allLies)]}}});
        }
    }
}

// What a host claims but did not write must not show what the stack held: it is zero.
TEST(Faults, ClaimedBytesThatNobodyWroteAreZero) {
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != "putNCR") continue;
    Session session(usualSession(slot.flavour));
    session.host.lie(Lie::capacity, 0);
    const Made made = make(slot, session, inputOf(slot, U"abc"), 100, false);
    const std::uint64_t unit = slot.outputUnit();
    ASSERT_EQ(made.answer.written, 30U) << slot.fullName();
    for (std::uint64_t i = 0; i < 30 * unit; ++i)
      EXPECT_EQ(made.output[i], i % (10 * unit) == 0 ? "abc"[i / (10 * unit)] : 0) << slot.fullName() << ' ' << i;
  }
}

TEST(Faults, ClaimedCharactersThatNobodyWroteAreZero) {
  for (const Slot& slot : allSlots()) {
    if (std::string_view(slot.name) != "putUEsc") continue;
    Session session(usualSession(slot.flavour));
    session.host.lie(Lie::capacity, 0);
    const Made made = make(slot, session, inputOf(slot, U"\u00E9"), 1000, false);
    constexpr std::uint64_t escape = 6, others = 255;  // what the buffer on the stack holds
    const std::uint64_t unit = slot.outputUnit();
    ASSERT_EQ(made.answer.written, escape + others) << slot.fullName();
    for (std::uint64_t i = escape * unit; i < (escape + others) * unit; ++i)
      EXPECT_EQ(made.output[i], 0) << slot.fullName() << ' ' << i;
  }
}

TEST(Faults, EachConversionOfEachSlotLies) {
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      for (const Lie lie : allLies)
        for (std::uint64_t nth = 1, last = subject.questions(Service::convert); nth <= last; ++nth) {
          subject.session.host.lie(lie, nth);
          const Made made = subject.callOnce();
          if (!isTransform(slot) || subject.pads()) continue;
          // What the host says goes on: hosts count on it, and are told to keep to the capacity.
          const std::uint64_t unit = slot.isPut() ? 1 : slot.outputUnit();
          const std::uint64_t capacityBytes = subject.capacity() * slot.outputUnit();
          const std::uint64_t truth = subject.usual.answer.written * unit;
          const std::uint64_t told = toldLength(lie, truth, capacityBytes, 0);
          EXPECT_EQ(made.answer.written, told / unit) << slot.fullName();
        }
    }
}

}  // namespace
}  // namespace rq::test
