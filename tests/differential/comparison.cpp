#include "tests/differential/trial.h"

#include <cstdio>
#include <memory>
#include <string_view>

#include "tests/differential/family.h"
#include "tests/differential/region.h"
#include "tests/model/codec_twin.h"
#include "tests/model/session.h"

namespace rq::test {
namespace {

constexpr std::uint8_t untouched = 0xC7;
constexpr std::uint32_t refused = 0x805FFFFF;  // a refusing host's status
constexpr std::size_t mostBytes = 4 * mostCapacity + 64;

Session& sessionOf(std::uint32_t encoding) {
  static std::vector<std::unique_ptr<Session>> all;
  for (const auto& session : all)
    if (session->encoding == encoding) return *session;
  all.push_back(std::make_unique<Session>(encoding));
  return *all.back();
}

/// What one of the two did.
struct Made {
  Answer answer;
  std::uint8_t* output = nullptr;
  std::vector<Call> calls;
};

/// A trial with its buffers; both sides read the same input.
struct Stage {
  explicit Stage(const Trial& made) : trial(made), slot(*made.slot), session(sessionOf(made.encoding)) {
    Library::get().rqextent(session.host.kernel());
    twin::setKernel(session.host.kernel());
    input = memory().place(trial.text.size(), trial.inputPlace);
    if (!trial.text.empty()) std::memcpy(input, trial.text.data(), trial.text.size());
  }

  static Region& memory() {
    static Region region(4 * mostUnits + 64);
    return region;
  }
  bool inputIntact() const {
    return memory().intact() && (trial.text.empty() || std::memcmp(input, trial.text.data(), trial.text.size()) == 0);
  }

