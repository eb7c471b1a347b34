/* rquni: the calls that it makes of the host, one by one, and every way in which it can fail. */
#include <gtest/gtest.h>

#include "tests/model/session.h"

namespace rq::test {
namespace {

constexpr std::uint32_t noMemory = 0x803FC002;
constexpr std::uint64_t optionNameLength = 21;

std::uint64_t word(const void* pointer) {
  return reinterpret_cast<std::uint64_t>(pointer);
}
std::uint64_t wordAt(const RQInterface* object, unsigned index) {
  return reinterpret_cast<const std::uint64_t*>(object)[index];
}

class Creation : public ::testing::Test {
 protected:
  Creation() { Library::get().rqextent(host.kernel()); }
  ~Creation() override {
    if (object) object->destroy(object);
    EXPECT_TRUE(host.balanced());
  }
  RQInterface* create(RQJournal* journal = nullptr) { return object = Library::get().rquni(host.context(), journal); }
  std::vector<Service> order() const {
    std::vector<Service> services;
    for (const Call& call : host.calls) services.push_back(call.service);
    return services;
  }
  std::vector<Service> expectedOrder(bool asksForSession) const {
    std::vector<Service> services{Service::createPool, Service::allocate, Service::lookUpOption};
    if (asksForSession) services.push_back(Service::querySession);
    services.insert(services.end(), 14, Service::createTranscoder);
    return services;
  }
  /// The session encoding that an object gets with the host's present answers, and what the transcoders were asked
  /// for.
  std::int64_t sessionOf(std::uint64_t* asked) {
    EXPECT_NE(create(), nullptr);
    for (const Call& call : host.calls)
      if (call.service == Service::createTranscoder) *asked = call.arguments[1] == 20 ? call.arguments[2] : *asked;
    return object ? object->sessionEncoding : -999;
  }

