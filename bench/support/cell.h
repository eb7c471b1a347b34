// A single cell: one job on one text. Rows over the usual sizes are in row.h.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <string>

#include "bench/support/host.h"

namespace rq::bench {

struct Cell {
  std::string name;       // family/row/size/column
  double bytes;           // of input, a call
  double characters = 0;  // a call; 0 where the goals do not count them
  std::function<void()> prepare = [] {};
  bool served = false;  // with the host's case service on offer
  /// Makes the call once: null, or what to show instead of a figure ("not built", "wrong answer").
  std::function<const char*()> refusal = []() -> const char* { return nullptr; };
};

inline bool begins(benchmark::State& state, const Cell& cell) {
  offerCaseService(cell.served);
  cell.prepare();
  if (const char* const refusal = cell.refusal()) return state.SkipWithError(refusal), false;
  cell.prepare();
  state.counters["calls"] = 1;
  state.counters["bytes"] = cell.bytes;
  state.counters["characters"] = cell.characters;
  return true;
}

/// Times `work()` over and over.
template <class Work>
void timed(Cell cell, Work work) {
  const std::string name = cell.name;
  benchmark::RegisterBenchmark(name.c_str(), [cell, work](benchmark::State& state) {
    if (!begins(state, cell)) return;
    for (auto _ : state) benchmark::DoNotOptimize(work());
  });
}

/// Times `work()` with the text made afresh before each call; reading the clock is in the figure, some 40 ns.
template <class Work>
void timedAfresh(Cell cell, Work work) {
  const std::string name = cell.name;
  benchmark::RegisterBenchmark(name.c_str(), [cell, work](benchmark::State& state) {
    if (!begins(state, cell)) return;
    for (auto _ : state) {
      cell.prepare();
      const auto start = std::chrono::steady_clock::now();
      benchmark::DoNotOptimize(work());
      state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
  })->UseManualTime();
}

}  // namespace rq::bench
