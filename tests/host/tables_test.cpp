#include <cstdarg>

#include "tests/host/support.h"

namespace rq::test {
namespace {

using host::Fault;
using host::Host;
using host::HostOptions;
using host::Service;

/// Calls a word of a table. The trap takes no arguments; those that a caller passes do not reach it.
void callWord(void* table, unsigned word) {
  reinterpret_cast<void (*)()>(static_cast<void**>(table)[word])();
}

using TableDeath = testing::Test;

TEST(TableDeath, WordsOutsideTheInterfaceNameThemselvesAndAbort) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  Host host;
  RQPool* pool = host.kernel.createPool(&host.kernel, std::make_unique<RQPoolParameters>().get(), nullptr, "test");
  RQTranscoder* transcoder = host.nls.createTranscoder(&host.nls, 20, 27, 0, 0);
  const struct {
    void* table;
    const char* name;
    std::vector<unsigned> words;
  } rows[] = {
      {&host.kernel, "kernel", {0, 5, 7, 26, 28, 100}},
      {&host.context, "context", {0, 13, 15, 25, 28}},
      {&host.nls, "NLS services", {0, 13, 15, 77, 79}},
      {&host.journal, "journal", {0, 3, 8, 11, 13}},
      {&host.caseService, "case service", {0, 30, 33, 148, 150, 152, 154}},
      {host.caseService.charset, "character-set service", {0, 53, 55}},
      {pool, "pool", {0, 1, 5}},
      {transcoder, "transcoder", {0, 1, 3, 5, 191}},
  };
  for (const auto& row : rows) {
    for (const unsigned word : row.words) {
      EXPECT_DEATH(callWord(row.table, word), "word " + std::to_string(word) + " of the " + row.name + " table");
    }
  }
  transcoder->destroy(transcoder);
  pool->destroy(pool);
}

class PoolTest : public testing::Test {
 protected:
  Host host;
  RQPoolParameters parameters{};
  RQPool* pool = host.kernel.createPool(&host.kernel, &parameters, &host.journal, "a pool");
};

TEST_F(PoolTest, CountsBlocksAndFreesThemAtItsEnd) {
  void* first = pool->allocate(pool, 100, 0);
  void* second = pool->allocate(pool, 1, 0x80000000);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 16, 0U);
  EXPECT_EQ(std::string(static_cast<char*>(first), 100), std::string(100, '\0'));
  EXPECT_EQ(host.instruments.counts.blocks, 2);
  pool->release(pool, first);
  EXPECT_EQ(host.instruments.counts.blocks, 1);
  EXPECT_EQ(pool->destroy(pool), 0U);
  EXPECT_EQ(host.instruments.counts.blocks, 0);
  EXPECT_EQ(host.instruments.counts.pools, 0);
  EXPECT_EQ(host.instruments.counts.blocksMade, 2);
  EXPECT_EQ(host.instruments.counts.poolsMade, 1);
  EXPECT_STREQ(host.kernel.lastPoolDescription(), "a pool");
}

TEST_F(PoolTest, RefusesTheNthBlock) {
  host.instruments.set({.service = Service::allocate, .nth = 2});
  EXPECT_NE(pool->allocate(pool, 8, 0), nullptr);
  EXPECT_EQ(pool->allocate(pool, 8, 0), nullptr);
  EXPECT_NE(pool->allocate(pool, 8, 0), nullptr);
  host.instruments.set({.service = Service::allocate, .fromThenOn = true});
  EXPECT_EQ(pool->allocate(pool, 8, 0), nullptr);
  EXPECT_EQ(pool->allocate(pool, 8, 0), nullptr);
  host.instruments.clearFaults();
  EXPECT_NE(pool->allocate(pool, 8, 0), nullptr);
  pool->destroy(pool);
}

TEST_F(PoolTest, RefusesImpossibleSizes) {
  EXPECT_EQ(pool->allocate(pool, UINT64_MAX, 0), nullptr);
  EXPECT_EQ(pool->allocate(pool, UINT64_MAX / 2, 0), nullptr);
  pool->destroy(pool);
}

TEST_F(PoolTest, ForeignBlocksAbort) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  RQPool* other = host.kernel.createPool(&host.kernel, &parameters, nullptr, "another");
  void* block = other->allocate(other, 8, 0);
  EXPECT_DEATH(pool->release(pool, block), "not taken from");
  other->destroy(other);
  pool->destroy(pool);
}

