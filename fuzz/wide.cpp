// Counted strings of RQChar and the case tables, each routine against its definition character by character.
//
// Invariants: the answer is the definition's; the shift and aux tables say the same; a case service is asked for
// every character from U+0080 up, and for no other; nothing outside the counted characters is read or written.
#include <algorithm>

#include "routines.h"

namespace rq::fuzz {
namespace {

using Chars = Units<RQChar>;
constexpr std::uint64_t most = 200;

/// The mapping of one character as the exported tables define it.
RQChar byTables(RQChar c, const char* shifts, const char* aux) {
  if (c >= 0x10000) return c;
  const auto* const meta = test::Library::get().symbol<const std::int16_t*>("skz_metatable");
  const std::int16_t start = meta[c >> 7];
  if (start < 0) return c;
  const std::int8_t shift =
      test::Library::get().symbol<const std::int8_t*>(shifts)[start + static_cast<int>(c & 127)];
  if (shift != -128) return c + static_cast<RQChar>(static_cast<std::int32_t>(shift));
  for (const auto* pair = test::Library::get().symbol<const RQChar*>(aux); *pair; pair += 2)
    if (*pair == c) return pair[1];
  broken("a character without its pair in the aux table", aux);
}
RQChar upper(RQChar c) {
  return byTables(c, "skz_upshift", "skz_upaux");
}
RQChar lower(RQChar c) {
  return byTables(c, "skz_downshift", "skz_downaux");
}

using Mapping = void(RQChar*, std::int64_t);

test::MockHost& registeredHost(Recipe& recipe) {
  static test::MockHost host;
  host.recording = false;
  host.offer({(recipe.byte() & 1) != 0, false, false});
  test::Library::get().rqextent(host.kernel());
  return host;
}

template <RQChar (*map)(RQChar), test::Service asked>
void checkCase(const char* name, Recipe& recipe) {
  test::MockHost& host = registeredHost(recipe);
  Chars text(recipe, most);
  RQCaseService* const service = host.kernel()->caseService;
  std::uint64_t questions = 0;
  for (RQChar& c : text.before) {
    if (c < 0x80 || !service) {
      c = map(c);
      continue;
    }
    ++questions;
    c = asked == test::Service::upper ? service->upper(service, c, 1) : service->lower(service, c, 1);
  }
  const std::uint64_t before = host.count(asked);
  functionNamed<Mapping>(name)(text.at, static_cast<std::int64_t>(text.count));
  expect(host.count(asked) - before == questions, "the questions to the case service", name);
  expect(text.now() == text.before && text.intact(), "the case", name);
}

/// The smallest and largest members: a member maps to itself and to what its whole class maps to.
void checkClass(const char* name, Recipe& recipe) {
  registeredHost(recipe);
  Chars text(recipe, most);
  const auto count = static_cast<std::int64_t>(text.count);
  Mapping* const map = functionNamed<Mapping>(name);
  const bool smallest = std::strcmp(name, "rqzstmin") == 0;
  map(text.at, count);
  const std::vector<RQChar> once = text.now();
  for (std::uint64_t i = 0; i < text.count; ++i)
    expect(smallest ? once[i] <= text.before[i] : once[i] >= text.before[i], "the direction", name);
  map(text.at, count);
  expect(text.now() == once && text.intact(), "mapped twice", name);
  for (std::uint64_t i = 0; i < text.count; ++i) {
    RQChar alone = text.before[i];
    map(&alone, 1);
    expect(alone == once[i], "a character alone", name);
  }
}

void checkPosition(const char* name, Recipe& recipe) {
  const RQChar wanted = recipe.byte() & 1 ? RQChar{0xE9} : static_cast<RQChar>(recipe.word());
  Chars text(recipe, most);
  const auto hit = std::find(text.before.begin(), text.before.end(), wanted);
  const std::int64_t expected = hit == text.before.end() ? -1 : hit - text.before.begin();
  const auto position = functionNamed<std::int64_t(const RQChar*, std::int64_t, RQChar)>(name);
  expect(position(text.at, static_cast<std::int64_t>(text.count), wanted) == expected, "the index", name);
  expect(position(nullptr, 5, wanted) == -1 && position(text.at, -3, wanted) == -1, "nothing to search", name);
}

/// Two strings that are alike but for case, blanks and a place or two.
void makeAlike(Recipe& recipe, Chars& a, Chars& b) {
  const std::uint64_t n = std::min(a.count, b.count);
  if ((recipe.byte() & 1) == 0) return;
  for (std::uint64_t i = 0; i < n; ++i) b.before[i] = recipe.byte() < 0x40 ? upper(a.before[i]) : a.before[i];
  if (recipe.byte() & 1) std::fill(b.before.begin() + static_cast<std::ptrdiff_t>(n), b.before.end(), RQChar{' '});
  if (recipe.byte() & 1 && n) b.before[recipe.below(static_cast<std::uint32_t>(n))] = recipe.byte();
  if (b.count) std::memcpy(static_cast<void*>(b.at), b.before.data(), b.count * sizeof(RQChar));
}

void checkEqual(const char* name, Recipe& recipe) {
  Chars a(recipe, most), b(recipe, most);
  makeAlike(recipe, a, b);
  bool same = a.count == b.count;
  for (std::uint64_t i = 0; same && i < a.count; ++i) same = lower(a.before[i]) == lower(b.before[i]);
  const auto equal = functionNamed<std::int32_t(const RQChar*, std::int64_t, const RQChar*, std::int64_t)>(name);
  const auto na = static_cast<std::int64_t>(a.count), nb = static_cast<std::int64_t>(b.count);
  expect(equal(a.at, na, b.at, nb) == same, "equal ignoring case", name);
}

std::int32_t ordered(const std::vector<RQChar>& a, const std::vector<RQChar>& b) {
  std::int32_t caseOnly = 0;
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto x = static_cast<std::int32_t>(lower(a[i])), y = static_cast<std::int32_t>(lower(b[i]));
    if (x != y) return x < y ? -2 : 2;
    if (a[i] != b[i] && caseOnly == 0)
      caseOnly = static_cast<std::int32_t>(a[i]) < static_cast<std::int32_t>(b[i]) ? -1 : 1;
  }
  const std::vector<RQChar>& longer = a.size() > b.size() ? a : b;
  for (std::size_t i = n; i < longer.size(); ++i)
    if (longer[i] != ' ') return &longer == &a ? 2 : -2;
  return caseOnly;
}

void checkOrder(const char* name, Recipe& recipe) {
  Chars a(recipe, most), b(recipe, most);
  makeAlike(recipe, a, b);
  const auto compare = functionNamed<std::int32_t(const RQChar*, std::int64_t, const RQChar*, std::int64_t)>(name);
  const auto na = static_cast<std::int64_t>(a.count), nb = static_cast<std::int64_t>(b.count);
  expect(compare(a.at, na, b.at, nb) == ordered(a.before, b.before), "the order", name);
}

constexpr Routine routines[] = {
    {"rqzspos", checkPosition},
    {"rqzstlo", checkCase<lower, test::Service::lower>},
    {"rqzstup", checkCase<upper, test::Service::upper>},
    {"rqzseqn", checkEqual},
    {"rqzsncmp", checkOrder},
    {"rqzstmin", checkClass},
    {"rqzstmax", checkClass},
};

}  // namespace

void runOnce(Recipe& recipe) {
  const Routine& routine = routines[recipe.byte() % std::size(routines)];
  routine.check(routine.name, recipe);
}

std::vector<std::string> coveredNames() {
  std::vector<std::string> names = namesOf(routines, std::size(routines));
  for (const char* table : {"skz_metatable", "skz_upshift", "skz_upaux", "skz_downshift", "skz_downaux"})
    names.emplace_back(table);  // read by the definition of every case check
  return names;
}

}  // namespace rq::fuzz
