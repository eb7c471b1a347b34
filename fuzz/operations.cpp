#include "operations.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "codecs/comparison.h"
#include "support/guarded_buffer.h"

namespace rq::fuzz {
namespace {

using namespace rq::test;

constexpr std::uint32_t sessions[] = {utf8,     utf16Big,   utf16Little, utf32Big, utf32,    latin1,       ascii,
                                      cyrillic, doubleByte, shifted,     laxBytes, laxUnits, substituting, expanding};
constexpr Lie lies[] = {Lie::notSet, Lie::zero, Lie::capacity, Lie::capacityPlusOne, Lie::odd, Lie::enormous};
constexpr Service failing[] = {Service::convert, Service::allocate};

constexpr std::uint8_t untouched = 0xC7;  // what a guarded buffer is filled with
constexpr std::size_t mostBytes = 64 * 1024;

/// What the recipe decides.
struct Call {
  const Slot* slot;
  Setting setting;
  bool pad;
  std::uint32_t convertStatus;
  bool refuses = false, lies = false;  // the n-th time only
  Service refused{};
  Lie lie{};
  std::uint64_t nth = 0;
  unsigned inputShift, outputShift;  // bytes between a buffer's end and the guard page
  std::uint64_t capacity;
  std::vector<std::uint8_t> text;  // whole units

