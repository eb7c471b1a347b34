// Counted strings of RQChar and the case tables against their definitions, character by character.
//
// What must hold: the answer is the definition's; the exported tables say the same as the lists of pairs; the
// routines call a case service for every character from U+0080 up, once, in order, and for no other; they read and
// write only the counted characters, at any address.
#include <algorithm>

#include "tests/differential/family.h"
#include "tests/differential/units.h"
#include "tests/model/kit.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

using Chars = Units<RQChar>;

std::int64_t lengthOf(const Chars& text) {
  return static_cast<std::int64_t>(text.n);
}

void checkPosition(const char* name, Choices& choices) {
  const Chars text = unitsIn<RQChar>(choices, first());
  const RQChar wanted = valueFor(choices, text);
  expect(rqzspos(text.at, lengthOf(text), wanted) == twin::scan(text.at, text.n, wanted), "the index", name);
  expect(rqzspos(nullptr, 5, wanted) == -1 && rqzspos(text.at, -3, wanted) == -1, "nothing to search", name);
}

/// Maps by the tables, or by the service where there is one.
template <const auto& routine, RQChar (*map)(RQChar), Service asked>
void checkCase(const char* name, Choices& choices) {
  static MockHost host;
  host.forget();
  host.offer({(choices.byte() & 1) != 0, false, false});
  Library::get().rqextent(host.kernel());
  const Chars text = unitsIn<RQChar>(choices, first());
  RQChar* const copy = expected.of(text);
  RQCaseService* const service = host.kernel()->caseService;
  std::size_t requests = 0;
  routine(text.at, lengthOf(text));
  for (std::uint64_t i = 0; i < text.n; ++i) {
    const RQChar c = copy[i];
    if (c < 0x80 || !service) {
      copy[i] = map(c);
      continue;
    }
    expect(requests < host.calls.size() && host.calls[requests].service == asked &&
               host.calls[requests].arguments[1] == c && host.calls[requests].arguments[2] == 1,
           "the calls of the case service", name);
    ++requests;
  }
  expect(host.calls.size() == requests, "more calls of the case service", name);
  if (service)
    for (std::uint64_t i = 0; i < text.n; ++i)
      if (copy[i] >= 0x80)
        copy[i] = asked == Service::upper ? service->upper(service, copy[i], 1) : service->lower(service, copy[i], 1);
  expect(expected == text && first().isIntact(), "the case", name);
  routine(text.at, -lengthOf(text));
  expect(expected == text, "a negative length", name);
}

template <const auto& routine, RQChar (*map)(RQChar)>
void checkClass(const char* name, Choices& choices) {
  const Chars text = unitsIn<RQChar>(choices, first());
  RQChar* const copy = expected.of(text);
  for (std::uint64_t i = 0; i < text.n; ++i) copy[i] = map(copy[i]);
  routine(text.at, lengthOf(text));
  expect(expected == text && first().isIntact(), "the class", name);
  routine(text.at, -lengthOf(text));
  expect(expected == text, "a negative length", name);
}

/// A string like `a`: the other case here and there, a blank tail, a place or two that differ.
Chars alike(Choices& choices, const Chars& a) {
  const unsigned kind = choices.byte();
  const std::uint64_t n = kind & 1 ? a.n : countOf(choices);
  const Chars b = placeUnits<RQChar>(choices, second(), n);
  if ((kind & 6) == 6)
    writeUnits(choices, b);
  else
    twin::fill(b.at, RQChar{' '}, n);
  const unsigned changed = choices.byte();
  for (std::uint64_t i = 0; i < std::min(a.n, n); ++i) {
    const RQChar c = twin::get(a.at, i);
    const unsigned how = changed < 0x80 ? 0 : choices.byte();
    twin::set(b.at, i, how < 0xE0 ? c : how < 0xF0 ? twin::upper(c) : twin::lower(c));
  }
  if ((kind & 0x18) == 0x18) spoil(choices, b);
  return b;
}

void checkEqual(const char* name, Choices& choices) {
  const Chars a = unitsIn<RQChar>(choices, first()), b = alike(choices, a);
  expect(
      rqzseqn(a.at, lengthOf(a), b.at, lengthOf(b)) == twin::equalIgnoringCase(a.at, lengthOf(a), b.at, lengthOf(b)),
      "equal ignoring case", name);
  expect(rqzseqn(a.at, -1, b.at, -1) == 1, "equal negative lengths", name);
}

void checkOrder(const char* name, Choices& choices) {
  const Chars a = unitsIn<RQChar>(choices, first()), b = alike(choices, a);
  expect(rqzsncmp(a.at, lengthOf(a), b.at, lengthOf(b)) == twin::compareIgnoringCase(a.at, a.n, b.at, b.n),
         "the order", name);
  expect(rqzsncmp(b.at, lengthOf(b), a.at, -lengthOf(a)) == twin::compareIgnoringCase(b.at, b.n, a.at, 0) || a.n == 0,
         "the order with a negative length", name);
}

/// The mapping of one character as the exported tables define it.
RQChar byTables(RQChar c, const std::int8_t* shifts, const RQChar* aux, const char* name) {
  const std::int16_t start = skz_metatable[c >> 7];
  if (start < 0) return c;
  const std::int8_t shift = shifts[start + static_cast<int>(c & 127)];
  if (shift != -128) return c + static_cast<RQChar>(static_cast<std::int32_t>(shift));
  for (const RQChar* pair = aux; *pair; pair += 2)
    if (*pair == c) return pair[1];
  differ("a character without its pair in the exceptions", name);
}

/// All characters of one block.
void checkTables(const char* name, Choices& choices) {
  const RQChar block = choices.below(512) << 7;
  for (RQChar c = block; c < block + 128; ++c) {
    expect(byTables(c, skz_upshift, skz_upaux, name) == twin::upper(c), "upper case", name);
    expect(byTables(c, skz_downshift, skz_downaux, name) == twin::lower(c), "lower case", name);
  }
}

constexpr Routine routines[] = {
    {"rqzspos", checkPosition},
    {"rqzstlo", checkCase<rqzstlo, twin::lower, Service::lower>},
    {"rqzstup", checkCase<rqzstup, twin::upper, Service::upper>},
    {"rqzseqn", checkEqual},
    {"rqzsncmp", checkOrder},
    {"rqzstmin", checkClass<rqzstmin, twin::smallest>},
    {"rqzstmax", checkClass<rqzstmax, twin::largest>},
    {"skz_metatable", checkTables},
};

std::vector<std::string> names() {
  std::vector<std::string> all = namesOf(routines);
  for (const char* table : {"skz_upshift", "skz_upaux", "skz_downshift", "skz_downaux"}) all.emplace_back(table);
  return all;  // they are read with the first of the tables
}

}  // namespace

const Family wideFamily = {"wide", [](Choices& choices) { runOneOf(routines, choices); }, names};

}  // namespace rq::test
