// The wide-string routines beside ICU, libunistring, utf8proc, the C library and a loop over the exported tables.
#include <unicase.h>
#include <unicode/uchar.h>
#include <utf8proc.h>

#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <vector>

#include "bench/families.h"
#include "bench/peers/loops.h"
#include "bench/support/cell.h"
#include "bench/support/host.h"
#include "bench/support/library.h"
#include "bench/support/row.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

/// Texts begin a cache line, wherever the heap would put them: half of all vectors would cross lines.
template <class T>
struct LineAllocator {
  using value_type = T;
  static constexpr std::align_val_t line{64};
  LineAllocator() = default;
  template <class Other>
  LineAllocator(const LineAllocator<Other>&) {}
  T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), line)); }
  void deallocate(T* p, std::size_t) { ::operator delete(p, line); }
  bool operator==(const LineAllocator&) const { return true; }
};
using Text = std::basic_string<char32_t, std::char_traits<char32_t>, LineAllocator<char32_t>>;
using Shared = std::shared_ptr<Text>;

constexpr std::pair<const char*, Script> scripts[] = {{"ascii", Script::ascii},
                                                      {"cyrillic", Script::cyrillic},
                                                      {"greek", Script::greek},
                                                      {"cjk", Script::cjk},
                                                      {"mixed", Script::mixed}};

/// Numbers of characters to measure with; the finer ones are for a curve.
std::vector<std::size_t> counts(bool finer) {
  if (finer) return {16, 64, 256, 1024, 4096, 65536, 1 << 20};
  return {16, 4096};
}

std::int64_t length(const Text& text) {
  return static_cast<std::int64_t>(text.size());
}
RQChar* characters(Text& text) {
  return reinterpret_cast<RQChar*>(text.data());
}
wchar_t* wides(Text& text) {
  return reinterpret_cast<wchar_t*>(text.data());
}

Text textOf(Script script, std::size_t count) {
  const std::u32string made = text(script, count);
  return {made.begin(), made.end()};
}

Text mappedBy(Text text, UChar32 (*map)(UChar32)) {
  for (char32_t& c : text) c = static_cast<char32_t>(map(static_cast<UChar32>(c)));
  return text;
}

/// A column that maps a text in place and then back, so that no pass finds its work done; a call is half of it.
template <class Up, class Low>
void mapping(const std::string& row, const std::string& column, const Text& text, bool built, Up up, Low low,
             bool served = false) {
  const auto work = std::make_shared<Text>(text);
  const double bytes = 2 * 4.0 * static_cast<double>(text.size());
  Cell cell{row + "/" + std::to_string(text.size()) + "/" + column, bytes, 2.0 * static_cast<double>(text.size())};
  cell.served = served;
  cell.refusal = [=]() -> const char* {
    if (!built) return "not built";
    const Text lower = *work;
    up(*work);
    if (*work != mappedBy(lower, u_toupper)) return "wrong answer";
    low(*work);
    return *work == lower ? nullptr : "wrong answer";
  };
  timed(cell, [=] { return up(*work), low(*work), 0; });
}

template <class Map>
auto each(Map map) {
  return [map](Text& text) {
    for (char32_t& c : text) c = static_cast<char32_t>(map(c));
  };
}

void caseMapping() {
  const auto up = RQ_OURS(rqzstup);
  const auto low = RQ_OURS(rqzstlo);
  const auto* const meta = static_cast<const std::int16_t*>(findSymbol("skz_metatable"));
  const auto* const upShift = static_cast<const std::int8_t*>(findSymbol("skz_upshift"));
  const auto* const downShift = static_cast<const std::int8_t*>(findSymbol("skz_downshift"));
  const auto* const upAux = static_cast<const RQChar*>(findSymbol("skz_upaux"));
  const auto* const downAux = static_cast<const RQChar*>(findSymbol("skz_downaux"));
  const auto unistringUp = opaque(uc_toupper);
  const auto unistringLow = opaque(uc_tolower);
  for (const auto& [name, script] : scripts) {
    for (std::size_t count : counts(script == Script::ascii || script == Script::cyrillic)) {
      const Text sample = textOf(script, count);
      const std::string row = std::string("wide/rqzstup+rqzstlo ") + name;
      mapping(
          row, "ours", sample, up && low, [=](Text& t) { up(characters(t), length(t)); },
          [=](Text& t) { low(characters(t), length(t)); });
      mapping(row, "libunistring", sample, true, each([=](char32_t c) { return unistringUp(c); }),
              each([=](char32_t c) { return unistringLow(c); }));
      mapping(row, "icu", sample, true, each([](char32_t c) { return u_toupper(static_cast<UChar32>(c)); }),
              each([](char32_t c) { return u_tolower(static_cast<UChar32>(c)); }));
      mapping(row, "utf8proc", sample, true,
              each([](char32_t c) { return utf8proc_toupper(static_cast<utf8proc_int32_t>(c)); }),
              each([](char32_t c) { return utf8proc_tolower(static_cast<utf8proc_int32_t>(c)); }));
      mapping(row, "towupper", sample, true, each([](char32_t c) { return std::towupper(c); }),
              each([](char32_t c) { return std::towlower(c); }));
      if (!meta || !upShift || !downShift || !upAux || !downAux) continue;
      for (const Loops* loops : {&loopsV3, &loopsNative})
        mapping(
            row, loops->column, sample, true,
            [=](Text& t) {
              loops->mapCase({meta, upShift, upAux}, characters(t), t.size());
            },
            [=](Text& t) {
              loops->mapCase({meta, downShift, downAux}, characters(t), t.size());
            });
    }
  }
  for (Script script : {Script::ascii, Script::cyrillic}) {
    const Text sample = textOf(script, 4096);
    const std::string row =
        std::string("wide/rqzstup+rqzstlo served ") + (script == Script::ascii ? "ascii" : "cyrillic");
    const bool registered = up && low && object(RQ_ENCODING_UTF8);
    mapping(
        row, "ours", sample, registered, [=](Text& t) { up(characters(t), length(t)); },
        [=](Text& t) { low(characters(t), length(t)); }, true);
    RQCaseService* const service = caseService();
    mapping(
        row, "host", sample, true, each([=](char32_t c) {
          return c < 0x80 ? u_toupper(static_cast<UChar32>(c)) : static_cast<UChar32>(service->upper(service, c, 1));
        }),
        each([=](char32_t c) {
          return c < 0x80 ? u_tolower(static_cast<UChar32>(c)) : static_cast<UChar32>(service->lower(service, c, 1));
        }));
  }
}

