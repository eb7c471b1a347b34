/* The journal bridges: fixed arguments and results untouched, the rest as a list; rqlGetLocale as a jump. */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>

#include "tests/model/session.h"

namespace rq::test {
namespace {

using u64 = std::uint64_t;
constexpr u64 a1 = 0x1111111122222222, a2 = 0xFFFFFFFFFFFFFFFF, a3 = 0x8000000000000000, a4 = 0,
              a5 = 0xFEDCBA9876543210;
constexpr u64 wholeResult = 0xABCDEF0123456789;

class Bridges : public ::testing::Test {
 protected:
  Bridges() { host.journalResult = wholeResult; }
  template <class... Fixed>
  void expectCall(Service service, unsigned registers, Fixed... fixed) {
    ASSERT_EQ(host.calls.size(), 1U);
    const Call& call = host.calls[0];
    EXPECT_EQ(call.service, service);
    const u64 expected[] = {reinterpret_cast<u64>(host.journal()), fixed...};
    for (unsigned i = 0; i < std::size(expected); ++i) EXPECT_EQ(call.arguments[i], expected[i]) << "argument " << i;
    EXPECT_EQ(call.seen[0], registers) << "the list begins after the last fixed argument";
    EXPECT_EQ(call.seen[1], 0U);
  }
  void expectList() {
    EXPECT_EQ(host.listIntegers, (std::vector<u64>{21, a3, 23, 24, 25, 26, 27, 28}));
    EXPECT_EQ(host.listDoubles, (std::vector<double>{0.5, -1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5}));
  }
  MockHost host;
  const char* const mixed = "ididididididididdd";
};
#define MIXED_LIST \
  u64{21}, 0.5, a3, -1.5, u64{23}, 2.5, u64{24}, 3.5, u64{25}, 4.5, u64{26}, 5.5, u64{27}, 6.5, u64{28}, 7.5, 8.5, 9.5

using MessageToBuf = u64 (*)(RQJournal*, u64, u64, u64, u64, u64, ...);
using MessageToJnl = u64 (*)(RQJournal*, u64, u64, u64, ...);
using StatusToBuf = u64 (*)(RQJournal*, u64, u64, u64, u64, ...);
using StatusToJnl = u64 (*)(RQJournal*, u64, u64, ...);

TEST_F(Bridges, MessageToBufReachesSlot4) {
  const auto bridge = Library::get().symbol<MessageToBuf>("rqlMessageToBuf");
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3, a4, a5), wholeResult);
  expectCall(Service::messageToBuf, 6, a1, a2, a3, a4, a5);
  host.listShape = mixed;
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3, a4, a5, MIXED_LIST), wholeResult);
  expectList();
}

TEST_F(Bridges, MessageToJnlReachesSlot5) {
  const auto bridge = Library::get().symbol<MessageToJnl>("rqlMessageToJnl");
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3), wholeResult);
  expectCall(Service::messageToJnl, 4, a1, a2, a3);
  host.listShape = mixed;
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3, MIXED_LIST), wholeResult);
  expectList();
}

TEST_F(Bridges, StatusToBufReachesSlot6) {
  const auto bridge = Library::get().symbol<StatusToBuf>("rqlStatusToBuf");
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3, a4), wholeResult);
  expectCall(Service::statusToBuf, 5, a1, a2, a3, a4);
  host.listShape = mixed;
  EXPECT_EQ(bridge(host.journal(), a1, a2, a3, a4, MIXED_LIST), wholeResult);
  expectList();
}

TEST_F(Bridges, StatusToJnlReachesSlot7) {
  const auto bridge = Library::get().symbol<StatusToJnl>("rqlStatusToJnl");
  EXPECT_EQ(bridge(host.journal(), a2, a5), wholeResult);
  expectCall(Service::statusToJnl, 3, a2, a5);
  host.listShape = mixed;
  EXPECT_EQ(bridge(host.journal(), a2, a5, MIXED_LIST), wholeResult);
  expectList();
}

TEST_F(Bridges, StatusToJnlWithoutFurtherArgumentsHasAnEmptyList) {
  const auto bridge = Library::get().symbol<StatusToJnl>("rqlStatusToJnl");
  EXPECT_EQ(bridge(host.journal(), 4, 0x803FC002), wholeResult);
  expectCall(Service::statusToJnl, 3, u64{4}, u64{0x803FC002});
}

// The arguments that slot 12 got.
struct Arrival {
  RQJournal* journal;
  u64 integers[14];
  double doubles[12];
  const void* returnsTo;
};
Arrival arrival;

u64 sixArguments(RQJournal* journal, u64 b, u64 c, u64 d, u64 e, u64 f) {
  arrival = {journal, {b, c, d, e, f}, {}, __builtin_return_address(0)};
  return wholeResult;
}

TEST_F(Bridges, GetLocaleDeliversSixArguments) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&sixArguments));
  const auto getLocale = Library::get().symbol<decltype(&sixArguments)>("rqlGetLocale");
  EXPECT_EQ(getLocale(host.journal(), a1, a2, a3, a4, a5), wholeResult);
  EXPECT_EQ(arrival.journal, host.journal());
  const u64 expected[] = {a1, a2, a3, a4, a5};
  for (unsigned i = 0; i < 5; ++i) EXPECT_EQ(arrival.integers[i], expected[i]);
}

