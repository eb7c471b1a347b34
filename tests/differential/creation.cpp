// Registration, creation and end of interface objects, the version record and the journal bridges.
//
// What must hold: what was taken is given back, whichever service fails; a refused object is null and logged once; an
// object has its services, encoding and fourteen transcoders; a bridge hands every argument on.
#include <cstring>

#include "tests/differential/buffers.h"
#include "tests/differential/family.h"
#include "tests/model/library.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

template <class Function>
Function* functionNamed(const char* name) {
  return Library::get().symbol<Function*>(name);
}

/// Decides what the host has and how it answers.
struct CreationHost : MockHost {
  explicit CreationHost(Choices& choices) : MockHost(choices.below(120)), flags(choices.byte()) {
    constexpr Service fallible[] = {Service::createPool, Service::allocate, Service::lookUpOption,
                                    Service::querySession, Service::createTranscoder};
    optionStatus = flags & 1 ? 0x80000001 : 0;
    optionWrites = (flags & 2) == 0;
    queryWrites = (flags & 4) == 0;
    queryStatus = flags & 8 ? RQ_SESSION_QUERY_DEFAULTED : choices.byte() & 0x81;
    if (choices.byte() & 1) optionValue = static_cast<std::int64_t>(choices.word());
    queryValue = static_cast<std::int32_t>(choices.word());
    poolPattern = choices.byte();
    if (!hasJournal()) setDefaultJournal(nullptr);
    if (!hasNls()) setNls(nullptr);
    for (unsigned failures = choices.byte() % 3; failures > 0; --failures) {
      const Service service = fallible[choices.byte() % std::size(fallible)];
      const unsigned nth = 1 + choices.byte() % 15;
      schedule.refuse(service, nth);
      if (service == Service::querySession && nth == 1) queryAnswers = false;
    }
  }
  bool hasJournal() const { return (flags & 16) == 0; }
  bool hasNls() const { return (flags & 32) == 0; }
  bool journalGiven() const { return (flags & 64) != 0; }

  const unsigned flags;
  bool queryAnswers = true;  // the library asks once at most
};

/// The encoding that the object must take from its host's answers.
std::int64_t encodingFrom(const CreationHost& host) {
  if (host.count(Service::querySession) == 0) return host.optionWrites ? host.optionValue : -1;
  const bool succeeds = host.queryStatus == 0 || host.queryStatus == RQ_SESSION_QUERY_DEFAULTED;
  return !host.queryAnswers || !succeeds ? 0 : host.queryWrites ? host.queryValue : -1;
}

void checkObject(const CreationHost& host, RQInterface* object) {
  expect(std::memcmp(object->eyeCatcher, "nevo", 4) == 0, "the eye catcher", "rquni");
  expect(object->journal != nullptr && host.count(Service::statusToJnl) == 0, "the journal", "rquni");
  expect(object->sessionEncoding == encodingFrom(host), "the session's encoding", "rquni");
  std::uint64_t transcoders = 0;
  for (const RQTranscoderPair& pair : object->transcoders)
    transcoders += (pair.toSession ? 1U : 0U) + (pair.fromSession ? 1U : 0U);
  expect(transcoders == host.liveTranscoders, "a transcoder that is not in the object", "rquni");
  expect(host.count(Service::createTranscoder) == 14, "fourteen transcoders", "rquni");
  expect(host.livePools == 1 && host.liveBlocks == 1, "one pool and one block", "rquni");
}

void checkCreation(const char* name, Choices& choices) {
  CreationHost host(choices);
  const Library& library = Library::get();
  library.rqextent(host.kernel());
  RQInterface* const object = library.rquni(host.context(), host.journalGiven() ? host.journal() : nullptr);
  if (object) {
    checkObject(host, object);
    expect(object->destroy(object) == 0, "the result", "ulDestroy");
  } else {
    const bool nobodyToTell = !host.hasNls() || (!host.hasJournal() && !host.journalGiven());
    expect(host.count(Service::statusToJnl) == (nobodyToTell ? 0U : 1U), "what is logged", name);
  }
  expect(host.balanced(), "what was taken is not given back", name);
}

void checkRegistration(const char* name, Choices& choices) {
  const Library& library = Library::get();
  auto* const kernel = reinterpret_cast<RQKernel*>(choices.word());  // the library stores it and does not read it
  if (std::strcmp(name, "rqextver") == 0) {
    std::uint64_t major = 0, minor = 0;
    const auto extver = functionNamed<RQStatus(RQKernel*, std::uint64_t*, std::uint64_t*)>(name);
    expect(extver(kernel, &major, &minor) == 0 && major == 9 && minor == 1, "the interface version", name);
  } else {
    expect(library.rqextent(kernel) == 0, "the status", name);
  }
  expect(*library.exportedHandle == kernel, "the kernel handle", name);
  library.rqextent(nullptr);
}