TEST(KernelTable, FillsBlocksAsAskedAndRefusesPools) {
  HostOptions options;
  options.blockFill = std::byte{0xA5};
  Host host(options);
  RQPoolParameters parameters{};
  RQPool* pool = host.kernel.createPool(&host.kernel, &parameters, nullptr, "filled");
  EXPECT_EQ(std::string(static_cast<char*>(pool->allocate(pool, 4, 0)), 4), "\xA5\xA5\xA5\xA5");
  pool->destroy(pool);
  host.instruments.set({.service = Service::createPool});
  EXPECT_EQ(host.kernel.createPool(&host.kernel, &parameters, nullptr, "none"), nullptr);
  RQPoolParameters unusual{{0, 1, 0}};
  EXPECT_EQ(host.kernel.createPool(&host.kernel, &unusual, nullptr, "none"), nullptr);
}

constexpr std::u32string_view sessionOptionName = U"RQNLS.ZMX_SESSION_CEI";
RQStatus lookUp(Host& host, std::u32string_view name, std::int64_t& value, std::uint64_t& bytes) {
  return host.context.lookUpOption(&host.context, reinterpret_cast<const RQChar*>(name.data()), name.size(), 3,
                                   &value, &bytes);
}

TEST(ContextTable, LooksUpTheSessionOptionOnly) {
  Host host(sessionIn("ISO-8859-1"));
  std::int64_t value = -1;
  std::uint64_t bytes = 8;
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, (*host::findEncoding("ISO-8859-1"))->identifier);
  EXPECT_EQ(bytes, 8U);
  EXPECT_NE(lookUp(host, U"RQNLS.ZMX_SESSION_CEX", value, bytes), 0U);
  EXPECT_NE(lookUp(host, U"RQNLS", value, bytes), 0U);
  HostOptions without;
  without.sessionByOption = false;
  Host silent(without);
  value = -1;
  EXPECT_NE(lookUp(silent, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, -1);
}

TEST(ContextTable, FailsAndLiesOnRequest) {
  Host host;
  std::int64_t value = -1;
  std::uint64_t bytes = 8;
  host.instruments.set({.service = Service::lookUpOption, .nth = 1});
  host.instruments.set({.service = Service::lookUpOption, .nth = 2, .action = Fault::Action::silent});
  host.instruments.set({.service = Service::lookUpOption, .nth = 3, .action = Fault::Action::value, .value = 77});
  host.instruments.set({.service = Service::lookUpOption, .nth = 4, .action = Fault::Action::status, .value = 5});
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), host::faultStatus);
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, 77);
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 5U);
  EXPECT_EQ(value, 20);
}

TEST(NlsTable, AnswersTheSessionQuery) {
  HostOptions options = sessionIn("Shift_JIS");
  options.queryAnswer = RQ_SESSION_QUERY_DEFAULTED;
  Host host(options);
  std::int32_t encoding = -1;
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), RQ_SESSION_QUERY_DEFAULTED);
  EXPECT_EQ(encoding, options.session);
  host.instruments.set({.service = Service::querySession, .nth = 1});
  host.instruments.set({.service = Service::querySession, .nth = 2, .action = Fault::Action::silent});
  host.instruments.set({.service = Service::querySession, .nth = 3, .action = Fault::Action::value, .value = 25});
  host.instruments.set({.service = Service::querySession, .nth = 4, .action = Fault::Action::status, .value = 9});
  encoding = -1;
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), host::faultStatus);
  EXPECT_EQ(encoding, -1);
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), 0U);
  EXPECT_EQ(encoding, -1);
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), RQ_SESSION_QUERY_DEFAULTED);
  EXPECT_EQ(encoding, 25);
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), 9U);
  EXPECT_EQ(encoding, options.session);
}

TEST(NlsTable, MakesTranscodersForKnownIdentifiersOnly) {
  Host host;
  EXPECT_EQ(host.nls.createTranscoder(&host.nls, 20, 1, 0, 0), nullptr);
  EXPECT_EQ(host.nls.createTranscoder(&host.nls, UINT32_MAX, 20, 0, 0), nullptr);
  EXPECT_EQ(host.nls.createTranscoder(&host.nls, UINT64_MAX, 20, 0, 0), nullptr);
  host.instruments.set({.service = Service::createTranscoder, .nth = 2});
  RQTranscoder* made = host.nls.createTranscoder(&host.nls, 20, 27, 0, 0);
  EXPECT_EQ(host.nls.createTranscoder(&host.nls, 20, 27, 0, 0), nullptr);
  EXPECT_EQ(host.instruments.counts.transcoders, 1);
  EXPECT_EQ(made->destroy(made), 0U);
  EXPECT_EQ(host.instruments.counts.transcoders, 0);
}