u64 manyArguments(RQJournal* journal, u64 i0, double d0, u64 i1, double d1, u64 i2, double d2, u64 i3, double d3,
                  u64 i4, double d4, u64 i5, double d5, u64 i6, double d6, u64 i7, double d7, u64 i8, double d8,
                  u64 i9, double d9, u64 i10, u64 i11) {
  arrival = {journal,
             {i0, i1, i2, i3, i4, i5, i6, i7, i8, i9, i10, i11},
             {d0, d1, d2, d3, d4, d5, d6, d7, d8, d9},
             __builtin_return_address(0)};
  return wholeResult;
}

TEST_F(Bridges, GetLocaleDeliversRegistersVectorRegistersAndStack) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&manyArguments));
  const auto getLocale = Library::get().symbol<decltype(&manyArguments)>("rqlGetLocale");
  EXPECT_EQ(getLocale(host.journal(), 100, 0.25, 101, 1.25, 102, 2.25, 103, 3.25, 104, 4.25, 105, 5.25, 106, 6.25,
                      107, 7.25, 108, 8.25, 109, 9.25, 110, a5),
            wholeResult);
  EXPECT_EQ(arrival.journal, host.journal());
  for (unsigned i = 0; i < 11; ++i) EXPECT_EQ(arrival.integers[i], 100 + i);
  EXPECT_EQ(arrival.integers[11], a5);
  for (unsigned i = 0; i < 10; ++i) EXPECT_EQ(arrival.doubles[i], i + 0.25);
}

u64 variadic(RQJournal* journal, ...) {
  arrival = {journal, {}, {}, __builtin_return_address(0)};
  va_list list;
  va_start(list, journal);
  for (unsigned i = 0; i < 12; ++i) {
    arrival.integers[i] = va_arg(list, u64);
    if (i < 10) arrival.doubles[i] = va_arg(list, double);
  }
  va_end(list);
  return wholeResult;
}

TEST_F(Bridges, GetLocaleDeliversVariableArguments) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&variadic));
  const auto getLocale = Library::get().symbol<decltype(&variadic)>("rqlGetLocale");
  EXPECT_EQ(getLocale(host.journal(), u64{100}, 0.25, u64{101}, 1.25, u64{102}, 2.25, u64{103}, 3.25, u64{104}, 4.25,
                      u64{105}, 5.25, u64{106}, 6.25, u64{107}, 7.25, u64{108}, 8.25, u64{109}, 9.25, u64{110}, a5),
            wholeResult);
  for (unsigned i = 0; i < 11; ++i) EXPECT_EQ(arrival.integers[i], 100 + i);
  EXPECT_EQ(arrival.integers[11], a5);
  for (unsigned i = 0; i < 10; ++i) EXPECT_EQ(arrival.doubles[i], i + 0.25);
}

// The count of vector registers that a caller of a variadic function leaves in al.
extern "C" u64 rqTestVectorRegisterCount(RQJournal* journal, ...);
asm(".text\n"
    ".type rqTestVectorRegisterCount, @function\n"
    "rqTestVectorRegisterCount:\n"
    "  movzbl %al, %eax\n"
    "  ret\n"
    ".size rqTestVectorRegisterCount, . - rqTestVectorRegisterCount\n");

TEST_F(Bridges, GetLocaleKeepsTheCountOfVectorRegisters) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&rqTestVectorRegisterCount));
  const auto getLocale = Library::get().symbol<decltype(&rqTestVectorRegisterCount)>("rqlGetLocale");
  EXPECT_EQ(getLocale(host.journal()), 0U);
  EXPECT_EQ(getLocale(host.journal(), 1, 0.5), 1U);
  EXPECT_EQ(getLocale(host.journal(), 0.5, 1.5, 2.5), 3U);
  EXPECT_EQ(getLocale(host.journal(), 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5), 7U);
  EXPECT_EQ(getLocale(host.journal(), 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5), 8U);
}

TEST_F(Bridges, GetLocaleIsAJumpAndLeavesNoFrame) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&sixArguments));
  const auto getLocale = Library::get().symbol<decltype(&sixArguments)>("rqlGetLocale");
  getLocale(host.journal(), 0, 0, 0, 0, 0);
  Dl_info callee{}, caller{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(getLocale), &callee), 0);
  ASSERT_NE(dladdr(arrival.returnsTo, &caller), 0);
  EXPECT_NE(caller.dli_fbase, callee.dli_fbase) << "the slot returns to the caller, not into the library";
}

struct Pair {
  u64 first, second;
};
Pair bothRegisters(RQJournal*) {
  return {wholeResult, a1};
}
double vectorRegister(RQJournal*) {
  return 2.75;
}

TEST_F(Bridges, GetLocaleReturnsEveryResultRegister) {
  host.setJournalSlot(12, reinterpret_cast<void*>(&bothRegisters));
  const Pair pair = Library::get().symbol<decltype(&bothRegisters)>("rqlGetLocale")(host.journal());
  EXPECT_EQ(pair.first, wholeResult);
  EXPECT_EQ(pair.second, a1);
  host.setJournalSlot(12, reinterpret_cast<void*>(&vectorRegister));
  EXPECT_EQ(Library::get().symbol<decltype(&vectorRegister)>("rqlGetLocale")(host.journal()), 2.75);
}

}  // namespace
}  // namespace rq::test
