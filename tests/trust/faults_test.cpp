// Hosts that fail and hosts that lie: each service at its n-th call, for n from 1 until none is left.
#include <gtest/gtest.h>

#include "trust/calls.h"

namespace rq::test {
namespace {

constexpr RQStatus refusal = 0x805FFFFF;  // the mock's
constexpr MockHost::Services allServices = {true, false, true};

/// A slot in its usual session, and what it answers when nothing fails.
class Subject {
 public:
  Subject(const Slot& tested, bool isLong) : slot(tested), session(usualSession(tested.flavour)) {
    session.host.recording = false;
    session.host.offer(allServices);
    input_ = richText(slot, isLong);
    capacity_ = 12 * input_.size();
    usual = call();
  }

  Made call() { return make(slot, session, input_, capacity_, pads()); }
  /// A call with the faults that are set, then one without: a failure must leave nothing behind.
  Made callOnce() {
    Made made = call();
    session.host.behave();
    EXPECT_EQ(made.mistake, nullptr) << slot.fullName();
    EXPECT_TRUE(call() == usual) << slot.fullName() << " remembers a failure";
    return made;
  }
  std::uint64_t questions(Service service) {
    const std::uint64_t before = session.host.count(service);
    call();
    return session.host.count(service) - before;
  }
  bool pads() const { return slot.shape == Shape::paddedTransform; }
  std::uint64_t capacity() const { return capacity_; }

  const Slot& slot;
  Session session;
  Made usual;

 private:
  std::vector<std::uint8_t> input_;
  std::uint64_t capacity_ = 0;
};

bool isTransform(const Slot& slot) {
  return slot.shape == Shape::transform || slot.shape == Shape::paddedTransform;
}

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

TEST(Faults, PairsOfServicesAreRefused) {
  constexpr Service others[] = {Service::allocate, Service::lookUpCharset};
  for (const Slot& slot : allSlots()) {
    Subject subject(slot, slot.isPut());
    const std::uint64_t conversions = subject.questions(Service::convert);
    for (const Service other : others)
      for (std::uint64_t m = 1, last = subject.questions(other); m <= last; ++m)
        for (std::uint64_t nth = 1; nth <= conversions; ++nth) {
          subject.session.host.refuse(other, m);
          subject.session.host.refuse(Service::convert, nth);
          subject.callOnce();
        }
  }
}

TEST(Faults, EachConversionOfEachSlotLies) {
  constexpr Lie lies[] = {Lie::notSet, Lie::zero, Lie::capacity, Lie::capacityPlusOne, Lie::odd, Lie::enormous};
  for (const Slot& slot : allSlots())
    for (const bool isLong : {false, true}) {
      Subject subject(slot, isLong);
      for (const Lie lie : lies)
        for (std::uint64_t nth = 1, last = subject.questions(Service::convert); nth <= last; ++nth) {
          subject.session.host.lie(lie, nth);
          const Made made = subject.callOnce();
          if (!isTransform(slot) || subject.pads()) continue;
          // What the host says goes on: hosts count on it, and are told to keep to the capacity.
          const std::uint64_t unit = slot.isPut() ? 1 : slot.outputUnit();
          const std::uint64_t capacityBytes = subject.capacity() * slot.outputUnit();
          const std::uint64_t told = lie == Lie::notSet || lie == Lie::zero ? 0
                                     : lie == Lie::capacity                 ? capacityBytes
                                     : lie == Lie::capacityPlusOne          ? capacityBytes + 1
                                     : lie == Lie::enormous                 ? UINT64_MAX - 6
                                                                            : made.answer.written * unit;
          EXPECT_EQ(made.answer.written, told / unit) << slot.fullName();
        }
    }
}

/// Creates an object of that host, ends it, and tells whether there was one.
bool createAndEnd(MockHost& host) {
  const Library& library = Library::get();
  library.rqextent(host.kernel());
  RQInterface* const object = library.rquni(host.context(), host.journal());
  if (object) object->destroy(object);
  EXPECT_TRUE(host.balanced());
  return object != nullptr;
}

bool preventsCreation(Service service) {
  return service == Service::createPool || service == Service::allocate;
}

constexpr Service servicesOfCreation[] = {Service::createPool, Service::allocate, Service::lookUpOption,
                                          Service::querySession, Service::createTranscoder};

std::uint64_t questionsOfCreation(Service service) {
  MockHost host;
  if (service == Service::querySession) host.optionStatus = 1;  // asked only then
  createAndEnd(host);
  return host.count(service);
}

TEST(Faults, EachServiceOfCreationIsRefused) {
  for (const Service service : servicesOfCreation) {
    const std::uint64_t questions = questionsOfCreation(service);
    EXPECT_EQ(questions, service == Service::createTranscoder ? 14U : 1U) << nameOf(service);
    for (std::uint64_t nth = 1; nth <= questions; ++nth) {
      MockHost host;
      if (service == Service::querySession) host.optionStatus = 1;
      host.refuse(service, nth);
      EXPECT_EQ(createAndEnd(host), !preventsCreation(service)) << nameOf(service) << nth;
      EXPECT_EQ(host.count(Service::statusToJnl), preventsCreation(service) ? 1U : 0U) << nameOf(service);
    }
  }
}

TEST(Faults, PairsOfServicesOfCreationAreRefused) {
  for (const Service a : servicesOfCreation)
    for (const Service b : servicesOfCreation)
      for (std::uint64_t n = 1; n <= questionsOfCreation(a); ++n)
        for (std::uint64_t m = 1; a < b && m <= questionsOfCreation(b); ++m) {
          MockHost host;
          host.optionStatus = a == Service::querySession || b == Service::querySession;
          host.refuse(a, n);
          host.refuse(b, m);
          EXPECT_EQ(createAndEnd(host), !preventsCreation(a) && !preventsCreation(b)) << nameOf(a) << nameOf(b);
        }
}

}  // namespace
}  // namespace rq::test
