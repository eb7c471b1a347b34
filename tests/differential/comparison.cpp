#include "tests/differential/comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "tests/differential/buffers.h"
#include "tests/differential/family.h"
#include "tests/model/calls.h"
#include "tests/model/codec_twin.h"

namespace rq::test {
namespace {

Session& sessionOf(std::uint32_t encoding) {
  static std::vector<std::unique_ptr<Session>> all;
  for (const auto& session : all)
    if (session->encoding == encoding) return *session;
  all.push_back(std::make_unique<Session>(encoding));
  return *all.back();
}

/// What the library or the twin did.
struct Result {
  Answer answer;
  std::uint8_t* output = nullptr;
  std::vector<Call> calls;
};

/// A case with its session and its input, which library and twin share.
struct Fixture {
  explicit Fixture(const Case& made) : test(made), slot(*made.slot), session(sessionOf(made.encoding)) {
    Library::get().rqextent(session.host.kernel());
    twin::setKernel(session.host.kernel());
    input = inputBuffer().placeAt(test.text.size(), test.inputPlace);
    std::copy(test.text.begin(), test.text.end(), input);
  }

  static CaseBuffer& inputBuffer() {
    static CaseBuffer buffer(4 * maxUnits);
    return buffer;
  }
  bool inputIsIntact() const {
    return inputBuffer().isIntact() && std::equal(test.text.begin(), test.text.end(), input);
  }