  std::uint64_t units() const { return text.size() / slot->inputUnit(); }
  bool isHonest() const { return !refuses && !lies; }
};

/// Wide text from bytes: ASCII as it is, the rest as characters at and around every limit that the library knows.
RQChar characterOf(std::uint8_t byte) {
  constexpr RQChar limits[] = {0x7F,       0x80,       0x81,      0xE9,    0xFF,     0x100,    0x3A9,      0x2FFF,
                               0x3000,     0x303F,     0x4E00,    0x9FFF,  0xA000,   0xABFF,   0xAC00,     0xD7AF,
                               0xD7FF,     0xD800,     0xDBFF,    0xDC00,  0xDFFF,   0xE000,   0xFF01,     0xFF10,
                               0xFF21,     0xFF41,     0xFF5E,    0xFF5F,  0xFFE0,   0xFFE6,   0xFFFF,     0x10000,
                               0x1D800,    0x1DC00,    0x1F600,   0x20000, 0x2A6DF,  0x2A6E0,  0x2A700,    0x2FA1F,
                               0x30000,    0xE0001,    0xF4240,   0xF423F, 0x10FFFF, 0x110000, 0x7FFFFFFF, 0x80000000,
                               0x8000003C, 0xFFFFEEEF, 0xFFFFFFFF};
  return byte < 0x80 ? byte : limits[(byte - 0x80U) % std::size(limits)];
}

/// Text out of the recipe's last bytes: as they are, as characters of the session, or repeated past the thresholds.
std::vector<std::uint8_t> textOf(const Slot& slot, std::uint32_t session, std::uint8_t how,
                                 const std::vector<std::uint8_t>& bytes) {
  std::vector<std::uint8_t> text;
  if (slot.inputUnit() == 4 && (how & 1) == 0) {
    for (const std::uint8_t byte : bytes) {
      const RQChar c = characterOf(byte);
      const auto* units = reinterpret_cast<const std::uint8_t*>(&c);
      text.insert(text.end(), units, units + sizeof c);
    }
  } else if (slot.inputUnit() == 1 && (how & 1) != 0) {
    const Encoding& encoding = *encodingOf(session);
    unsigned page = 0;
    for (const std::uint8_t byte : bytes) {
      std::uint8_t sequence[8];
      const std::size_t size = encoding.write(characterOf(byte), encoding.lax, page, sequence);
      text.insert(text.end(), sequence, sequence + size);
    }
  } else {
    text = bytes;
  }
  if ((how & 6) == 6 && !text.empty()) {  // 253 to 260 units, about where the pool comes in
    const std::vector<std::uint8_t> once = text;
    const std::size_t wanted = (253 + (how >> 3) % 8) * slot.inputUnit();
    while (text.size() < wanted) text.insert(text.end(), once.begin(), once.end());
    text.resize(wanted);
  }
  text.resize(std::min(text.size(), mostBytes / 2) / slot.inputUnit() * slot.inputUnit());
  return text;
}

Call callOf(Recipe& recipe, const std::vector<Slot>& slots) {
  Call call{};
  call.slot = &slots[recipe.below(static_cast<std::uint32_t>(slots.size()))];
  call.setting.flavour = call.slot->flavour;
  call.setting.encoding = sessions[recipe.byte() % std::size(sessions)];
  const unsigned services = recipe.byte();
  call.setting.services = {(services & 1) != 0, (services & 2) != 0, (services & 4) != 0};
  call.pad = (services & 8) != 0;
  call.convertStatus = services & 16 ? 0x805F1234 : 0;
  const unsigned behaviour = recipe.byte();
  call.nth = 1 + behaviour % 8;
  switch (behaviour / 8 % 8) {
    case 4:
      call.setting.refuseMemory = true;
      break;
    case 5:
      call.setting.refuseConversions = true;
      break;
    case 6:
      call.refuses = true;
      call.refused = failing[behaviour / 64 % std::size(failing)];
      break;
    case 7:
      call.lies = true;
      call.lie = lies[recipe.byte() % std::size(lies)];
      break;
    default:
      break;
  }
  const unsigned shifts = recipe.byte();
  call.inputShift = shifts & 15;
  call.outputShift = shifts >> 4;
  const std::uint8_t how = recipe.byte();
  const std::uint32_t room = recipe.below(0x400);
  call.text = textOf(*call.slot, call.setting.encoding, how, recipe.rest());
  call.capacity = how & 0x80 ? 12 * call.units() + 16 : room;
  call.capacity = std::min<std::uint64_t>(call.capacity, mostBytes / 2 / call.slot->outputUnit());
  return call;
}

Session& sessionOf(std::uint32_t encoding) {
  static std::vector<std::unique_ptr<Session>> all;
  for (const auto& session : all)
    if (session->encoding == encoding) return *session;
  all.push_back(std::make_unique<Session>(encoding));
  all.back()->host.recording = false;
  return *all.back();
}

void prepare(MockHost& host, const Call& call) {
  host.behave();
  host.offer(call.setting.services);
  host.convertStatus = call.convertStatus;
  if (call.setting.refuseMemory) host.refuse(Service::allocate, 0);
  if (call.setting.refuseConversions) host.refuse(Service::convert, 0);
  if (call.refuses) host.refuse(call.refused, call.nth);
  if (call.lies) host.lie(call.lie, call.nth);
}

/// The blank of the form that a padded transform fills with.
std::vector<std::uint8_t> blankOf(std::uint32_t form) {
  std::vector<std::uint8_t> blank = encoded(form, U" ");
  return blank;
}

std::uint32_t formOf(std::string_view name) {
  if (name.ends_with("UTF8")) return utf8;
  if (name.substr(3).starts_with("UTF16")) return name.ends_with('B') ? utf16Big : utf16Little;
  return name.ends_with('B') ? utf32Big : utf32;
}

/// What an honest transcoder alone would have given.
void checkTransform(const Call& call, const Answer& answer, const std::uint8_t* output, std::uint64_t room) {
  const Slot& slot = *call.slot;
  const bool pads = call.pad && slot.shape == Shape::paddedTransform;
  const std::uint64_t capacityBytes = call.capacity * slot.outputUnit();
  const std::uint32_t form = formOf(slot.name);
  std::vector<std::uint8_t> expected(room, untouched);
  if (pads) {
    const std::vector<std::uint8_t> blank = blankOf(form);
    for (std::uint64_t i = 0; i < room; ++i) expected[i] = blank[i % blank.size()];
  }
  Conversion done{0x805FFFFF, 0};  // the mock's refusal
  const Encoding &session = *encodingOf(call.setting.encoding), &unicode = *encodingOf(form);
  if (!call.setting.refuseConversions) {
    done = slot.isPut()
               ? convert(session, unicode, call.text.data(), call.text.size(), expected.data(), capacityBytes)
               : convert(unicode, session, call.text.data(), call.text.size(), expected.data(), capacityBytes);
    if (done.status == 0) done.status = call.convertStatus;
  }
  expect(answer.status == done.status, "the transcoder's status", slot.name);
  const std::uint64_t produced = slot.isPut() ? done.produced : done.produced / slot.outputUnit();
  expect(answer.written == (pads ? call.capacity : produced), "the transform's length", slot.name);
  expect(std::equal(expected.begin(), expected.end(), output), "the transform's bytes", slot.name);
}

/// The call alone, between guard pages.
void callGuarded(const Call& call) {
  static GuardedBuffer input(mostBytes + 16), output(mostBytes + 64);
  const Slot& slot = *call.slot;
  Session& session = sessionOf(call.setting.encoding);
  const Library& library = Library::get();
  RQKernel* const registered = *library.exportedHandle;
  library.rqextent(session.host.kernel());
  prepare(session.host, call);

  const std::uint64_t capacityBytes = call.capacity * slot.outputUnit();
  const std::uint64_t room = capacityBytes + slot.overshoot(call.capacity, call.pad);
  std::uint8_t* const in = input.place(call.text.size() + call.inputShift);
  if (!call.text.empty()) std::memcpy(in, call.text.data(), call.text.size());
  std::uint8_t* const out = output.place(room + call.outputShift);
  const Answer answer = callSlot(slot, slotsOf(session.object, slot.flavour), session.object, in, call.units(), out,
                                 call.capacity, call.pad);
  library.rqextent(registered);

  for (unsigned i = 0; i < call.outputShift; ++i)
    expect(out[room + i] == untouched, "bytes beyond the documented overshoot", slot.name);
  expect(output.intact(), "bytes before the output", slot.name);
  expect(std::equal(call.text.begin(), call.text.end(), in), "the input is changed", slot.name);
  const MockHost& host = session.host;
  expect(host.livePools == 1 && host.liveBlocks == 1 && host.liveTranscoders == 14 && host.mistakes == 0,
         "what was taken is not given back", slot.name);
  if (const char* mistake = mistakeOf(slot, answer, out, room, untouched)) broken(mistake, slot.name);
  const bool isTransform = slot.shape == Shape::transform || slot.shape == Shape::paddedTransform;
  if (isTransform && call.isHonest()) checkTransform(call, answer, out, room);
}

void compareWithTwin(const Call& call) {
  static Comparison compare;
  for (unsigned operation = 0; operation < operationCount; ++operation)
    if (std::string_view(nameOfOperation(operation)) == call.slot->name)
      expect(compare(call.setting, operation, call.text, call.capacity), "the naive twin differs", call.slot->name);
}

}  // namespace

std::vector<Slot> slotsNamed(const std::vector<std::string>& names) {
  std::vector<Slot> slots;
  for (const Slot& slot : allSlots())
    if (std::find(names.begin(), names.end(), slot.name) != names.end()) slots.push_back(slot);
  return slots;
}

std::vector<std::string> namesOf(const std::vector<Slot>& slots) {
  static const char* const functions[] = {
#define OPERATION(position, slot, function, shape) #function,
#include "frame/operations.def"
#undef OPERATION
  };
  constexpr const char* prefixes[] = {"ul", "S_ul", "T_ul"};
  std::vector<std::string> names;
  for (const Slot& slot : slots) {
    names.push_back(slot.fullName());
    names.push_back(std::string(prefixes[static_cast<unsigned>(slot.flavour)]) + functions[slot.position - 1]);
  }
  return names;
}

void exercise(Recipe& recipe, const std::vector<Slot>& slots) {
  const Call call = callOf(recipe, slots);
  callGuarded(call);
  if (call.isHonest() && call.convertStatus == 0) compareWithTwin(call);
}

}  // namespace rq::fuzz
