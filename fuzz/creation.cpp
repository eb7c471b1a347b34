// Registration, creation and end of interface objects, the version record and the journal bridges.
//
// Invariants: what was taken is given back, whichever service fails; a refused object is null and logged once; an
// object has its services, encoding and fourteen transcoders; a bridge hands every argument on.
#include <cstring>

#include "routines.h"

namespace rq::fuzz {
namespace {

using namespace rq::test;

constexpr Service fallible[] = {Service::createPool, Service::allocate, Service::lookUpOption, Service::querySession,
                                Service::createTranscoder};

void checkObject(const MockHost& host, RQInterface* object, bool journalGiven) {
  expect(std::memcmp(object->eyeCatcher, "nevo", 4) == 0, "the eye catcher", "rquni");
  expect(object->journal != nullptr && (journalGiven || host.count(Service::statusToJnl) == 0), "the journal",
         "rquni");
  std::uint64_t version[3] = {};
  expect(object->getVersion(object, &version[0], &version[1], &version[2]) == 0 && version[0] == 1 &&
             version[1] == 0 && version[2] == 0,
         "the version", "ulGetVersion");
  expect(object->getReqVersion(object, &version[0], &version[1], &version[2]) == 0 && version[0] == 9 &&
             version[1] == 1 && version[2] == 1,
         "the required version", "ulGetReqVersion");
  std::uint64_t transcoders = 0;
  for (const RQTranscoderPair& pair : object->transcoders)
    transcoders += (pair.toSession ? 1U : 0U) + (pair.fromSession ? 1U : 0U);
  expect(transcoders == host.liveTranscoders, "a transcoder that is not in the object", "rquni");
  expect(host.livePools == 1 && host.liveBlocks == 1, "one pool and one block", "rquni");
}

void checkCreation(Recipe& recipe) {
  MockHost host(static_cast<std::uint32_t>(recipe.below(120)));
  host.recording = false;
  const unsigned flags = recipe.byte();
  host.optionStatus = flags & 1 ? 0x80000001 : 0;
  host.optionWrites = (flags & 2) == 0;
  host.queryWrites = (flags & 4) == 0;
  host.queryStatus = flags & 8 ? RQ_SESSION_QUERY_DEFAULTED : recipe.byte();
  host.optionValue = static_cast<std::int64_t>(recipe.word());
  host.queryValue = static_cast<std::int32_t>(recipe.word());
  host.poolPattern = recipe.byte();
  if (flags & 16) host.setDefaultJournal(nullptr);
  if (flags & 32) host.setNls(nullptr);
  for (unsigned failures = recipe.byte() % 3; failures > 0; --failures)
    host.refuse(fallible[recipe.byte() % std::size(fallible)], 1 + recipe.byte() % 15);
  const bool journalGiven = (flags & 64) != 0;

  const Library& library = Library::get();
  std::uint64_t major = 0, minor = 0;
  if (flags & 128) {
    expect(functionNamed<RQStatus(RQKernel*, std::uint64_t*, std::uint64_t*)>("rqextver")(host.kernel(), &major,
                                                                                          &minor) == 0 &&
               major == 9 && minor == 1,
           "the interface version", "rqextver");
  } else {
    expect(library.rqextent(host.kernel()) == 0, "the status", "rqextent");
  }
  expect(*library.exportedHandle == host.kernel(), "the kernel handle", "Exported_RQHandle");

  RQInterface* const object = library.rquni(host.context(), journalGiven ? host.journal() : nullptr);
  if (object) {
    checkObject(host, object, journalGiven);
    expect(object->destroy(object) == 0, "the result", "ulDestroy");
  } else {
    const bool nobodyToTell = ((flags & 16) && !journalGiven) || (flags & 32);
    expect(host.count(Service::statusToJnl) == (nobodyToTell ? 0U : 1U), "what is logged", "rquni");
  }
  expect(host.balanced(), "what was taken is not given back", "rquni");
}

void checkBridges(Recipe& recipe) {
  MockHost host;
  host.recording = true;
  host.journalResult = recipe.word();
  host.listShape = "iiiiiiii";
  std::uint64_t a[13];
  for (std::uint64_t& argument : a) argument = recipe.word();
  RQJournal* const journal = host.journal();
  using Bridge = std::uint64_t(RQJournal*, ...);
  struct Row {
    const char* name;
    Service service;
    std::size_t fixed;
  };
  for (const Row& row :
       {Row{"rqlMessageToBuf", Service::messageToBuf, 5}, Row{"rqlMessageToJnl", Service::messageToJnl, 3},
        Row{"rqlStatusToBuf", Service::statusToBuf, 4}, Row{"rqlStatusToJnl", Service::statusToJnl, 2}}) {
    const std::uint64_t result = functionNamed<Bridge>(row.name)(journal, a[0], a[1], a[2], a[3], a[4], a[5], a[6],
                                                                 a[7], a[8], a[9], a[10], a[11], a[12]);
    expect(result == host.journalResult, "the result", row.name);
    const Call& call = host.calls.back();
    expect(call.service == row.service, "the slot", row.name);
    for (std::size_t i = 0; i < row.fixed; ++i) expect(call.arguments[i + 1] == a[i], "a fixed argument", row.name);
    for (std::size_t i = 0; i < 8; ++i) expect(host.listIntegers[i] == a[row.fixed + i], "the list", row.name);
  }
  static std::uint64_t received[8];
  const auto slot = +[](RQJournal*, std::uint64_t b0, std::uint64_t b1, std::uint64_t b2, std::uint64_t b3,
                        std::uint64_t b4, std::uint64_t b5, std::uint64_t b6, double vector) -> std::uint64_t {
    const std::uint64_t all[] = {b0, b1, b2, b3, b4, b5, b6, static_cast<std::uint64_t>(vector)};
    std::memcpy(received, all, sizeof all);
    return b0 ^ b6;
  };
  host.setJournalSlot(12, reinterpret_cast<void*>(slot));
  const std::uint64_t result =
      functionNamed<Bridge>("rqlGetLocale")(journal, a[0], a[1], a[2], a[3], a[4], a[5], a[6], 77.0);
  expect(result == (a[0] ^ a[6]) && std::memcmp(received, a, 7 * sizeof *a) == 0 && received[7] == 77,
         "an argument of the jump", "rqlGetLocale");
}

void checkRecord(Recipe&) {
  GuardedBuffer buffer(sizeof(RQVersionRecord));
  auto* const record = reinterpret_cast<RQVersionRecord*>(buffer.place(sizeof(RQVersionRecord)));
  functionNamed<void(RQVersionRecord*)>("rqvercn1")(record);
  expect(buffer.intact() && std::strcmp(record->prefix, "rq") == 0, "the record", "rqvercn1");
  for (const std::uint64_t word : record->zero) expect(word == 0, "the record's last words", "rqvercn1");
}

}  // namespace

void runOnce(Recipe& recipe) {
  switch (recipe.byte() % 4) {
    case 0:
      return checkBridges(recipe);
    case 1:
      return checkRecord(recipe);
    default:
      return checkCreation(recipe);
  }
}

std::vector<std::string> coveredNames() {
  return {"rquni",          "ulDestroy",    "ulGetVersion",     "ulGetReqVersion", "rqextver",
          "rqextent",       "rqvercn1",     "rqlMessageToBuf",  "rqlMessageToJnl", "rqlStatusToBuf",
          "rqlStatusToJnl", "rqlGetLocale", "Exported_RQHandle"};
}

}  // namespace rq::fuzz