/// The smallest and largest members of the case classes: characters of the BMP that simple mappings of Unicode 9.0
/// connect, found by asking ICU for every one of them.
struct Classes {
  std::vector<char32_t> smallest, largest;
  Classes() : smallest(0x10000), largest(0x10000) {
    std::vector<char32_t> parent(0x10000);
    std::iota(parent.begin(), parent.end(), U'\0');
    auto root = [&](char32_t c) {
      while (parent[c] != c) c = parent[c] = parent[parent[c]];
      return c;
    };
    auto known = [](UChar32 c) {
      UVersionInfo age;
      u_charAge(c, age);
      return c < 0x10000 && age[0] != 0 && age[0] <= 9;
    };
    for (UChar32 c = 0; c < 0x10000; ++c)
      for (UChar32 other : {u_tolower(c), u_toupper(c), u_totitle(c)})
        if (other != c && known(c) && known(other))
          parent[root(static_cast<char32_t>(c))] = root(static_cast<char32_t>(other));
    for (char32_t c = 0x10000; c-- > 0;) smallest[root(c)] = c;
    for (char32_t c = 0; c < 0x10000; ++c) largest[root(c)] = c;
    for (char32_t c = 0; c < 0x10000; ++c) smallest[c] = smallest[root(c)], largest[c] = largest[root(c)];
  }
};

void classMembers() {
  static const Classes classes;
  const std::tuple<const char*, decltype(&::rqzstmin), const std::vector<char32_t>*> both[] = {
      {"rqzstmin", RQ_OURS(rqzstmin), &classes.smallest}, {"rqzstmax", RQ_OURS(rqzstmax), &classes.largest}};
  for (const auto& [routine, function, members] : both) {
    for (const auto& [name, script] : scripts) {
      const Text sample = textOf(script, 4096);
      const auto work = std::make_shared<Text>(sample);
      const std::string row = std::string("wide/") + routine + " " + name + "/4096/";
      const auto reset = [=] { *work = sample; };
      Cell cell{row + "ours", 4.0 * 4096, 4096, reset};
      cell.refusal = [=, f = function, m = members]() -> const char* {
        if (!f) return "not built";
        f(characters(*work), length(*work));
        for (std::size_t i = 0; i < sample.size(); ++i)
          if ((*work)[i] != (*m)[sample[i]]) return "wrong answer";
        return nullptr;
      };
      timedAfresh(cell, [=, f = function] { return f(characters(*work), length(*work)), 0; });
      timedAfresh(Cell{row + "u_foldCase", 4.0 * 4096, 4096, reset}, [=] {
        for (char32_t& c : *work) c = static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
        return 0;
      });
    }
  }
}

bool equalFolded(const Text& a, const Text& b) {
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i] && u_foldCase(static_cast<UChar32>(a[i]), 0) != u_foldCase(static_cast<UChar32>(b[i]), 0))
      return false;
  return true;
}

template <class Call>
void comparison(const std::string& name, std::size_t count, bool built, bool expected, Call call) {
  Cell cell{name, 4.0 * static_cast<double>(count), static_cast<double>(count)};
  cell.refusal = [=]() -> const char* {
    if (!built) return "not built";
    return call() == expected ? nullptr : "wrong answer";
  };
  timed(cell, call);
}

void comparisons() {
  const auto equal = RQ_OURS(rqzseqn);
  const auto compare = RQ_OURS(rqzsncmp);
  const auto foldLoop = opaque(equalFolded);
  for (const auto& [name, script] : scripts) {
    if (script == Script::cjk || script == Script::mixed) continue;
    for (bool identical : {false, true}) {
      for (std::size_t count : counts(script == Script::cyrillic)) {
        if (count == 16 && script != Script::cyrillic) continue;
        const auto a = std::make_shared<Text>(textOf(script, count));
        const auto b = std::make_shared<Text>(identical ? *a : mappedBy(*a, u_toupper));
        const std::string job =
            std::string(" ") + name + (identical ? " identical/" : " differing/") + std::to_string(count) + "/";
        for (const char* routine : {"wide/rqzseqn", "wide/rqzsncmp"}) {
          comparison(routine + job + "u_foldCase", count, true, true, [=] { return foldLoop(*a, *b); });
          comparison(routine + job + "wcsncasecmp", count, true, true,
                     [=] { return wcsncasecmp(wides(*a), wides(*b), a->size()) == 0; });
        }
        comparison("wide/rqzseqn" + job + "ours", count, equal, true,
                   [=] { return equal(characters(*a), length(*a), characters(*b), length(*b)) == 1; });
        comparison("wide/rqzsncmp" + job + "ours", count, compare, true, [=] {
          return compare(characters(*a), length(*a), characters(*b), length(*b)) == (identical ? 0 : 1);
        });
      }
    }
  }
}

}  // namespace

void registerWide() {
  caseMapping();
  classMembers();
  comparisons();
}

}  // namespace rq::bench