  const Trial& trial;
  const Slot& slot;
  Session& session;
  std::uint8_t* input;
  std::uint64_t capacityBytes = trial.capacity * slot.outputUnit();
  std::uint64_t room = capacityBytes + slot.overshoot(trial.capacity, trial.pad);
};

void prepare(MockHost& host, const Trial& trial) {
  host.forget();
  host.behave();
  host.offer(trial.services);
  host.convertStatus = trial.convertStatus;
  if (trial.refusesMemory) host.refuse(Service::allocate, 0);
  if (trial.refusesConversions) host.refuse(Service::convert, 0);
  host.liesFill = true;  // so that what is copied is known
}

/// Calls the operation; the host is prepared.
void ask(const Stage& stage, const RQOperations& operations, Region& region, Made& made) {
  const Trial& trial = stage.trial;
  made.output = region.place(stage.room, trial.outputPlace);
  std::memset(made.output, untouched, stage.room);
  made.answer = callSlot(stage.slot, operations, stage.session.object, stage.input, trial.units(), made.output,
                         trial.capacity, trial.pad);
  made.calls.swap(stage.session.host.calls);
}

/// What a call asked its host, without the addresses.
std::uint64_t questionOf(const Call& call) {
  const bool isCase = call.service == Service::upper || call.service == Service::lower;
  return (isCase ? call.arguments[1] : call.digest) * 32 + static_cast<std::uint64_t>(call.service);
}

/// Whether `calls` are some of the twin's, in its order.
bool areAmong(const std::vector<Call>& calls, const std::vector<Call>& twins) {
  auto next = twins.begin();
  for (const Call& call : calls) {
    const std::uint64_t question = questionOf(call);
    while (next != twins.end() && questionOf(*next) != question) ++next;
    if (next == twins.end()) return false;
    ++next;
  }
  return true;
}

/// Whether the twin can be given the same answers: where one fares otherwise than usual, it must be the only answer
/// to its question.
bool canBeRepeated(const Trial& trial, const std::vector<Call>& calls) {
  const auto isFated = [](const Call& call) { return call.fate.refused || call.fate.lie != Lie::none; };
  const auto fated = std::find_if(calls.begin(), calls.end(), isFated);
  if (fated == calls.end() || trial.refusesMemory || trial.refusesConversions) return true;
  if (trial.isTransform()) return trial.fate.refused;
  if (fated->service != Service::convert && fated->service != Service::allocate) return false;
  return std::count_if(calls.begin(), calls.end(),
                       [&](const Call& call) { return questionOf(call) == questionOf(*fated); }) == 1;
}

/// Bytes past the capacity that the library changed and the twin did not.
bool reachesFurther(const Stage& stage, const Made& library, const Made& twin) {
  for (std::uint64_t i = stage.capacityBytes; i < stage.room; ++i)
    if (library.output[i] != untouched && twin.output[i] == untouched) return true;
  return false;
}

const char* differenceOf(const Stage& stage, const Made& library, const Made& twin) {
  if (library.answer.status != twin.answer.status) return "the status differs";
  if (library.answer.count != twin.answer.count) return "the count differs";
  const std::uint64_t written = twin.answer.written;
  if (library.answer.written != written) return "the length differs";
  if (written != notStored) {
    // Nobody touches what lies behind the written units, but for the one that may.
    const bool clobbers = std::string_view(stage.slot.name) == "putUParen";
    const std::uint64_t compared = clobbers ? std::min(written * stage.slot.outputUnit(), stage.room) : stage.room;
    if (std::memcmp(library.output, twin.output, compared) != 0) return "the bytes differ";
  }
  if (reachesFurther(stage, library, twin)) return "bytes past the capacity";
  return areAmong(library.calls, twin.calls) ? nullptr : "the host is asked what the twin does not ask, or not then";
}

/// What an honest transcoder alone makes of the text.
void transform(const Stage& stage, Region& region, Made& made) {
  const Trial& trial = stage.trial;
  const Slot& slot = stage.slot;
  const std::uint32_t form = formOf(slot);
  made.output = region.place(stage.room, trial.outputPlace);
  std::memset(made.output, untouched, stage.room);
  const bool pads = trial.pad && slot.shape == Shape::paddedTransform;
  if (pads) {
    std::uint8_t blank[8];
    unsigned shiftState = 0;
    const std::size_t size = encodingOf(form)->write(' ', false, shiftState, blank);
    for (std::uint64_t i = 0; i < stage.room; ++i) made.output[i] = blank[i % size];
  }
  Conversion done{refused, 0};
  if (!trial.refusesConversions && !(trial.nth == 1 && trial.fate.refused)) {
    const Encoding &session = *encodingOf(trial.encoding), &unicode = *encodingOf(form);
    const Encoding &from = slot.isPut() ? session : unicode, &to = slot.isPut() ? unicode : session;
    done = convert(from, to, stage.input, trial.text.size(), made.output, stage.capacityBytes);
    if (done.status == 0) done.status = trial.convertStatus;
  }
  const std::uint64_t produced = slot.isPut() ? done.produced : done.produced / slot.outputUnit();
  made.answer = {done.status, pads ? trial.capacity : produced, 0};
}

const char* differenceOfTransform(const Stage& stage, const Made& library, const Made& expected) {
  if (!(library.answer == expected.answer)) return "not the transcoder's status and length";
  if (std::memcmp(library.output, expected.output, stage.room) != 0) return "not the transcoder's bytes";
  if (library.calls.size() != 1) return "not one conversion";
  const Call& call = library.calls[0];
  const bool whole = call.arguments[1] == reinterpret_cast<std::uint64_t>(stage.input) &&
                     call.arguments[2] == stage.trial.text.size() &&
                     call.arguments[3] == reinterpret_cast<std::uint64_t>(library.output) &&
                     call.arguments[4] == stage.capacityBytes && call.arguments[6] == 0;
  return call.service == Service::convert && whole ? nullptr : "not the whole text into the whole room";
}

std::string shown(const char* who, const Stage& stage, const Made& made) {
  char text[160];
  const bool stored = made.answer.written != notStored;
  std::snprintf(text, sizeof text, "\n  %s: status %08X, %s %llu, count %lld, %zu calls, text \"", who,
                made.answer.status, stored ? "length" : "length not stored",
                static_cast<unsigned long long>(stored ? made.answer.written : 0),
                static_cast<long long>(made.answer.count), made.calls.size());
  const std::uint64_t units = stored ? std::min(made.answer.written, stage.room / stage.slot.outputUnit()) : 0;
  const std::vector<std::uint8_t> bytes(made.output, made.output + units * stage.slot.outputUnit());
  return text + shown(bytes, stage.slot.flavour) + '"';
}

[[noreturn]] void report(const char* what, const Stage& stage, const Made& library, const Made* twin) {
  const Trial& trial = stage.trial;
  char text[400];
  std::snprintf(text, sizeof text,
                "%s: %s\n  session %s, capacity %llu, pad %d, case service %d, charset cached %d, charset on look-up "
                "%d, memory refused %d, conversions refused %d, convert status %08X, call %llu refused %d, lie %d",
                stage.slot.fullName().c_str(), what, encodingOf(trial.encoding)->name,
                static_cast<unsigned long long>(trial.capacity), trial.pad, trial.services.caseService,
                trial.services.cachedCharset, trial.services.charsetOnLookUp, trial.refusesMemory,
                trial.refusesConversions, trial.convertStatus, static_cast<unsigned long long>(trial.nth),
                trial.fate.refused, static_cast<int>(trial.fate.lie));
  std::string all = text;
  all += "\n  input \"" + shown(trial.text, stage.slot.inputUnit() == 4 ? Flavour::wide : Flavour::plain) + '"';
  all += shown("library", stage, library);
  if (twin) all += shown("twin   ", stage, *twin);
  throw Difference{all};
}

}  // namespace

std::uint32_t formOf(const Slot& slot) {
  const std::string_view name = slot.name;
  if (name.ends_with("UTF8")) return utf8;
  if (name.substr(3).starts_with("UTF16")) return name.ends_with('B') ? utf16Big : utf16Little;
  return name.ends_with('B') ? utf32Big : utf32;
}

void checkTrial(const Trial& trial) {
  static Region libraryRegion(mostBytes), twinRegion(mostBytes);
  static Made library, twin;
  const Stage stage(trial);
  const MockHost& host = stage.session.host;
  const std::uint64_t mistakes = host.mistakes, blocks = host.liveBlocks;

  prepare(stage.session.host, trial);
  if (trial.nth != 0) stage.session.host.fates.set(trial.nth, trial.fate);
  ask(stage, slotsOf(stage.session.object, stage.slot.flavour), libraryRegion, library);
  const auto must = [&](bool holds, const char* what) {
    if (!holds) report(what, stage, library, nullptr);
  };
  must(libraryRegion.intact(), "bytes outside the output and its documented overshoot");
  must(stage.inputIntact(), "the input is changed");
  must(host.mistakes == mistakes && host.liveBlocks == blocks && host.livePools == 1 && host.liveTranscoders == 14,
       "what was taken is not given back");
  if (trial.nth != 0) {
    const char* const mistake = mistakeOf(stage.slot, library.answer, library.output, stage.room, untouched);
    must(mistake == nullptr, mistake);
    if (!canBeRepeated(trial, library.calls)) return;
  }
  const char* difference = nullptr;
  if (trial.isTransform()) {
    transform(stage, twinRegion, twin);
    difference = differenceOfTransform(stage, library, twin);
  } else {
    prepare(stage.session.host, trial);
    if (trial.nth != 0) stage.session.host.fates.repeat(library.calls);
    ask(stage, twin::operations(stage.slot.flavour), twinRegion, twin);
    difference = differenceOf(stage, library, twin);
  }
  if (difference) report(difference, stage, library, &twin);
}

}  // namespace rq::test