  const Case& test;
  const Slot& slot;
  Session& session;
  std::uint8_t* input;
  std::uint64_t capacityBytes = test.capacity * slot.outputUnit();
  std::uint64_t room = capacityBytes + slot.overshoot(test.capacity, test.pad);
};

/// A host without failures.
void prepareHost(const Fixture& fixture) {
  MockHost& host = fixture.session.host;
  host.forget();
  host.schedule.clear();
  host.offer(fixture.test.services);
  host.convertStatus = fixture.test.convertStatus;
  host.fillsFalseLengths = true;  // library and twin then see the same bytes
  fixture.session.object->escape = fixture.test.escape;
  fixture.session.object->reference = fixture.test.reference;
}

std::uint8_t* placeOutput(const Fixture& fixture, CaseBuffer& buffer) {
  std::uint8_t* const output = buffer.placeAt(fixture.room, fixture.test.outputPlace);
  std::memset(output, untouched, fixture.room);
  return output;
}

/// Calls the operation; the host is prepared.
void call(const Fixture& fixture, const RQOperations& operations, CaseBuffer& buffer, Result& result) {
  const Case& test = fixture.test;
  result.output = placeOutput(fixture, buffer);
  result.answer = callSlot(fixture.slot, operations, fixture.session.object, fixture.input, test.units(),
                           result.output, test.capacity, test.pad);
  result.calls.swap(fixture.session.host.calls);
}

void callLibrary(const Fixture& fixture, CaseBuffer& buffer, Result& result) {
  prepareHost(fixture);
  fixture.session.host.schedule.add(fixture.test.failure);
  call(fixture, slotsOf(fixture.session.object, fixture.slot.flavour), buffer, result);
}

/// The twin may call the host more often: the host gives equal requests the outcomes that the library met.
void callTwin(const Fixture& fixture, const Result& library, CaseBuffer& buffer, Result& result) {
  prepareHost(fixture);
  if (fixture.test.failure.nth == Failure::always)
    fixture.session.host.schedule.add(fixture.test.failure);
  else
    fixture.session.host.schedule.repeat(library.calls);
  call(fixture, twin::operations(fixture.slot.flavour), buffer, result);
}

/// What the transcoder alone makes of the text: the expected result of a transform.
void convertAlone(const Fixture& fixture, CaseBuffer& buffer, Result& result) {
  const Case& test = fixture.test;
  const Slot& slot = fixture.slot;
  const Encoding &session = *encodingOf(test.encoding), &form = *encodingOf(unicodeFormOf(slot));
  result.output = placeOutput(fixture, buffer);
  const bool pads = test.pad && slot.shape == Shape::paddedTransform;
  if (pads) {
    std::uint8_t blank[8];
    unsigned shiftState = 0;
    const std::size_t size = form.write(' ', false, shiftState, blank);
    for (std::uint64_t i = 0; i < fixture.room; ++i) result.output[i] = blank[i % size];
  }
  Schedule schedule;
  schedule.add(test.failure);
  Conversion done{MockHost::refusalStatus, 0};
  if (schedule.next(Service::convert, 0) != Outcome::refusal) {
    const Encoding &from = slot.isPut() ? session : form, &to = slot.isPut() ? form : session;
    done = convert(from, to, fixture.input, test.text.size(), result.output, fixture.capacityBytes);
    if (done.status == 0) done.status = test.convertStatus;
  }
  const std::uint64_t produced = slot.isPut() ? done.produced : done.produced / slot.outputUnit();
  result.answer = {done.status, pads ? test.capacity : produced, 0};
}

/// A call of the host without its addresses.
std::uint64_t requestOf(const Call& call) {
  const bool isCase = call.service == Service::upper || call.service == Service::lower;
  return (isCase ? call.arguments[1] : call.digest) * 32 + static_cast<std::uint64_t>(call.service);
}

/// Whether `calls` are some of the twin's, in its order.
bool areAmong(const std::vector<Call>& calls, const std::vector<Call>& twins) {
  auto next = twins.begin();
  for (const Call& call : calls) {
    const std::uint64_t request = requestOf(call);
    while (next != twins.end() && requestOf(*next) != request) ++next;
    if (next == twins.end()) return false;
    ++next;
  }
  return true;
}

/// Whether the expected result is known: the twin can meet the same host when each failure is the only answer to its
/// request.
bool isComparable(const Fixture& fixture, const std::vector<Call>& calls) {
  if (fixture.test.failure.nth == Failure::always) return true;
  const auto hasFailed = [](const Call& call) { return call.outcome != Outcome::success; };
  const auto failed = std::find_if(calls.begin(), calls.end(), hasFailed);
  if (failed == calls.end()) return true;
  if (fixture.slot.isTransform()) return failed->outcome == Outcome::refusal;
  if (failed->service != Service::convert && failed->service != Service::allocate) return false;
  return std::count_if(calls.begin(), calls.end(),
                       [&](const Call& call) { return requestOf(call) == requestOf(*failed); }) == 1;
}

/// Whether the library changed bytes past the capacity that the twin did not.
bool reachesFurther(const Fixture& fixture, const Result& library, const Result& twin) {
  for (std::uint64_t i = fixture.capacityBytes; i < fixture.room; ++i)
    if (library.output[i] != untouched && twin.output[i] == untouched) return true;
  return false;
}

const char* differenceOf(const Fixture& fixture, const Result& library, const Result& twin) {
  if (library.answer.status != twin.answer.status) return "the status differs";
  if (library.answer.count != twin.answer.count) return "the count differs";
  const std::uint64_t written = twin.answer.written;
  if (library.answer.written != written) return "the length differs";
  if (written != notStored) {
    // Only putUParen may change what lies behind the written units.
    const bool clobbers = std::string_view(fixture.slot.name) == "putUParen";
    const std::uint64_t compared =
        clobbers ? std::min(written * fixture.slot.outputUnit(), fixture.room) : fixture.room;
    if (std::memcmp(library.output, twin.output, compared) != 0) return "the bytes differ";
  }
  if (reachesFurther(fixture, library, twin)) return "bytes past the capacity";
  return areAmong(library.calls, twin.calls) ? nullptr
                                             : "a call of the host that the twin does not make, or not then";
}

const char* differenceOfTransform(const Fixture& fixture, const Result& library, const Result& expected) {
  if (!(library.answer == expected.answer)) return "not the transcoder's status and length";
  if (std::memcmp(library.output, expected.output, fixture.room) != 0) return "not the transcoder's bytes";
  if (library.calls.size() != 1) return "not one conversion";
  const Call& call = library.calls[0];
  const bool isWhole = call.arguments[1] == reinterpret_cast<std::uint64_t>(fixture.input) &&
                       call.arguments[2] == fixture.test.text.size() &&
                       call.arguments[3] == reinterpret_cast<std::uint64_t>(library.output) &&
                       call.arguments[4] == fixture.capacityBytes && call.arguments[6] == 0;
  return call.service == Service::convert && isWhole ? nullptr : "not the whole text into the whole room";
}

/// The promise that the library broke whatever the host did, or null.
const char* brokenPromiseOf(const Fixture& fixture, const CaseBuffer& buffer, const Result& library) {
  if (!buffer.isIntact()) return "bytes outside the output and its documented overshoot";
  if (!fixture.inputIsIntact()) return "the input is changed";
  if (!fixture.session.holdsOneObject()) return "what was taken is not given back";
  return mistakeOf(fixture.slot, library.answer, library.output, fixture.room, untouched);
}

std::string shown(const char* who, const Fixture& fixture, const Result& result) {
  char text[160];
  const bool stored = result.answer.written != notStored;
  std::snprintf(text, sizeof text, "\n  %s: status %08X, %s %llu, count %lld, %zu calls, text \"", who,
                result.answer.status, stored ? "length" : "length not stored",
                static_cast<unsigned long long>(stored ? result.answer.written : 0),
                static_cast<long long>(result.answer.count), result.calls.size());
  const std::uint64_t unit = fixture.slot.outputUnit();
  const std::uint64_t units = stored ? std::min(result.answer.written, fixture.room / unit) : 0;
  return text + shown({result.output, result.output + units * unit}, fixture.slot.flavour) + '"';
}

[[noreturn]] void report(const char* what, const Fixture& fixture, const Result& library, const Result* expected) {
  const Case& test = fixture.test;
  char text[400];
  std::snprintf(text, sizeof text,
                "%s: %s\n  session %s, capacity %llu, pad %d, case service %d, charset cached %d, charset on look-up "
                "%d, convert status %08X, call %llu (0: each) of %s has outcome %d",
                fixture.slot.fullName().c_str(), what, encodingOf(test.encoding)->name,
                static_cast<unsigned long long>(test.capacity), test.pad, test.services.caseService,
                test.services.cachedCharset, test.services.charsetOnLookUp, test.convertStatus,
                static_cast<unsigned long long>(test.failure.nth), nameOf(test.failure.service),
                static_cast<int>(test.failure.outcome));
  std::string all = text;
  all += "\n  input \"" + shown(test.text, fixture.slot.inputUnit() == 4 ? Flavour::wide : Flavour::plain) + '"';
  all += shown("library ", fixture, library);
  if (expected) all += shown("expected", fixture, *expected);
  throw Difference{all};
}

}  // namespace

void checkCase(const Case& test) {
  constexpr std::size_t maxBytes = 4 * maxCapacity + 64;
  static CaseBuffer libraryBuffer(maxBytes), expectedBuffer(maxBytes);
  static Result library, expected;
  const Fixture fixture(test);

  callLibrary(fixture, libraryBuffer, library);
  if (const char* const broken = brokenPromiseOf(fixture, libraryBuffer, library))
    report(broken, fixture, library, nullptr);
  if (!isComparable(fixture, library.calls)) return;

  const char* difference = nullptr;
  if (fixture.slot.isTransform()) {
    convertAlone(fixture, expectedBuffer, expected);
    difference = differenceOfTransform(fixture, library, expected);
  } else {
    callTwin(fixture, library, expectedBuffer, expected);
    difference = differenceOf(fixture, library, expected);
  }
  if (difference) report(difference, fixture, library, &expected);
}

}  // namespace rq::test
