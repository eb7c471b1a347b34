// What one core of the machine can do at most: loads, stores, and both in place, by 256 and by 512 bits at a time.
// Compiled for the machine at hand; goals that are shares of a limit refer to these rows.
#include <cstring>

#include "bench/families.h"
#include "bench/support/row.h"

namespace rq::bench {
namespace {

template <int bytes>
struct Lanes {
  typedef long long Vector __attribute__((vector_size(bytes), may_alias, aligned(1)));
};

constexpr long long pattern = 0x2020202020202020;

template <int bytes>
std::int64_t load(Args x) {
  using Vector = typename Lanes<bytes>::Vector;
  Vector sums[4] = {};
  for (std::size_t i = 0; i + 4 * bytes <= x.n; i += 4 * bytes)
    for (int k = 0; k < 4; ++k) sums[k] |= *reinterpret_cast<const Vector*>(x.a + i + k * bytes);
  const Vector sum = sums[0] | sums[1] | sums[2] | sums[3];
  long long all = 0;
  for (unsigned k = 0; k < bytes / 8; ++k) all |= sum[k];
  return all;
}

template <int bytes>
std::int64_t store(Args x) {
  using Vector = typename Lanes<bytes>::Vector;
  const Vector value = Vector{} + pattern;
  for (std::size_t i = 0; i + bytes <= x.n; i += bytes) {
    *reinterpret_cast<Vector*>(x.a + i) = value;
    asm volatile("" ::: "memory");  // keeps the compiler from calling memset
  }
  return 0;
}

template <int bytes>
std::int64_t flip(Args x) {
  using Vector = typename Lanes<bytes>::Vector;
  for (std::size_t i = 0; i + bytes <= x.n; i += bytes) *reinterpret_cast<Vector*>(x.a + i) ^= Vector{} + pattern;
  return 0;
}

/// A cell at each of the sizes from 256 bytes up: below, a loop over whole vectors says nothing.
void limit(const char* row, const char* column, std::int64_t (*work)(Args)) {
  for (const Shape& shape : shapes(1)) {
    if (shape.counts.size() > 1) continue;
    const std::string name = std::string("limits/") + row + "/" + shape.name + "/" + column;
    benchmark::RegisterBenchmark(name.c_str(), [work, &shape](benchmark::State& state) {
      const Args args = buffers(shape, 1);
      std::memset(args.a, 'a', args.n);
      for (auto _ : state) benchmark::DoNotOptimize(work(args));
      state.counters["calls"] = 1;
      state.counters["bytes"] = static_cast<double>(args.n);
    });
  }
}

}  // namespace

void registerLimits() {
  limit("load", "256-bit", load<32>);
  limit("load", "512-bit", load<64>);
  limit("store", "256-bit", store<32>);
  limit("store", "512-bit", store<64>);
  limit("in-place", "256-bit", flip<32>);
  limit("in-place", "512-bit", flip<64>);
}

}  // namespace rq::bench
