// The kit's byte and 4-byte routines against their definitions, unit by unit.
//
// What must hold: the answer is the definition's; no byte outside the counted ones is read or written, at any
// address; null is accepted where it is allowed, and nothing else is read then.
#include "tests/model/kit.h"
#include "tests/differential/family.h"
#include "tests/differential/units.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

using twin::Byte;

void checkUnsupported(const char* name, Choices&) {
  expect(skUnsup() == RQ_UNSUPPORTED, "the status", name);
}

/// A terminated string; it may end earlier than its buffer.
template <class U>
Units<U> stringIn(Choices& choices, CaseBuffer& buffer) {
  const Units<U> text = placeUnits<U>(choices, buffer, countOf(choices) + 1);
  writeUnits(choices, text);
  twin::set(text.at, text.n - 1, U{0});
  return text;
}

template <const auto& routine, class U>
void checkLength(const char* name, Choices& choices) {
  const Units<U> text = stringIn<U>(choices, first());
  expect(routine(text.at) == twin::length(text.at), "the length", name);
  expect(routine(nullptr) == 0, "the length of null", name);
}

template <const auto& routine, class U>
void checkStringCopy(const char* name, Choices& choices) {
  const Units<U> text = stringIn<U>(choices, first());
  const Units<U> copy = placeUnits<U>(choices, second(), twin::length(text.at) + 1);
  routine(text.at, copy.at);
  expect(std::memcmp(static_cast<const void*>(copy.at), static_cast<const void*>(text.at), copy.bytes()) == 0,
         "the copy", name);
  expect(second().isIntact(), "bytes around the copy", name);
  routine(text.at, nullptr);
  const Units<U> empty = placeUnits<U>(choices, second(), 1);
  routine(nullptr, empty.at);
  expect(twin::get(empty.at, 0) == 0 && second().isIntact(), "the copy of null", name);
}

template <const auto& routine, auto define>
void checkAsciiCase(const char* name, Choices& choices) {
  const Units<Byte> text = unitsIn<Byte>(choices, first());
  define(expected.of(text), text.n);
  routine(text.at, text.n);
  expect(expected == text && first().isIntact(), "ASCII case", name);
}

/// In the 32 bits that byte values arrive in, only the low 8 count.
template <class U>
std::uint32_t argumentFor(Choices& choices, U value) {
  return sizeof(U) == 1 ? value | std::uint32_t{choices.byte()} << 8 : value;
}

template <const auto& routine, class U>
void checkAllEqual(const char* name, Choices& choices) {
  const Units<U> text = unitsIn<U>(choices, first());
  const U value = valueFor(choices, text);
  expect(routine(argumentFor(choices, value), text.at, text.n) == (twin::notScan(text.at, text.n, value) < 0),
         "all equal", name);
}

template <const auto& routine, class U>
void checkFill(const char* name, Choices& choices) {
  const Units<U> text = unitsIn<U>(choices, first());
  const U value = valueFor(choices, text);
  twin::fill(expected.of(text), value, text.n);
  routine(text.at, argumentFor(choices, value), text.n);
  expect(expected == text && first().isIntact(), "the fill", name);
}

template <const auto& routine, class U>
void checkCompare(const char* name, Choices& choices) {
  const Units<U> a = unitsIn<U>(choices, first());
  const Units<U> b = placeUnits<U>(choices, second(), a.n);
  std::memcpy(static_cast<void*>(b.at), static_cast<const void*>(a.at), a.bytes());
  const unsigned kind = choices.byte();
  if (kind % 8 == 0) writeUnits(choices, b);
  for (unsigned left = kind / 8 % 3; left > 0; --left) spoil(choices, b);
  expect(routine(a.at, b.at, a.n) == twin::compare(a.at, b.at, a.n), "the order", name);
}

/// Copies inside one buffer, whichever way the ranges overlap.
template <const auto& routine, auto define>
void checkCopy(const char* name, Choices& choices) {
  const Units<Byte> text = unitsIn<Byte>(choices, first());
  const std::uint64_t n = choices.below(static_cast<std::uint32_t>(text.n + 1));
  const std::uint64_t from = choices.below(static_cast<std::uint32_t>(text.n - n + 1));
  const std::uint64_t to = choices.below(static_cast<std::uint32_t>(text.n - n + 1));
  Byte* const copy = expected.of(text);
  define(copy + from, copy + to, n);
  if constexpr (std::is_void_v<decltype(routine(text.at, text.at, n))>)
    routine(text.at + from, text.at + to, n);
  else
    expect(routine(text.at + from, text.at + to, n) == text.at + to, "the result", name);
  expect(expected == text && first().isIntact(), "the copy", name);
}