  MockHost host;
  RQInterface* object = nullptr;
};

TEST_F(Creation, CallsTheHostInOrder) {
  ASSERT_NE(create(), nullptr);
  EXPECT_EQ(order(), expectedOrder(false));
}

TEST_F(Creation, PassesAZeroParameterBlockTheJournalAndTheDescription) {
  ASSERT_NE(create(), nullptr);
  const Call& call = host.calls[0];
  EXPECT_EQ(call.arguments[0], word(host.kernel()));
  EXPECT_EQ(call.arguments[2], word(host.journal()));
  EXPECT_EQ(call.seen[0], 0U) << "the 24 bytes of the parameter block are zero";
  EXPECT_EQ(call.seen[1], 0U) << "the description is \"RQUNI Extension\"";
}

TEST_F(Creation, AllocatesTheObjectFromItsPool) {
  ASSERT_NE(create(), nullptr);
  const Call& call = host.calls[1];
  EXPECT_EQ(call.arguments[0], wordAt(object, 9));
  EXPECT_EQ(call.arguments[1], 1032U);
  EXPECT_EQ(call.arguments[2], 0x80000000U) << "the flags are zero-extended";
}

TEST_F(Creation, LooksTheOptionUpOnce) {
  ASSERT_NE(create(), nullptr);
  const Call& call = host.calls[2];
  EXPECT_EQ(call.arguments[0], word(host.context()));
  EXPECT_EQ(call.arguments[2], optionNameLength);
  EXPECT_EQ(call.arguments[3], 3U);
  EXPECT_EQ(call.seen[0], ~std::uint64_t{0}) << "the value starts at -1";
  EXPECT_EQ(call.seen[1], 8U) << "its length starts at 8";
  EXPECT_EQ(call.seen[2], 0U) << "the name is RQNLS.ZMX_SESSION_CEI in 4-byte characters";
}

TEST_F(Creation, AsksForFourteenTranscodersInOrder) {
  ASSERT_NE(create(), nullptr);
  constexpr std::uint64_t S = latin1;
  constexpr std::uint64_t pairs[14][2] = {{20, S}, {25, S}, {24, S}, {25, S}, {27, S}, {26, S}, {27, S},
                                          {S, 20}, {S, 25}, {S, 24}, {S, 25}, {S, 27}, {S, 26}, {S, 27}};
  constexpr unsigned words[14] = {45, 47, 49, 51, 53, 55, 57, 46, 48, 50, 52, 54, 56, 58};
  for (unsigned i = 0; i < 14; ++i) {
    const Call& call = host.calls[3 + i];
    EXPECT_EQ(call.arguments[0], word(host.nls()));
    EXPECT_EQ(call.arguments[1], pairs[i][0]) << "call " << i;
    EXPECT_EQ(call.arguments[2], pairs[i][1]) << "call " << i;
    EXPECT_EQ(call.arguments[3], 0U);
    EXPECT_EQ(call.arguments[4], 0U);
    const auto* transcoder = reinterpret_cast<const MockTranscoder*>(wordAt(object, words[i]));
    EXPECT_EQ(transcoder->source, pairs[i][0]) << "word " << words[i];
    EXPECT_EQ(transcoder->target, pairs[i][1]) << "word " << words[i];
    for (unsigned j = 0; j < i; ++j) EXPECT_NE(wordAt(object, words[i]), wordAt(object, words[j]));
  }
}

TEST_F(Creation, DoesNotTouchTheJournal) {
  ASSERT_NE(create(), nullptr);
  EXPECT_EQ(host.count(Service::statusToJnl), 0U);
}

TEST_F(Creation, WithoutJournalUsesTheContextsDefault) {
  ASSERT_NE(create(nullptr), nullptr);
  EXPECT_EQ(wordAt(object, 10), word(host.journal()));
}

TEST_F(Creation, AGivenJournalIsPreferred) {
  MockHost other;
  ASSERT_NE(create(other.journal()), nullptr);
  EXPECT_EQ(wordAt(object, 10), word(other.journal()));
  EXPECT_EQ(host.calls[0].arguments[2], word(other.journal()));
}

TEST_F(Creation, AGivenJournalNeedsNoDefault) {
  host.setDefaultJournal(nullptr);
  ASSERT_NE(create(host.journal()), nullptr);
}

TEST_F(Creation, WithoutAnyJournalThereIsNoObjectAndNoCall) {
  host.setDefaultJournal(nullptr);
  EXPECT_EQ(create(), nullptr);
  EXPECT_TRUE(host.calls.empty());
}

TEST_F(Creation, WithoutNlsServicesThereIsNoObjectAndNoCall) {
  host.setNls(nullptr);
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(create(host.journal()), nullptr);
  EXPECT_TRUE(host.calls.empty());
}

void expectNoMemoryLogged(const Call& call, const void* journal) {
  EXPECT_EQ(call.service, Service::statusToJnl);
  EXPECT_EQ(call.arguments[0], word(journal));
  EXPECT_EQ(call.arguments[1], 4U);
  EXPECT_EQ(call.arguments[2], noMemory) << "a 32-bit status in a full argument";
  EXPECT_EQ(call.seen[0], 3U) << "the list is empty";
  EXPECT_EQ(call.seen[1], 0U);
}

TEST_F(Creation, ARefusedPoolIsLogged) {
  host.schedule.refuse(Service::createPool, 1);
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(order(), (std::vector{Service::createPool, Service::statusToJnl}));
  expectNoMemoryLogged(host.calls.back(), host.journal());
}

TEST_F(Creation, ARefusedPoolIsLoggedToTheGivenJournal) {
  MockHost other;
  host.schedule.refuse(Service::createPool, 1);
  EXPECT_EQ(create(other.journal()), nullptr);
  ASSERT_EQ(other.calls.size(), 1U);
  expectNoMemoryLogged(other.calls[0], other.journal());
}

TEST_F(Creation, RefusedMemoryIsLoggedAndThePoolDestroyed) {
  host.schedule.refuse(Service::allocate, 1);
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(order(),
            (std::vector{Service::createPool, Service::allocate, Service::statusToJnl, Service::destroyPool}));
  expectNoMemoryLogged(host.calls[2], host.journal());
  EXPECT_EQ(host.calls[3].arguments[0], host.calls[1].arguments[0]);
}

TEST_F(Creation, EachTranscoderThatCannotBeMadeIsStoredAsNull) {
  constexpr unsigned words[14] = {45, 47, 49, 51, 53, 55, 57, 46, 48, 50, 52, 54, 56, 58};
  for (unsigned n = 0; n < 14; ++n) {
    host.forget();
    host.schedule.refuse(Service::createTranscoder, n + 1);
    ASSERT_NE(create(), nullptr);
    EXPECT_EQ(order(), expectedOrder(false));
    for (unsigned i = 0; i < 14; ++i) EXPECT_EQ(wordAt(object, words[i]) == 0, i == n) << "word " << words[i];
    host.forget();
    EXPECT_EQ(object->destroy(object), 0U);
    object = nullptr;
    EXPECT_EQ(host.count(Service::destroyTranscoder), 13U);
    EXPECT_TRUE(host.balanced());
  }
}

TEST_F(Creation, WithoutAnyTranscoderThereIsStillAnObject) {
  host.schedule.refuse(Service::createTranscoder, Failure::always);
  ASSERT_NE(create(), nullptr);
  EXPECT_EQ(host.count(Service::createTranscoder), 14U);
  host.forget();
  EXPECT_EQ(object->destroy(object), 0U);
  object = nullptr;
  EXPECT_EQ(order(), std::vector{Service::destroyPool});
}

struct SessionRow {
  const char* name;
  std::uint32_t optionStatus;
  bool optionWrites;
  std::int64_t optionValue;
  std::uint32_t queryStatus;
  bool queryWrites;
  std::int32_t queryValue;
  bool asked;  // whether the session query is asked at all
  std::int64_t session;
  std::uint64_t passed;  // the session id as the transcoders are asked for it
};
void PrintTo(const SessionRow& row, std::ostream* out) {
  *out << row.name;
}

class SessionEncoding : public Creation, public ::testing::WithParamInterface<SessionRow> {};

TEST_P(SessionEncoding, IsWhatTheHostAnswers) {
  const SessionRow& row = GetParam();
  host.optionStatus = row.optionStatus;
  host.optionWrites = row.optionWrites;
  host.optionValue = row.optionValue;
  host.queryStatus = row.queryStatus;
  host.queryWrites = row.queryWrites;
  host.queryValue = row.queryValue;
  std::uint64_t passed = 0;
  EXPECT_EQ(sessionOf(&passed), row.session);
  EXPECT_EQ(passed, row.passed) << "zero-extended lower 32 bits";
  EXPECT_EQ(order(), expectedOrder(row.asked));
  if (row.asked) {
    EXPECT_EQ(host.calls[3].arguments[0], word(host.nls()));
    EXPECT_EQ(host.calls[3].seen[0], ~std::uint64_t{0}) << "the integer starts at -1";
  }
}

constexpr std::uint32_t defaulted = 0x803FE830;
constexpr SessionRow sessionRows[] = {
    {"Found", 0, true, 62, 0, true, 7, false, 62, 62},
    {"FoundZero", 0, true, 0, 0, true, 7, false, 0, 0},
    {"FoundButNotWritten", 0, false, 0, 0, true, 7, false, -1, 0xFFFFFFFF},
    {"FoundWideValue", 0, true, 0x123456789A, 0, true, 7, false, 0x123456789A, 0x3456789A},
    {"FoundNegative", 0, true, -2, 0, true, 7, false, -2, 0xFFFFFFFE},
    {"QueryAnswers", 1, true, 62, 0, true, 7, true, 7, 7},
    {"QueryAnswersNegative", 0x80000000, true, 62, 0, true, -5, true, -5, 0xFFFFFFFB},
    {"QueryWritesNothing", 1, true, 62, 0, false, 7, true, -1, 0xFFFFFFFF},
    {"QueryDefaulted", 1, true, 62, defaulted, true, 7, true, 7, 7},
    {"QueryDefaultedNegative", 1, true, 62, defaulted, true, INT32_MIN, true, INT32_MIN, 0x80000000},
    {"QueryDefaultedWritesNothing", 1, true, 62, defaulted, false, 7, true, -1, 0xFFFFFFFF},
    {"QueryFails", 1, true, 62, 1, true, 7, true, 0, 0},
    {"QueryFailsNearDefaulted", 1, true, 62, defaulted + 1, true, 7, true, 0, 0},
    {"QueryFailsWithNoMemory", 0xFFFFFFFF, false, 62, 0x803FC002, true, 7, true, 0, 0},
    {"OptionDefaultedIsNoSuccess", defaulted, true, 62, 0, true, 7, true, 7, 7},
};
std::string nameOfRow(const ::testing::TestParamInfo<SessionRow>& row) {
  return row.param.name;
}
INSTANTIATE_TEST_SUITE_P(Rows, SessionEncoding, ::testing::ValuesIn(sessionRows), nameOfRow);

TEST_F(Creation, DestroyReleasesTranscodersInOrderThenThePool) {
  ASSERT_NE(create(), nullptr);
  constexpr unsigned words[14] = {45, 47, 49, 51, 53, 55, 57, 46, 48, 50, 52, 54, 56, 58};
  std::vector<std::uint64_t> objects;
  for (unsigned index : words) objects.push_back(wordAt(object, index));
  objects.push_back(wordAt(object, 9));
  host.forget();
  const auto ulDestroy = Library::get().symbol<std::uint64_t (*)(RQInterface*)>("ulDestroy");
  EXPECT_EQ(ulDestroy(object), 0U) << "in the whole register";
  object = nullptr;
  ASSERT_EQ(host.calls.size(), 15U);
  for (unsigned i = 0; i < 15; ++i) {
    EXPECT_EQ(host.calls[i].service, i < 14 ? Service::destroyTranscoder : Service::destroyPool);
    EXPECT_EQ(host.calls[i].arguments[0], objects[i]) << "call " << i;
  }
}

TEST_F(Creation, EveryObjectHasItsOwnPoolAndTranscoders) {
  RQInterface* first = Library::get().rquni(host.context(), nullptr);
  ASSERT_NE(create(), nullptr);
  EXPECT_NE(first, object);
  EXPECT_NE(wordAt(first, 9), wordAt(object, 9));
  for (unsigned i = 45; i <= 58; ++i) EXPECT_NE(wordAt(first, i), wordAt(object, i));
  first->destroy(first);
  EXPECT_EQ(host.liveTranscoders, 14U);
}

TEST_F(Creation, ALaterOptionDoesNotReachAnObject) {
  ASSERT_NE(create(), nullptr);
  host.optionValue = 62;
  EXPECT_EQ(object->sessionEncoding, latin1);
}

}  // namespace
}  // namespace rq::test
