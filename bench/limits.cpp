// What one core of the machine can do at most: the bare work of each kind of routine, and what a call costs that does
// no work. goals.toml refers to these rows.
#include <cstring>

#include "bench/families.h"
#include "bench/peers/bare_work.h"
#include "bench/support/row.h"

namespace rq::bench {
namespace {

void cell(const BareWork& bare, const Shape& shape) {
  const std::string name = std::string("limits/") + bare.row + "/" + shape.name + "/" + bare.column;
  benchmark::RegisterBenchmark(name.c_str(), [work = bare.work, &shape](benchmark::State& state) {
    const Args whole = buffers(shape, 1);
    for (Byte* const buffer : {whole.a, whole.b}) std::memset(buffer, filler, whole.n);
    if (shape.counts.size() > 1) whole.a[whole.n - 1] = 0;  // what a short search finds
    measure(state, shape, 1, whole, [work](Args x) { return work(x.a, x.b, x.n); });
  });
}

[[gnu::noinline]] std::int64_t nothing(Byte*, Byte*, std::size_t) {
  asm volatile("");
  return 0;
}

}  // namespace

void registerLimits() {
  for (const Shape& shape : shapes(1, true))
    if (shape.counts.size() > 1) cell({"call", "within the program", opaque(nothing)}, shape);
  static const Shape characters = {"4096", {4 * 4096}};  // as many as the rows of wide have
  for (const BareWork& bare : longWork) cell(bare, characters);
  for (const Shape& shape : shapes(1, true))
    for (const BareWork& bare : shape.counts.size() == 1 ? longWork : shortWork) cell(bare, shape);
}

}  // namespace rq::bench