void checkDup(const char* name, Choices& choices) {
  static MockHost host;
  static RQPool* const pool = [] {
    RQPoolParameters parameters = {};
    host.recording = false;
    return host.kernel()->createPool(host.kernel(), &parameters, host.journal(), "RQUNI Extension");
  }();
  host.schedule.clear();
  if (choices.oneIn(4)) host.schedule.refuse(Service::allocate, 1);
  const Units<Byte> text = unitsIn<Byte>(choices, first());
  const std::uint64_t asked = host.count(Service::allocate);
  void* const copy = skMemDup(text.at, text.n, pool);
  expect(host.count(Service::allocate) == asked + 1, "one block asked for", name);
  if (copy) {
    expect(text.n == 0 || std::memcmp(copy, text.at, text.n) == 0, "the copy", name);
    pool->release(pool, copy);
  }
  expect(!skMemDup(nullptr, text.n, pool) && !skMemDup(text.at, text.n, nullptr), "null", name);
  expect(host.count(Service::allocate) == asked + 1 && host.mistakes == 0 && host.liveBlocks == 0,
         "the pool's balance", name);
}

template <const auto& routine, class U, auto define>
void checkScan(const char* name, Choices& choices) {
  const Units<U> text = unitsIn<U>(choices, first());
  const U value = valueFor(choices, text);
  const std::uint32_t argument = argumentFor(choices, value);
  expect(routine(text.at, text.n, argument) == define(text.at, text.n, value), "the index", name);
  expect(routine(nullptr, text.n, argument) == -1, "the index in null", name);
}

void checkMissing(const char* name, Choices& choices) {
  constexpr std::uint64_t edges[] = {0x7FF0000000000000, 0xFFF0000000000000, 0x7FF0000000000001, 0x7FF0000100000000,
                                     0x7FEFFFFFFFFFFFFF, 0xFFF8000000000000, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000};
  const Units<std::uint64_t> bits = unitsIn<std::uint64_t>(choices, first());
  if (choices.byte() & 1 && bits.n)
    twin::set(bits.at, choices.below(static_cast<std::uint32_t>(bits.n)), edges[choices.byte() % 8]);
  const void* const array = bits.at;
  expect(skMissArray(static_cast<const double*>(array), bits.n) == twin::hasMissing(bits.at, bits.n), "missing",
         name);
}

constexpr Routine routines[] = {
    {"skUnsup", checkUnsupported},
    {"skStrLen", checkLength<skStrLen, char>},
    {"skStrTLen", checkLength<skStrTLen, RQChar>},
    {"skStrCpy", checkStringCopy<skStrCpy, char>},
    {"skStrTCpy", checkStringCopy<skStrTCpy, RQChar>},
    {"skStrUp", checkAsciiCase<skStrUp, twin::upperAscii>},
    {"skStrLow", checkAsciiCase<skStrLow, twin::lowerAscii>},
    {"skMemNot", checkAllEqual<skMemNot, Byte>},
    {"skMemTNot", checkAllEqual<skMemTNot, RQChar>},
    {"skMemSet", checkFill<skMemSet, Byte>},
    {"skMemTSet", checkFill<skMemTSet, RQChar>},
    {"skMemCmp", checkCompare<skMemCmp, Byte>},
    {"skWMemCmp", checkCompare<skWMemCmp, RQChar>},
    {"skMemCpy", checkCopy<skMemCpy, twin::copyForward>},
    {"skMemSCpy", checkCopy<skMemSCpy, twin::copySafe>},
    {"skMemDup", checkDup},
    {"skMemScan", checkScan<skMemScan, Byte, twin::scan<Byte>>},
    {"skMemNScan", checkScan<skMemNScan, Byte, twin::notScan<Byte>>},
    {"skMemTNScan", checkScan<skMemTNScan, RQChar, twin::notScan<RQChar>>},
    {"skMissArray", checkMissing},
};

}  // namespace

const Family kitFamily = {"kit", [](Choices& choices) { runOneOf(routines, choices); },
                          [] { return namesOf(routines); }};

}  // namespace rq::test
