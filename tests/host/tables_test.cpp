#include <unicode/uchar.h>

#include <cstdarg>

#include "tests/host/support.h"
#include "tests/host/wrapping_host.h"

namespace rq::test {
namespace {

using host::Host;
using Alive = WrappingHost::Alive;
using Service = WrappingHost::Service;

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

TEST(PoolTable, HandsOutZeroedBlocksAndEndsWithThem) {
  Host host;
  WrappingHost watched(host.kernel, host.context);
  RQPoolParameters parameters{};
  RQPool* pool = watched.kernel().createPool(&watched.kernel(), &parameters, &host.journal, "a pool");
  void* first = pool->allocate(pool, 100, 0);
  void* second = pool->allocate(pool, 1, 0x80000000);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 16, 0U);
  EXPECT_EQ(std::string(static_cast<char*>(first), 100), std::string(100, '\0'));
  EXPECT_EQ(watched.alive(), (Alive{.pools = 1, .blocks = 2, .transcoders = 0}));
  pool->release(pool, first);
  EXPECT_EQ(watched.alive(), (Alive{.pools = 1, .blocks = 1, .transcoders = 0}));
  EXPECT_EQ(pool->destroy(pool), 0U);
  EXPECT_EQ(watched.alive(), Alive{});
  EXPECT_EQ(watched.callsOf(Service::allocate), 2U);
  EXPECT_EQ(watched.callsOf(Service::createPool), 1U);
  EXPECT_EQ(watched.poolDescription(), "a pool");
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

TEST(KernelTable, RefusesUnusualPools) {
  Host host;
  for (RQPoolParameters unusual :
       {RQPoolParameters{{1, 0, 0}}, RQPoolParameters{{0, 1, 0}}, RQPoolParameters{{0, 0, 1}}})
    EXPECT_EQ(host.kernel.createPool(&host.kernel, &unusual, nullptr, "none"), nullptr);
}

constexpr std::u32string_view sessionOptionName = U"RQNLS.ZMX_SESSION_CEI";
RQStatus lookUp(Host& host, std::u32string_view name, std::int64_t& value, std::uint64_t& bytes) {
  return host.context.lookUpOption(&host.context, reinterpret_cast<const RQChar*>(name.data()), name.size(), 3,
                                   &value, &bytes);
}

TEST(ContextTable, LooksUpTheSessionOptionOnly) {
  Host host(identifierOf("ISO-8859-1"));
  std::int64_t value = -1;
  std::uint64_t bytes = 8;
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, identifierOf("ISO-8859-1"));
  EXPECT_EQ(bytes, 8U);
  EXPECT_NE(lookUp(host, U"RQNLS.ZMX_SESSION_CEX", value, bytes), 0U);
  EXPECT_NE(lookUp(host, U"RQNLS", value, bytes), 0U);
  value = -1;
  bytes = 7;
  EXPECT_NE(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(value, -1);
  bytes = 9;
  EXPECT_EQ(lookUp(host, sessionOptionName, value, bytes), 0U);
  EXPECT_EQ(bytes, 8U);
}

TEST(NlsTable, AnswersTheSessionQuery) {
  Host host(identifierOf("Shift_JIS"));
  std::int32_t encoding = -1;
  EXPECT_EQ(host.nls.querySession(&host.nls, &encoding), 0U);
  EXPECT_EQ(encoding, static_cast<std::int32_t>(identifierOf("Shift_JIS")));
}

TEST(NlsTable, MakesTranscodersForKnownIdentifiersOnly) {
  Host host;
  constexpr std::uint64_t wide = std::uint64_t{1} << 32;
  for (const auto& [source, target] : {std::pair<std::uint64_t, std::uint64_t>(20, 1),
                                       {1, 20},
                                       {UINT32_MAX, 20},
                                       {UINT64_MAX, 20},
                                       {wide | 20, 27},
                                       {20, wide | 27},
                                       {wide | 20, wide | 27}})
    EXPECT_EQ(host.nls.createTranscoder(&host.nls, source, target, 0, 0), nullptr) << source << ", " << target;
  WrappingHost watched(host.kernel, host.context);
  RQNlsServices* nls = watched.context().nls;
  RQTranscoder* made = nls->createTranscoder(nls, 20, 27, 0, 0);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(watched.alive().transcoders, 1);
  EXPECT_EQ(made->destroy(made), 0U);
  EXPECT_EQ(watched.alive().transcoders, 0);
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
  for (const RQChar last : {0x10FFFFU, 0x1E943U, 0x10400U}) {
    EXPECT_EQ(service->upper(service, last, 1), static_cast<RQChar>(u_toupper(static_cast<UChar32>(last)))) << last;
    EXPECT_EQ(service->lower(service, last, 1), static_cast<RQChar>(u_tolower(static_cast<UChar32>(last)))) << last;
  }
  std::string text = "0a\xE1`z{@Z[z";
  service->charset->upperCase(service->charset, text.data(), text.size() - 1, 0);
  EXPECT_EQ(text, "0A\xE1`Z{@Z[z");
  Host byName;
  byName.caseService.charset = nullptr;
  EXPECT_NE(byName.caseService.lookUp(&byName.caseService, name, 3, &status), nullptr);
}

std::uint64_t statusToJnl(RQJournal* journal, std::uint64_t level, std::uint64_t status, ...) {
  va_list list;
  va_start(list, status);
  const std::uint64_t result = journal->statusToJnl(journal, level, status, list);
  va_end(list);
  return result;
}

TEST(JournalTable, KeepsEntries) {
  Host host;
  EXPECT_EQ(statusToJnl(&host.journal, 4, 0x803fc002), 1U);
  EXPECT_EQ(statusToJnl(&host.journal, 1, 2, std::uint64_t{7}, std::uint64_t{8}), 2U);
  const std::vector<host::JournalEntry> entries = host.journal.entries();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].slot, host::JournalEntry::Slot::statusToJnl);
  EXPECT_EQ(entries[0].fixed, (std::vector<std::uint64_t>{4, 0x803fc002}));
  EXPECT_EQ(entries[1].fixed, (std::vector<std::uint64_t>{1, 2}));
  EXPECT_EQ(host.journal.getLocale(&host.journal), reinterpret_cast<std::uintptr_t>(host.journal.locale()));
}

}  // namespace
}  // namespace rq::test
