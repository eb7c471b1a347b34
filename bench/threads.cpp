// Several threads on one interface object: the library takes no lock, so the cores are the limit. The "size" of these
// rows is the number of threads; the time of a call is the wall clock's, shared by all threads.
#include <cstring>
#include <memory>
#include <vector>

#include "bench/families.h"
#include "bench/support/host.h"
#include "bench/support/row.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

constexpr std::size_t characters = 16384;

/// `call(out)` makes the operation's answer in `out` and returns its bytes; `expected` is what it must be.
template <class Call>
void threads(const std::string& row, double bytes, const std::string& expected, Call call) {
  for (int count : {1, 2, 4, 8, 16}) {
    const std::string name = "threads/" + row + "/" + std::to_string(count) + "/ours";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
          std::vector<char> out(expected.size() + 64);
          if (call(out.data()) != expected.size() || std::memcmp(out.data(), expected.data(), expected.size()) != 0)
            return state.SkipWithError("wrong answer");
          for (auto _ : state) benchmark::DoNotOptimize(call(out.data()));
          state.counters["calls"] = benchmark::Counter(1, benchmark::Counter::kAvgThreads);
          state.counters["bytes"] = benchmark::Counter(bytes, benchmark::Counter::kAvgThreads);
        })
        ->Threads(count)
        ->UseRealTime();
  }
}

void codec(const std::string& row, RQCodec RQOperations::*slot, const std::string& input,
           const std::string& expected) {
  RQInterface* const object = bench::object(RQ_ENCODING_UTF8);
  if (!object) return;
  threads(row, static_cast<double>(input.size()), expected,
          [=, function = object->plain.*slot, room = expected.size() + 32](char* out) {
            std::uint64_t written = 0;
            function(object, input.data(), input.size(), out, room, &written);
            return static_cast<std::size_t>(written);
          });
}

void width(const std::string& row, const std::u32string& text) {
  RQInterface* const object = bench::object(RQ_ENCODING_UTF32_LITTLE);
  if (!object) return;
  std::int64_t columns = 0;
  for (char32_t c : text) columns += c >= 0x3000 ? 2 : 1;
  const std::string expected(reinterpret_cast<const char*>(&columns), sizeof columns);
  threads(row, 4 * static_cast<double>(text.size()), expected,
          [=, function = object->wide.getUnicodeWidth](char* out) {
            const std::int64_t answer = function(object, text.data(), text.size());
            std::memcpy(out, &answer, sizeof answer);
            return sizeof answer;
          });
}

}  // namespace

void registerThreads() {
  const std::u32string cyrillic = text(Script::cyrillic, characters), sparse = text(Script::sparse, 4 * characters);
  codec("ulGetNCR dense", &RQOperations::getNCR, escaped(cyrillic, Notation::decimal), utf8(cyrillic));
  codec("ulGetUEsc sparse", &RQOperations::getUEsc, escaped(sparse, Notation::uEscape), utf8(sparse));
  codec("ulPutNCR dense", &RQOperations::putNCR, utf8(cyrillic), escaped(cyrillic, Notation::decimal));
  width("T_ulGetUnicodeWidth cjk", text(Script::cjk, characters));
}

}  // namespace rq::bench
