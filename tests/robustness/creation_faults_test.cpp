// Hosts that fail while an object is made: each call of creation, and each two of them.
#include <gtest/gtest.h>

#include <iterator>

#include "tests/model/library.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

// The object's words in the order in which their transcoders are asked for.
constexpr unsigned transcoderWords[14] = {45, 47, 49, 51, 53, 55, 57, 46, 48, 50, 52, 54, 56, 58};

/// Makes an object of that host, checks what is in it, and ends it. Returns the calls that could have failed.
std::uint64_t createAndEnd(MockHost& host) {
  const Library& library = Library::get();
  library.rqextent(host.kernel());
  RQInterface* const object = library.rquni(host.context(), host.journal());
  const std::uint64_t asked = host.schedule.count();

  bool prevented = false;
  std::vector<bool> missing;
  for (const Call& call : host.calls) {
    if (call.service == Service::createPool || call.service == Service::allocate)
      prevented |= call.outcome == Outcome::refusal;
    if (call.service == Service::createTranscoder) missing.push_back(call.outcome == Outcome::refusal);
  }
  EXPECT_EQ(object == nullptr, prevented);
  EXPECT_EQ(host.count(Service::statusToJnl), prevented ? 1U : 0U);
  if (!object) {
    EXPECT_TRUE(host.balanced()) << "before anybody ends anything";
  } else {
    EXPECT_EQ(missing.size(), std::size(transcoderWords));
    for (std::size_t i = 0; i < missing.size(); ++i) {
      const std::uint64_t word = reinterpret_cast<const std::uint64_t*>(object)[transcoderWords[i]];
      EXPECT_EQ(word == 0, missing[i]) << "word " << transcoderWords[i];
    }
    EXPECT_EQ(object->destroy(object), 0U);
  }
  EXPECT_TRUE(host.balanced());
  return asked;
}

std::uint64_t createInTrouble(bool optionIsKnown, std::initializer_list<std::uint64_t> refusedCalls) {
  MockHost host;
  host.optionStatus = optionIsKnown ? 0 : 1;
  for (const std::uint64_t nth : refusedCalls) host.schedule.refuse(Service::any, nth);
  return createAndEnd(host);
}

TEST(CreationFaults, EachTwoCallsAreRefused) {
  for (const bool optionIsKnown : {true, false}) {
    const std::uint64_t calls = createInTrouble(optionIsKnown, {});
    EXPECT_EQ(calls, optionIsKnown ? 17U : 18U);  // pool, memory, option, perhaps the query, fourteen transcoders
    for (std::uint64_t n = 1; n <= calls; ++n) {
      const std::uint64_t left = createInTrouble(optionIsKnown, {n});
      for (std::uint64_t m = n + 1; m <= left; ++m) createInTrouble(optionIsKnown, {n, m});
    }
  }
}

TEST(CreationFaults, AHostThatRefusesEverythingGetsNoObject) {
  MockHost host;
  host.schedule.refuse(Service::createPool, Failure::always);
  createAndEnd(host);
}

// The library passes any session identifier on as the host reports it.
TEST(CreationFaults, AnySessionMakesAnObject) {
  for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN, INT64_MAX, std::int64_t{1} << 32})
    for (const bool writes : {true, false}) {
      MockHost host;
      host.optionValue = value;
      host.optionWrites = writes;
      createAndEnd(host);
    }
}

}  // namespace
}  // namespace rq::test
