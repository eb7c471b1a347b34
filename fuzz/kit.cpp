// The kit's byte and 4-byte routines against their definitions.
//
// Invariants: the answer is the definition's; no byte outside the counted ones is read or written, at any alignment.
#include <algorithm>

#include "routines.h"

namespace rq::fuzz {
namespace {

using Byte = std::uint8_t;
using Bytes = Units<Byte>;
using Chars = Units<RQChar>;
constexpr std::uint64_t most = 600;

template <class Unit>
void checkLength(const char* name, Recipe& recipe) {
  Units<Unit> text(recipe, most);
  if (text.count == 0) return;
  text.before.back() = 0;
  std::memcpy(static_cast<void*>(text.at), text.before.data(), text.count * sizeof(Unit));
  const auto zero = std::find(text.before.begin(), text.before.end(), Unit{0});
  using Function = std::uint64_t(const Unit*);
  const auto length = functionNamed<Function>(name)(text.at);
  expect(length == static_cast<std::uint64_t>(zero - text.before.begin()), "the length", name);
  expect(functionNamed<Function>(name)(nullptr) == 0, "the length of null", name);
}

template <class Unit>
void checkStringCopy(const char* name, Recipe& recipe) {
  Units<Unit> text(recipe, most);
  if (text.count == 0) return;
  text.before.back() = 0;
  std::memcpy(static_cast<void*>(text.at), text.before.data(), text.count * sizeof(Unit));
  const std::size_t size =
      static_cast<std::size_t>(std::find(text.before.begin(), text.before.end(), Unit{0}) - text.before.begin()) + 1;
  test::GuardedBuffer output(8192);
  auto* const out = reinterpret_cast<Unit*>(output.place(size * sizeof(Unit)));
  functionNamed<void(const Unit*, Unit*)>(name)(text.at, out);
  expect(std::memcmp(static_cast<const void*>(out), text.before.data(), size * sizeof(Unit)) == 0, "the copy", name);
  expect(output.intact(), "bytes before the copy", name);
  functionNamed<void(const Unit*, Unit*)>(name)(text.at, nullptr);
}

template <bool upper>
void checkAsciiCase(const char* name, Recipe& recipe) {
  Bytes text(recipe, most);
  functionNamed<void(void*, std::uint64_t)>(name)(text.at, text.count);
  constexpr Byte first = upper ? 'a' : 'A';
  for (Byte& byte : text.before)
    if (byte >= first && byte < first + 26) byte = static_cast<Byte>(upper ? byte - 32 : byte + 32);
  expect(text.now() == text.before && text.intact(), "ASCII case", name);
}

void checkAllEqual(const char* name, Recipe& recipe) {
  const std::uint32_t value = recipe.byte() & 1 ? 'a' | 0x4500 : recipe.byte();
  Bytes text(recipe, most);
  const bool all = std::all_of(text.before.begin(), text.before.end(), [=](Byte b) { return b == (value & 0xFF); });
  expect(
      functionNamed<std::int32_t(std::uint32_t, const void*, std::uint64_t)>(name)(value, text.at, text.count) == all,
      "all equal", name);
}
void checkAllEqualChars(const char* name, Recipe& recipe) {
  const RQChar value = recipe.byte() & 1 ? RQChar{'a'} : static_cast<RQChar>(recipe.word());
  Chars text(recipe, most);
  const bool all = std::all_of(text.before.begin(), text.before.end(), [=](RQChar c) { return c == value; });
  expect(functionNamed<std::int32_t(RQChar, const RQChar*, std::uint64_t)>(name)(value, text.at, text.count) == all,
         "all equal", name);
}

template <class Unit, class Value>
void checkFill(const char* name, Recipe& recipe) {
  const auto value = static_cast<Value>(recipe.word());
  Units<Unit> text(recipe, most);
  using Buffer = std::conditional_t<sizeof(Unit) == 1, void, RQChar>;
  functionNamed<void(Buffer*, Value, std::uint64_t)>(name)(text.at, value, text.count);
  std::fill(text.before.begin(), text.before.end(), static_cast<Unit>(value));
  expect(text.now() == text.before && text.intact(), "the fill", name);
}

template <class Unit>
void checkCompare(const char* name, Recipe& recipe) {
  Units<Unit> a(recipe, most), b(recipe, most);
  const std::uint64_t n = std::min(a.count, b.count);
  if (recipe.byte() & 1 && n) {  // alike but for one place
    std::copy_n(a.before.begin(), n, b.before.begin());
    b.before[recipe.below(static_cast<std::uint32_t>(n))] ^= static_cast<Unit>(recipe.word());
    std::memcpy(static_cast<void*>(b.at), b.before.data(), b.count * sizeof(Unit));
  }
  std::int32_t expected = 0;
  for (std::uint64_t i = 0; i < n && expected == 0; ++i) {
    if (a.before[i] == b.before[i]) continue;
    const std::uint32_t distance = std::uint32_t{a.before[i]} - std::uint32_t{b.before[i]};
    expected = distance >> 31 ? -1 : 1;
  }
  using Buffer = std::conditional_t<sizeof(Unit) == 1, const void, const RQChar>;
  expect(functionNamed<std::int32_t(Buffer*, Buffer*, std::uint64_t)>(name)(a.at, b.at, n) == expected, "the order",
         name);
}

/// Copies inside one buffer, whichever way the ranges overlap.
template <bool forwards>
void checkCopy(const char* name, Recipe& recipe) {
  Bytes text(recipe, 2 * most);
  const std::uint64_t n = recipe.below(static_cast<std::uint32_t>(text.count + 1));
  const std::uint64_t from = recipe.below(static_cast<std::uint32_t>(text.count - n + 1));
  const std::uint64_t to = recipe.below(static_cast<std::uint32_t>(text.count - n + 1));
  const std::vector<Byte> source = text.before;
  for (std::uint64_t i = 0; i < n; ++i) text.before[to + i] = forwards ? text.before[from + i] : source[from + i];
  if constexpr (forwards)
    expect(functionNamed<void*(const void*, void*, std::uint64_t)>(name)(text.at + from, text.at + to, n) ==
               text.at + to,
           "the result", name);
  else
    functionNamed<void(const void*, void*, std::uint64_t)>(name)(text.at + from, text.at + to, n);
  expect(text.now() == text.before && text.intact(), "the copy", name);
}

void checkDup(const char* name, Recipe& recipe) {
  static test::MockHost host;
  static RQPool* const pool = [] {
    RQPoolParameters parameters = {};
    return host.kernel()->createPool(host.kernel(), &parameters, host.journal(), "RQUNI Extension");
  }();
  host.recording = false;
  host.behave();
  if ((recipe.byte() & 3) == 0) host.refuse(test::Service::allocate, 1);
  Bytes text(recipe, most);
  const std::uint64_t asked = host.count(test::Service::allocate);
  const auto duplicate = functionNamed<void*(const void*, std::uint64_t, RQPool*)>(name);
  void* const copy = duplicate(text.at, text.count, pool);
  expect(host.count(test::Service::allocate) == asked + 1, "one block asked for", name);
  if (copy) {
    expect(text.count == 0 || std::memcmp(copy, text.at, text.count) == 0, "the copy", name);
    pool->release(pool, copy);
  }
  expect(!duplicate(nullptr, text.count, pool) && !duplicate(text.at, text.count, nullptr), "null", name);
  expect(host.count(test::Service::allocate) == asked + 1 && host.mistakes == 0 && host.liveBlocks == 0,
         "the pool's balance", name);
}

template <class Unit, bool equal>
void checkScan(const char* name, Recipe& recipe) {
  using Value = std::uint32_t;
  const Value value = recipe.byte() & 1 ? Value{'a'} : static_cast<Value>(recipe.word());
  Units<Unit> text(recipe, most);
  const auto hit = std::find_if(text.before.begin(), text.before.end(),
                                [=](Unit unit) { return (unit == static_cast<Unit>(value)) == equal; });
  const std::int64_t expected = hit == text.before.end() ? -1 : hit - text.before.begin();
  using Buffer = std::conditional_t<sizeof(Unit) == 1, const void, const RQChar>;
  const auto scan = functionNamed<std::int64_t(Buffer*, std::uint64_t, Value)>(name);
  expect(scan(text.at, text.count, value) == expected && scan(nullptr, text.count, value) == -1, "the index", name);
}

void checkMissing(const char* name, Recipe& recipe) {
  Units<std::uint64_t> bits(recipe, most / 4);
  constexpr std::uint64_t edges[] = {0x7FF0000000000000, 0xFFF0000000000000, 0x7FF0000000000001, 0x7FF0000100000000,
                                     0x7FEFFFFFFFFFFFFF, 0xFFF8000000000000, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000};
  if (bits.count) bits.before[recipe.below(static_cast<std::uint32_t>(bits.count))] = edges[recipe.byte() % 8];
  if (bits.count) std::memcpy(static_cast<void*>(bits.at), bits.before.data(), bits.count * 8);
  const bool missing = std::any_of(bits.before.begin(), bits.before.end(), [](std::uint64_t b) {
    return (b & 0x7FF0000000000000) == 0x7FF0000000000000 && (b & 0x000FFFFFFFFFFFFF) != 0;
  });
  const void* const at = bits.at;
  expect(functionNamed<std::int32_t(const void*, std::uint64_t)>(name)(at, bits.count) == missing, "missing", name);
}

void checkUnsupported(const char* name, Recipe&) {
  expect(functionNamed<RQStatus()>(name)() == RQ_UNSUPPORTED, "the status", name);
}

constexpr Routine routines[] = {
    {"skUnsup", checkUnsupported},
    {"skStrLen", checkLength<char>},
    {"skStrTLen", checkLength<RQChar>},
    {"skStrCpy", checkStringCopy<char>},
    {"skStrTCpy", checkStringCopy<RQChar>},
    {"skStrUp", checkAsciiCase<true>},
    {"skStrLow", checkAsciiCase<false>},
    {"skMemNot", checkAllEqual},
    {"skMemTNot", checkAllEqualChars},
    {"skMemSet", checkFill<Byte, std::uint32_t>},
    {"skMemTSet", checkFill<RQChar, RQChar>},
    {"skMemCmp", checkCompare<Byte>},
    {"skWMemCmp", checkCompare<RQChar>},
    {"skMemCpy", checkCopy<true>},
    {"skMemSCpy", checkCopy<false>},
    {"skMemDup", checkDup},
    {"skMemScan", checkScan<Byte, true>},
    {"skMemNScan", checkScan<Byte, false>},
    {"skMemTNScan", checkScan<RQChar, false>},
    {"skMissArray", checkMissing},
};

}  // namespace

void runOnce(Recipe& recipe) {
  const Routine& routine = routines[recipe.byte() % std::size(routines)];
  routine.check(routine.name, recipe);
}

std::vector<std::string> coveredNames() {
  return namesOf(routines, std::size(routines));
}

}  // namespace rq::fuzz
