// Several threads on one interface object: the library takes no lock, so the cores are the limit. The "size" of these
// rows is the number of threads. The threads take a fixed number of calls from a common counter; the time is the wall
// clock's from the moment all are ready to the moment all are done, so it holds also with more threads than cores.
#include <atomic>
#include <chrono>
#include <cstring>
#include <latch>
#include <thread>
#include <vector>

#include "bench/families.h"
#include "bench/support/host.h"
#include "bench/support/row.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

constexpr std::size_t characters = 16384;

double seconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double>(time).count();
}

/// Makes so many calls in so many threads; returns the seconds that this takes, or a negative value when an answer is
/// wrong. Each thread has made a call of its own before the clock starts.
template <class Call>
double timeOfCalls(int count, std::int64_t calls, const std::string& expected, const Call& call) {
  std::latch ready(count), go(1), done(count);
  std::atomic<std::int64_t> left = calls;
  std::atomic<bool> right = true;
  auto work = [&] {
    std::vector<char> out(expected.size() + 64);
    const std::size_t bytes = call(out.data());
    if (bytes != expected.size() || std::memcmp(out.data(), expected.data(), bytes) != 0) right = false;
    ready.count_down();
    go.wait();
    while (left.fetch_sub(1, std::memory_order_relaxed) > 0) benchmark::DoNotOptimize(call(out.data()));
    done.count_down();
    giveBackLargeBlock();
  };
  std::vector<std::jthread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(work);
  ready.wait();
  const auto start = std::chrono::steady_clock::now();
  go.count_down();
  done.wait();
  return right ? seconds(std::chrono::steady_clock::now() - start) : -1;
}

/// `call(out)` makes the operation's answer in `out` and returns its bytes; `expected` is what it must be.
template <class Call>
void threads(const std::string& row, double bytes, const std::string& expected, Call call) {
  for (int count : {1, 2, 4, 8, 16}) {
    const std::string name = "threads/" + row + "/" + std::to_string(count) + "/ours";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
          constexpr double enough = 0.03;  // seconds of work, many slices of the scheduler
          constexpr int probe = 8;
          const auto calls = 16 + static_cast<std::int64_t>(enough * probe / timeOfCalls(1, probe, expected, call));
          for (auto _ : state) {
            const double time = timeOfCalls(count, calls, expected, call);
            if (time < 0) return state.SkipWithError("wrong answer");
            state.SetIterationTime(time);
          }
          state.counters["calls"] = static_cast<double>(calls);
          state.counters["bytes"] = bytes * static_cast<double>(calls);
        })
        ->Iterations(1)
        ->UseManualTime();
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
