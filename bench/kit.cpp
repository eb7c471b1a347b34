// The byte and 4-byte routines of the kit beside the C library, Highway, StringZilla and the compiler's best loops.
#include <cmath>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string_view>

#include "bench/families.h"
#include "bench/peers/highway.h"
#include "bench/peers/loops.h"
#include "bench/peers/standard.h"
#include "bench/peers/stringzilla.h"
#include "bench/support/host.h"
#include "bench/support/library.h"
#include "bench/support/row.h"

namespace rq::bench {
namespace {

using std::int64_t;
using std::size_t;

const Loops* const bothLoops[] = {&loopsV3, &loopsNative};

RQChar* units(Byte* p) {
  return reinterpret_cast<RQChar*>(p);
}
wchar_t* wides(Byte* p) {
  return reinterpret_cast<wchar_t*>(p);
}
char* chars(Byte* p) {
  return reinterpret_cast<char*>(p);
}
double* doubles(Byte* p) {
  return reinterpret_cast<double*>(p);
}
int64_t sign(int64_t value) {
  return (value > 0) - (value < 0);
}
int64_t indexOf(const void* hit, const Byte* p, size_t unitBytes) {
  return hit ? (static_cast<const Byte*>(hit) - p) / static_cast<int64_t>(unitBytes) : -1;
}
int64_t indexBelow(size_t index, size_t n) {
  return index < n ? static_cast<int64_t>(index) : -1;
}

constexpr Byte common = 'a';
constexpr Byte wanted = ';';

template <class T>
void setAll(Byte* p, size_t n, T value) {
  for (size_t i = 0; i < n; ++i) std::memcpy(p + i * sizeof value, &value, sizeof value);
}

/// A column of StringZilla, where it is installed.
template <class Call>
void stringzillaColumn(Row& row, Call call) {
  if (stringzilla::installed) row.column("stringzilla", call);
}

/// Equal units in both buffers, but for the last one of the first, and zero units behind.
template <class T>
void equalButLast(Args x) {
  setAll<T>(x.a, x.n, common);
  setAll<T>(x.b, x.n, common);
  setAll<T>(x.a + (x.n - 1) * sizeof(T), 1, wanted);
  setAll<T>(x.a + x.n * sizeof(T), 1, 0);
}
template <class T>
void allEqual(Args x) {
  setAll<T>(x.a, x.n, common);
}
void mixedText(Args x) {
  constexpr std::string_view text = "The quick brown Fox, 17 jumps; OVER \xC3\xA9 a lazy DOG. ";
  for (size_t i = 0; i < x.n; ++i) x.a[i] = static_cast<Byte>(text[i % text.size()]);
  std::memset(x.b, 0, x.n);
}
void countedBytes(Args x) {
  for (size_t i = 0; i < x.n + 8192; ++i) x.a[i] = static_cast<Byte>(i * 7 + (i >> 8));
  std::memset(x.b, 0, x.n);
}

void scans() {
  const auto memchrOf = opaque(static_cast<const void* (*)(const void*, int, size_t)>(std::memchr));
  const auto wmemchrOf = opaque(static_cast<const wchar_t* (*)(const wchar_t*, wchar_t, size_t)>(std::wmemchr));
  const auto highwayFind = opaque(highway::find);
  const auto highwayNot = opaque(highway::findNot);
  const auto highwayUnitNot = opaque(highway::findUnitNot);

  const auto last = [](Args x) { return static_cast<int64_t>(x.n) - 1; };
  Row scan("kit/skMemScan", 1, equalButLast<Byte>, last);
  scan.finer();
  scan.ours(RQ_OURS(skMemScan), [](auto f, Args x) { return f(x.a, x.n, wanted); });
  scan.column("memchr", [=](Args x) { return indexOf(memchrOf(x.a, wanted, x.n), x.a, 1); });
  scan.column("highway", [=](Args x) { return indexBelow(highwayFind(x.a, x.n, wanted), x.n); });

  stringzillaColumn(scan, [f = opaque(stringzilla::find)](Args x) { return f(chars(x.a), x.n, wanted); });

  Row spos("kit/rqzspos", 4, equalButLast<RQChar>, last);
  spos.ours(RQ_OURS(rqzspos), [](auto f, Args x) { return f(units(x.a), static_cast<int64_t>(x.n), wanted); });
  spos.column("wmemchr", [=](Args x) { return indexOf(wmemchrOf(wides(x.a), wanted, x.n), x.a, 4); });

  Row notScan("kit/skMemNScan", 1, equalButLast<Byte>, last);
  notScan.ours(RQ_OURS(skMemNScan), [](auto f, Args x) { return f(x.a, x.n, common); });
  notScan.column("highway", [=](Args x) { return indexBelow(highwayNot(x.a, x.n, common), x.n); });
  notScan.column("find_first_not_of",
                 [f = opaque(standard::findNot)](Args x) { return indexBelow(f(chars(x.a), x.n, common), x.n); });
  stringzillaColumn(notScan, [f = opaque(stringzilla::findNot)](Args x) { return f(chars(x.a), x.n, common); });

  Row unitNotScan("kit/skMemTNScan", 4, equalButLast<RQChar>, last);
  unitNotScan.ours(RQ_OURS(skMemTNScan), [](auto f, Args x) { return f(units(x.a), x.n, common); });
  unitNotScan.column("highway", [=](Args x) { return indexBelow(highwayUnitNot(units(x.a), x.n, common), x.n); });

  for (const Loops* loops : bothLoops) {
    scan.column(loops->column, [f = loops->find](Args x) { return f(x.a, x.n, wanted); });
    spos.column(loops->column, [f = loops->findUnit](Args x) { return f(units(x.a), x.n, wanted); });
    notScan.column(loops->column, [f = loops->findNot](Args x) { return f(x.a, x.n, common); });
    unitNotScan.column(loops->column, [f = loops->findUnitNot](Args x) { return f(units(x.a), x.n, common); });
  }
}

void equalTests() {
  const auto memcmpOf = opaque(std::memcmp);
  const auto one = [](Args) { return int64_t{1}; };
  Row bytes("kit/skMemNot", 1, allEqual<Byte>, one);
  bytes.ours(RQ_OURS(skMemNot), [](auto f, Args x) { return int64_t{f(common, x.a, x.n)}; });
  bytes.column("memcmp-shifted",
               [=](Args x) { return int64_t{*x.a == common && memcmpOf(x.a, x.a + 1, x.n - 1) == 0}; });
  Row wide("kit/skMemTNot", 4, allEqual<RQChar>, one);
  wide.ours(RQ_OURS(skMemTNot), [](auto f, Args x) { return int64_t{f(common, units(x.a), x.n)}; });
  wide.column("memcmp-shifted",
              [=](Args x) { return int64_t{*units(x.a) == common && memcmpOf(x.a, x.a + 4, 4 * (x.n - 1)) == 0}; });
  for (const Loops* loops : bothLoops) {
    const std::string name = loops->column;
    bytes.column(name, [f = loops->allEqual](Args x) { return int64_t{f(common, x.a, x.n)}; });
    bytes.column(name + "-early", [f = loops->allEqualEarly](Args x) { return int64_t{f(common, x.a, x.n)}; });
    wide.column(name, [f = loops->allUnitsEqual](Args x) { return int64_t{f(common, units(x.a), x.n)}; });
  }
}

void fills() {
  const auto memsetOf = opaque(std::memset);
  const auto wmemsetOf = opaque(std::wmemset);
  Row bytes("kit/skMemSet", 1, equalButLast<Byte>, [](Args x) { return setAll<Byte>(x.a, x.n, 7), 0; });
  bytes.finer();
  bytes.ours(RQ_OURS(skMemSet), [](auto f, Args x) { return f(x.a, 7, x.n), int64_t{0}; });
  bytes.column("memset", [=](Args x) { return memsetOf(x.a, 7, x.n), int64_t{0}; });
  stringzillaColumn(bytes, [f = opaque(stringzilla::fill)](Args x) { return f(chars(x.a), 7, x.n), int64_t{0}; });
  Row wide("kit/skMemTSet", 4, equalButLast<RQChar>, [](Args x) { return setAll<RQChar>(x.a, x.n, 0x3007), 0; });
  wide.ours(RQ_OURS(skMemTSet), [](auto f, Args x) { return f(units(x.a), 0x3007, x.n), int64_t{0}; });
  wide.column("wmemset", [=](Args x) { return wmemsetOf(wides(x.a), 0x3007, x.n), int64_t{0}; });
  for (const Loops* loops : bothLoops) {
    bytes.column(loops->column, [f = loops->fill](Args x) { return f(x.a, 7, x.n), int64_t{0}; });
    wide.column(loops->column, [f = loops->fillUnits](Args x) { return f(units(x.a), 0x3007, x.n), int64_t{0}; });
  }
}

void compares() {
  const auto memcmpOf = opaque(std::memcmp);
  const auto wmemcmpOf = opaque(std::wmemcmp);
  const auto smaller = [](Args) { return int64_t{-1}; };
  Row bytes("kit/skMemCmp", 1, equalButLast<Byte>, smaller);
  bytes.finer();
  bytes.ours(RQ_OURS(skMemCmp), [](auto f, Args x) { return int64_t{f(x.a, x.b, x.n)}; });
  bytes.column("memcmp", [=](Args x) { return sign(memcmpOf(x.a, x.b, x.n)); });
  stringzillaColumn(bytes,
                    [f = opaque(stringzilla::compare)](Args x) { return sign(f(chars(x.a), chars(x.b), x.n)); });
  Row wide("kit/skWMemCmp", 4, equalButLast<RQChar>, smaller);
  wide.ours(RQ_OURS(skWMemCmp), [](auto f, Args x) { return int64_t{f(units(x.a), units(x.b), x.n)}; });
  wide.column("wmemcmp", [=](Args x) { return sign(wmemcmpOf(wides(x.a), wides(x.b), x.n)); });
  for (const Loops* loops : bothLoops) {
    bytes.column(loops->column, [f = loops->compare](Args x) { return int64_t{f(x.a, x.b, x.n)}; });
    wide.column(loops->column, [f = loops->compareUnits](Args x) { return int64_t{f(units(x.a), units(x.b), x.n)}; });
  }
}

void strings() {
  const auto strlenOf = opaque(std::strlen);
  const auto wcslenOf = opaque(std::wcslen);
  const auto strcpyOf = opaque(std::strcpy);
  const auto wcscpyOf = opaque(std::wcscpy);
  const auto length = [](Args x) { return static_cast<int64_t>(x.n); };
  Row bytes("kit/skStrLen", 1, equalButLast<Byte>, length);
  bytes.ours(RQ_OURS(skStrLen), [](auto f, Args x) { return static_cast<int64_t>(f(chars(x.a))); });
  bytes.column("strlen", [=](Args x) { return static_cast<int64_t>(strlenOf(chars(x.a))); });
  Row wide("kit/skStrTLen", 4, equalButLast<RQChar>, length);
  wide.ours(RQ_OURS(skStrTLen), [](auto f, Args x) { return static_cast<int64_t>(f(units(x.a))); });
  wide.column("wcslen", [=](Args x) { return static_cast<int64_t>(wcslenOf(wides(x.a))); });

  Row copy("kit/skStrCpy", 1, equalButLast<Byte>, [](Args x) { return std::memcpy(x.b, x.a, x.n + 1), 0; });
  copy.ours(RQ_OURS(skStrCpy), [](auto f, Args x) { return f(chars(x.a), chars(x.b)), int64_t{0}; });
  copy.column("strcpy", [=](Args x) { return strcpyOf(chars(x.b), chars(x.a)), int64_t{0}; });
  Row wideCopy("kit/skStrTCpy", 4, equalButLast<RQChar>,
               [](Args x) { return std::memcpy(x.b, x.a, 4 * (x.n + 1)), 0; });
  wideCopy.ours(RQ_OURS(skStrTCpy), [](auto f, Args x) { return f(units(x.a), units(x.b)), int64_t{0}; });
  wideCopy.column("wcscpy", [=](Args x) { return wcscpyOf(wides(x.b), wides(x.a)), int64_t{0}; });
  for (const Loops* loops : bothLoops)
    wideCopy.column(loops->column, [f = loops->copyUnits](Args x) { return f(units(x.a), units(x.b)), int64_t{0}; });
}

/// The text has both cases at first; later passes find it mapped already, which is the same work for all columns.
void asciiCase() {
  const auto up = [](Args x) {
    for (size_t i = 0; i < x.n; ++i)
      if (x.a[i] >= 'a' && x.a[i] <= 'z') x.a[i] = static_cast<Byte>(x.a[i] - 0x20);
    return 0;
  };
  const auto low = [](Args x) {
    for (size_t i = 0; i < x.n; ++i)
      if (x.a[i] >= 'A' && x.a[i] <= 'Z') x.a[i] = static_cast<Byte>(x.a[i] + 0x20);
    return 0;
  };
  const auto call = [](auto f, Args x) { return f(x.a, x.n), int64_t{0}; };
  Row upper("kit/skStrUp", 1, mixedText, up);
  upper.finer();
  upper.ours(RQ_OURS(skStrUp), call);
  Row lower("kit/skStrLow", 1, mixedText, low);
  lower.ours(RQ_OURS(skStrLow), call);
  stringzillaColumn(upper, [f = opaque(stringzilla::upper)](Args x) { return f(chars(x.a), x.n), int64_t{0}; });
  stringzillaColumn(lower, [f = opaque(stringzilla::lower)](Args x) { return f(chars(x.a), x.n), int64_t{0}; });
  for (const Loops* loops : bothLoops) {
    const std::string name = loops->column;
    upper.column(name, [f = loops->upper](Args x) { return f(x.a, x.n), int64_t{0}; });
    upper.column(name + "-table", [f = loops->upperByTable](Args x) { return f(x.a, x.n), int64_t{0}; });
    lower.column(name, [f = loops->lower](Args x) { return f(x.a, x.n), int64_t{0}; });
    lower.column(name + "-table", [f = loops->lowerByTable](Args x) { return f(x.a, x.n), int64_t{0}; });
  }
}

/// The usual way to repeat a pattern with memcpy: what stands is copied behind itself, twice as much at each step.
void copyDoubling(void* (*copy)(void*, const void*, size_t), const Byte* from, Byte* to, size_t n) {
  for (const Byte* const end = to + n; to < end;) {
    const size_t known = static_cast<size_t>(to - from);
    const size_t step = std::min(known, static_cast<size_t>(end - to));
    copy(to, from, step);
    to += step;
  }
}

void copies() {
  const auto memcpyOf = opaque(std::memcpy);
  const auto memmoveOf = opaque(std::memmove);
  const auto oursCopy = RQ_OURS(skMemCpy);

  Row disjoint("kit/skMemCpy", 1, countedBytes, [](Args x) { return std::memcpy(x.b, x.a, x.n), 0; });
  disjoint.finer();
  disjoint.ours(oursCopy, [](auto f, Args x) { return f(x.a, x.b, x.n), int64_t{0}; });
  disjoint.column("memcpy", [=](Args x) { return memcpyOf(x.b, x.a, x.n), int64_t{0}; });
  stringzillaColumn(disjoint,
                    [f = opaque(stringzilla::copy)](Args x) { return f(chars(x.b), chars(x.a), x.n), int64_t{0}; });

  for (size_t distance : {size_t{1}, size_t{3}, size_t{8}, size_t{64}, size_t{1000}, size_t{4096}}) {
    Row row("kit/skMemCpy+" + std::to_string(distance), 1, countedBytes, [=](Args x) {
      for (size_t i = 0; i < x.n; ++i) x.a[i + distance] = x.a[i];
      return 0;
    });
    row.ours(oursCopy, [=](auto f, Args x) { return f(x.a, x.a + distance, x.n), int64_t{0}; });
    row.column("doubling-memcpy",
               [=](Args x) { return copyDoubling(memcpyOf, x.a, x.a + distance, x.n), int64_t{0}; });
    row.column("byte-loop", [=, f = loopsV3.copyForward](Args x) { return f(x.a, x.a + distance, x.n), int64_t{0}; });
  }

  const auto oursSafe = RQ_OURS(skMemSCpy);
  for (std::ptrdiff_t distance : {std::ptrdiff_t{8}, std::ptrdiff_t{1000}, std::ptrdiff_t{-8}}) {
    Row row(std::string("kit/skMemSCpy") + (distance > 0 ? "+" : "") + std::to_string(distance), 1, countedBytes,
            [=](Args x) { return std::memmove(x.a + 64 + distance, x.a + 64, x.n), 0; });
    row.ours(oursSafe, [=](auto f, Args x) { return f(x.a + 64, x.a + 64 + distance, x.n), int64_t{0}; });
    row.column("memmove", [=](Args x) { return memmoveOf(x.a + 64 + distance, x.a + 64, x.n), int64_t{0}; });
    stringzillaColumn(row, [=, f = opaque(stringzilla::move)](Args x) {
      return f(chars(x.a + 64 + distance), chars(x.a + 64), x.n), int64_t{0};
    });
  }

  RQPool* const pool = recyclingPool();
  Row dup("kit/skMemDup", 1, countedBytes, [](Args x) { return int64_t{x.a[x.n - 1]}; });
  dup.ours(RQ_OURS(skMemDup),
           [=](auto f, Args x) { return int64_t{static_cast<Byte*>(f(x.a, x.n, pool))[x.n - 1]}; });
  dup.column("pool+memcpy", [=](Args x) {
    return int64_t{static_cast<Byte*>(memcpyOf(pool->allocate(pool, x.n, 0), x.a, x.n))[x.n - 1]};
  });
}

void missing() {
  const auto highwayNan = opaque(highway::findNan);
  const auto fill = [](Args x) {
    for (size_t i = 0; i < x.n; ++i) doubles(x.a)[i] = static_cast<double>(i);
    doubles(x.a)[x.n - 1] = std::numeric_limits<double>::quiet_NaN();
  };
  Row row("kit/skMissArray", 8, fill, [](Args) { return int64_t{1}; });
  row.finer();
  row.ours(RQ_OURS(skMissArray), [](auto f, Args x) { return int64_t{f(doubles(x.a), x.n)}; });
  row.column("highway", [=](Args x) { return int64_t{highwayNan(doubles(x.a), x.n) < x.n}; });
  for (const Loops* loops : bothLoops) {
    const std::string name = loops->column;
    row.column(name, [f = loops->anyNan](Args x) { return int64_t{f(doubles(x.a), x.n)}; });
    row.column(name + "-blocks", [f = loops->anyNanByBlocks](Args x) { return int64_t{f(doubles(x.a), x.n)}; });
  }
}

}  // namespace

void registerKit() {
  scans();
  equalTests();
  fills();
  compares();
  strings();
  asciiCase();
  copies();
  missing();
}

}  // namespace rq::bench
