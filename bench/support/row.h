// Rows and their cells. A row is one job at several sizes; each of its columns is a way to do it, "ours" or a peer.
// Every cell is checked against the row's naive twin before it is timed; its name is family/row/size/column.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace rq::bench {

using Byte = unsigned char;

/// What one call works on: two buffers and a count of the row's units.
struct Args {
  Byte* a;
  Byte* b;
  std::size_t n;
};

/// A size of a row: the counts of the calls that one iteration makes, drawn beforehand.
struct Shape {
  std::string name;
  std::vector<std::uint32_t> counts;
  std::uint32_t largest() const;
};

/// 1, every size from 1 to 16 and from 17 to 64 (each repeated, as in a loop over like strings), a shuffled mix of 1
/// to 64, all in units; then 256 B to 64 MiB in bytes. `finer` adds sizes in bytes between these, for the charts.
const std::vector<Shape>& shapes(std::size_t unitBytes, bool finer = false);

/// Leaves out everything above 1 MiB. Call before any row is registered.
void quickly();
bool isQuick();

/// Hides a function from the optimiser, so that peers pay for a call as the library does.
template <class F>
F* opaque(F* function) {
  asm volatile("" : "+r"(function));
  return function;
}

/// The two shared buffers, placed for the largest count of a shape: contents as the last user left them. Before and
/// behind them lie some KiB of slack.
Args buffers(const Shape& shape, std::size_t unitBytes);

/// Registers a cell of which there is nothing to time.
void notBuilt(const std::string& cell);

/// Times one call for each count of the shape; `whole` is for the largest.
template <class Call>
void measure(benchmark::State& state, const Shape& shape, std::size_t unitBytes, const Args& whole, Call call) {
  std::int64_t units = 0;
  for (std::uint32_t n : shape.counts) units += n;
  for (auto _ : state) {
    for (std::uint32_t n : shape.counts) {
      const std::size_t skipped = (whole.n - n) * unitBytes;
      benchmark::DoNotOptimize(call(Args{whole.a + skipped, whole.b + skipped, n}));
    }
  }
  state.counters["calls"] = static_cast<double>(shape.counts.size());
  state.counters["bytes"] = static_cast<double>(units) * static_cast<double>(unitBytes);
}

class Row {
 public:
  using Fill = std::function<void(Args)>;
  using Naive = std::function<std::int64_t(Args)>;

  /// `fill` prepares both buffers for the largest count of a shape; `naive` defines the answer and what is written.
  Row(std::string name, std::size_t unitBytes, Fill fill, Naive naive)
      : name_(std::move(name)), unitBytes_(unitBytes), fill_(std::move(fill)), naive_(std::move(naive)) {}

  /// Measures the row at more sizes, for a curve. Call before the first column.
  Row& finer() {
    finer_ = true;
    return *this;
  }

  /// Offers a way to do the row's job; `call(Args)` returns the answer, 0 when there is none.
  template <class Call>
  Row& column(const std::string& column, Call call) {
    for (const Shape& shape : shapes(unitBytes_, finer_)) {
      benchmark::RegisterBenchmark(cellName(shape, column).c_str(),
                                   [*this, call, &shape, checked = false](benchmark::State& state) mutable {
                                     if (!checked && !(checked = answersRight(shape, call)))
                                       return state.SkipWithError("wrong answer");
                                     measure(state, shape, unitBytes_, prepare(shape), call);
                                   });
    }
    return *this;
  }

  /// The library's column: `call(function, Args)`, or "not built" where the function is missing.
  template <class F, class Call>
  Row& ours(F* function, Call call) {
    if (function) return column("ours", [function, call](Args x) { return call(function, x); });
    for (const Shape& shape : shapes(unitBytes_, finer_)) notBuilt(cellName(shape, "ours"));
    return *this;
  }

 private:
  std::string cellName(const Shape& shape, const std::string& column) const {
    return name_ + "/" + shape.name + "/" + column;
  }
  bool answersRight(const Shape& shape, const std::function<std::int64_t(Args)>& call) const;
  Args prepare(const Shape& shape) const;  // filled buffers for the largest count

  std::string name_;
  std::size_t unitBytes_;
  Fill fill_;
  Naive naive_;
  bool finer_ = false;
};

}  // namespace rq::bench