template <std::uint64_t major, std::uint64_t minor, std::uint64_t patch>
void checkVersion(const char* name, Choices&) {
  using Version = std::uint64_t(RQInterface*, std::uint64_t*, std::uint64_t*, std::uint64_t*);
  std::uint64_t version[3] = {};
  expect(functionNamed<Version>(name)(nullptr, &version[0], &version[1], &version[2]) == 0, "the result", name);
  expect(version[0] == major && version[1] == minor && version[2] == patch, "the version", name);
}

void checkRecord(const char* name, Choices& choices) {
  static CaseBuffer buffer(sizeof(RQVersionRecord));
  auto* const record =
      reinterpret_cast<RQVersionRecord*>(buffer.placeAt(sizeof(RQVersionRecord), choices.byte() & ~7U));
  functionNamed<void(RQVersionRecord*)>(name)(record);
  expect(buffer.isIntact() && std::strcmp(record->prefix, "rq") == 0, "the record", name);
  for (const std::uint64_t word : record->zero) expect(word == 0, "the record's last words", name);
}

using Bridge = std::uint64_t(RQJournal*, ...);

template <Service service, std::size_t fixed>
void checkBridge(const char* name, Choices& choices) {
  static MockHost host;
  host.forget();
  host.journalResult = choices.word();
  host.listShape = "iiiiiiii";
  std::uint64_t a[13];
  choices.fill(a, sizeof a);
  const std::uint64_t result = functionNamed<Bridge>(name)(host.journal(), a[0], a[1], a[2], a[3], a[4], a[5], a[6],
                                                           a[7], a[8], a[9], a[10], a[11], a[12]);
  expect(result == host.journalResult, "the result", name);
  expect(host.calls.size() == 1 && host.calls[0].service == service, "the slot", name);
  for (std::size_t i = 0; i < fixed; ++i) expect(host.calls[0].arguments[i + 1] == a[i], "a fixed argument", name);
  for (std::size_t i = 0; i < 8; ++i) expect(host.listIntegers[i] == a[fixed + i], "the list", name);
}

void checkJump(const char* name, Choices& choices) {
  static std::uint64_t received[8];
  const auto slot = +[](RQJournal*, std::uint64_t b0, std::uint64_t b1, std::uint64_t b2, std::uint64_t b3,
                        std::uint64_t b4, std::uint64_t b5, std::uint64_t b6, double vector) -> std::uint64_t {
    const std::uint64_t all[] = {b0, b1, b2, b3, b4, b5, b6, static_cast<std::uint64_t>(vector)};
    std::memcpy(received, all, sizeof all);
    return b0 ^ b6;
  };
  static MockHost host;
  host.setJournalSlot(12, reinterpret_cast<void*>(slot));
  std::uint64_t a[7];
  choices.fill(a, sizeof a);
  const std::uint64_t result =
      functionNamed<Bridge>(name)(host.journal(), a[0], a[1], a[2], a[3], a[4], a[5], a[6], 77.0);
  expect(result == (a[0] ^ a[6]) && std::memcmp(received, a, sizeof a) == 0 && received[7] == 77,
         "an argument of the jump", name);
}

constexpr Routine routines[] = {
    {"rquni", checkCreation},
    {"ulDestroy", checkCreation},
    {"rqextent", checkRegistration},
    {"rqextver", checkRegistration},
    {"Exported_RQHandle", checkRegistration},
    {"ulGetVersion", checkVersion<1, 0, 0>},
    {"ulGetReqVersion", checkVersion<9, 1, 1>},
    {"rqvercn1", checkRecord},
    {"rqlMessageToBuf", checkBridge<Service::messageToBuf, 5>},
    {"rqlMessageToJnl", checkBridge<Service::messageToJnl, 3>},
    {"rqlStatusToBuf", checkBridge<Service::statusToBuf, 4>},
    {"rqlStatusToJnl", checkBridge<Service::statusToJnl, 2>},
    {"rqlGetLocale", checkJump},
};

}  // namespace

const Family creationFamily = {"creation", [](Choices& choices) { runOneOf(routines, choices); },
                               [] { return namesOf(routines); }};

}  // namespace rq::test