TEST(TranscoderTable, FailsAndLiesOnRequest) {
  Host host;
  RQTranscoder* transcoder = host.nls.createTranscoder(&host.nls, 20, 20, 0, 0);
  host.instruments.set({.service = Service::convert, .nth = 2});
  host.instruments.set({.service = Service::convert, .nth = 3, .action = Fault::Action::silent});
  host.instruments.set({.service = Service::convert, .nth = 4, .action = Fault::Action::status, .value = 6});
  host.instruments.set({.service = Service::convert, .nth = 5, .action = Fault::Action::value, .value = 1000});
  const struct {
    RQStatus status;
    std::uint64_t produced;
    std::string output;
  } rows[] = {{0, 2, "ab"}, {host::faultStatus, 0, "--"}, {0, 99, "--"}, {6, 2, "ab"}, {0, 1000, "ab"}, {0, 2, "ab"}};
  host.instruments.watch();
  for (const auto& row : rows) {
    std::string output = "--";
    std::uint64_t produced = 99;
    EXPECT_EQ(transcoder->convert(transcoder, "ab", 2, output.data(), 2, &produced, 0), row.status);
    EXPECT_EQ(produced, row.produced);
    EXPECT_EQ(output, row.output);
  }
  EXPECT_EQ(host.instruments.callsOf(Service::convert), 6U);
  const std::vector<host::Call> calls = host.instruments.calls();
  ASSERT_EQ(calls.size(), 6U);
  EXPECT_EQ(calls[4].arguments, (std::array<std::uint64_t, 3>{2, 2, 1000}));
  EXPECT_EQ(calls[1].result, host::faultStatus);
  transcoder->destroy(transcoder);
}

TEST(CaseTable, MapsCharactersAndOffersTheCharsetService) {
  Host host;
  RQCaseService* service = &host.caseService;
  ASSERT_EQ(host.kernel.caseService, service);
  EXPECT_EQ(service->upper(service, 0xE9, 1), 0xC9U);
  EXPECT_EQ(service->lower(service, 0x416, 1), 0x436U);
  EXPECT_EQ(service->upper(service, 0xFFFFFFFF, 1), 0xFFFFFFFFU);
  EXPECT_EQ(service->lower(service, 0x110000, 1), 0x110000U);
  RQStatus status = 99;
  const RQChar name[] = {'Z', 'Q', 'D'};
  EXPECT_EQ(service->lookUp(service, name, 3, &status), service->charset);
  EXPECT_EQ(status, 0U);
  EXPECT_EQ(service->lookUp(service, name, 2, &status), nullptr);
  EXPECT_NE(status, 0U);
  std::string text = "0a\xE1zZ";
  service->charset->upperCase(service->charset, text.data(), 4, 0);
  EXPECT_EQ(text, "0A\xE1ZZ");
  HostOptions options;
  options.charsetAtHand = false;
  Host byName(options);
  EXPECT_EQ(byName.caseService.charset, nullptr);
  EXPECT_NE(byName.caseService.lookUp(&byName.caseService, name, 3, &status), nullptr);
}

TEST(CaseTable, FailsAndLiesOnRequest) {
  Host host;
  RQCaseService* service = &host.caseService;
  for (const Service one : {Service::upper, Service::upperCase, Service::lookUpCharset}) {
    host.instruments.set({.service = one});
  }
  host.instruments.set({.service = Service::lower, .action = Fault::Action::value, .value = 'Q'});
  EXPECT_EQ(service->upper(service, 'a', 1), RQChar{'a'});
  EXPECT_EQ(service->lower(service, 'A', 1), RQChar{'Q'});
  std::string text = "ab";
  service->charset->upperCase(service->charset, text.data(), 2, 0);
  EXPECT_EQ(text, "ab");
  RQStatus status = 0;
  const RQChar name[] = {'Z', 'Q', 'D'};
  EXPECT_EQ(service->lookUp(service, name, 3, &status), nullptr);
  EXPECT_EQ(status, host::faultStatus);
}

std::uint64_t statusToJnl(RQJournal* journal, std::uint64_t level, std::uint64_t status, ...) {
  va_list list;
  va_start(list, status);
  const std::uint64_t result = journal->statusToJnl(journal, level, status, list);
  va_end(list);
  return result;
}

TEST(JournalTable, KeepsEntriesAndVariableArguments) {
  Host host;
  EXPECT_EQ(statusToJnl(&host.journal, 4, 0x803fc002), 1U);
  host.journal.readVariables(2);
  EXPECT_EQ(statusToJnl(&host.journal, 1, 2, std::uint64_t{7}, std::uint64_t{8}), 2U);
  const std::vector<host::JournalEntry> entries = host.journal.entries();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].slot, Service::statusToJnl);
  EXPECT_EQ(entries[0].fixed, (std::vector<std::uint64_t>{4, 0x803fc002}));
  EXPECT_TRUE(entries[0].variables.empty());
  EXPECT_EQ(entries[1].variables, (std::vector<std::uint64_t>{7, 8}));
  EXPECT_EQ(host.journal.getLocale(&host.journal), host::number(host.journal.locale()));
}

}  // namespace
}  // namespace rq::test
