#include "bench/support/row.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>

namespace rq::bench {
namespace {

constexpr std::size_t largestBytes = std::size_t{64} << 20;
constexpr std::size_t slackBytes = 16 << 10;  // before and behind: overlapping copies reach up to 4096 bytes further

// A load seems to need an earlier store to the same place of another page, and waits for it. Half a page between the
// buffers keeps that out of copies of whole pages.
constexpr std::size_t apart = 2 << 10;

// Short calls end at one place, as strings share their terminator, and begin wherever their length puts them, on and
// off cache lines; a pair of buffers lies differently in its lines. Long buffers are aligned.
constexpr std::size_t shortEnd[] = {8 * 64 + 40, 8 * 64 + 24};

bool quick = false;

Byte* makeArena(std::size_t offset) {
  const std::size_t bytes = largestBytes + 2 * slackBytes + offset;
  void* arena = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (arena == MAP_FAILED) std::abort();
  madvise(arena, bytes, MADV_HUGEPAGE);
  return static_cast<Byte*>(arena) + slackBytes + offset;
}

Byte* arena(int which) {
  static Byte* const arenas[] = {makeArena(0), makeArena(apart)};
  return arenas[which];
}

std::vector<std::uint32_t> sweep(std::uint32_t first, std::uint32_t last) {
  constexpr int repeats = 16;
  std::vector<std::uint32_t> counts;
  for (std::uint32_t n = first; n <= last; ++n) counts.insert(counts.end(), repeats, n);
  return counts;
}

std::vector<std::uint32_t> shuffledMix() {
  std::vector<std::uint32_t> counts;
  for (int i = 0; i < 64; ++i)
    for (std::uint32_t n = 1; n <= 64; ++n) counts.push_back(n);
  std::shuffle(counts.begin(), counts.end(), std::mt19937(20));
  return counts;
}

std::vector<Shape> makeShapes(std::size_t unitBytes, bool finer) {
  std::vector<Shape> made = {{"1", std::vector<std::uint32_t>(16, 1)},
                             {"1-16", sweep(1, 16)},
                             {"17-64", sweep(17, 64)},
                             {"mix", shuffledMix()}};
  const std::pair<const char*, std::size_t> large[] = {{"256B", 256},     {"1KiB", 1 << 10},
                                                       {"4KiB", 4 << 10}, {"32KiB", 32 << 10},
                                                       {"1MiB", 1 << 20}, {"64MiB", largestBytes}};
  const std::pair<const char*, std::size_t> between[] = {
      {"16B", 16}, {"64B", 64}, {"256KiB", 256 << 10}, {"8MiB", 8 << 20}};
  auto add = [&](const char* name, std::size_t bytes) {
    if (bytes > (1 << 20) && isQuick()) return;
    const std::size_t repeats = bytes < 256 ? 16 : 1;
    made.push_back({name, std::vector<std::uint32_t>(repeats, static_cast<std::uint32_t>(bytes / unitBytes))});
  };
  for (const auto& [name, bytes] : large) add(name, bytes);
  if (finer)
    for (const auto& [name, bytes] : between) add(name, bytes);
  return made;
}

}  // namespace

std::uint32_t Shape::largest() const {
  return *std::max_element(counts.begin(), counts.end());
}

void quickly() {
  quick = true;
}
bool isQuick() {
  return quick;
}

const std::vector<Shape>& shapes(std::size_t unitBytes, bool finer) {
  static std::map<std::pair<std::size_t, bool>, std::vector<Shape>> all;
  auto& made = all[{unitBytes, finer}];
  if (made.empty()) made = makeShapes(unitBytes, finer);
  return made;
}

void notBuilt(const std::string& cell) {
  benchmark::RegisterBenchmark(cell.c_str(), [](benchmark::State& state) { state.SkipWithError("not built"); });
}

Args buffers(const Shape& shape, std::size_t unitBytes) {
  const std::size_t n = shape.largest();
  const std::size_t bytes = n * unitBytes;
  if (shape.counts.size() == 1) return {arena(0), arena(1), n};
  return {arena(0) + shortEnd[0] - bytes, arena(1) + shortEnd[1] - bytes, n};
}

Args Row::prepare(const Shape& shape) const {
  const Args args = buffers(shape, unitBytes_);
  fill_(args);
  return args;
}

bool Row::answersRight(const Shape& shape, const std::function<std::int64_t(Args)>& call) const {
  const Args whole = prepare(shape);
  const std::size_t extent = whole.n * unitBytes_ + 2 * slackBytes;
  Byte* const starts[] = {whole.a - slackBytes / 2, whole.b - slackBytes / 2};
  const std::size_t seen = extent - slackBytes;
  auto snapshot = [&](std::vector<Byte>(&kept)[2]) {
    for (int i = 0; i < 2; ++i) kept[i].assign(starts[i], starts[i] + seen);
  };
  std::vector<std::uint32_t> distinct = shape.counts;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  for (std::uint32_t n : distinct) {
    const std::size_t skipped = (whole.n - n) * unitBytes_;
    const Args args = {whole.a + skipped, whole.b + skipped, n};
    std::vector<Byte> before[2], expected[2];
    snapshot(before);
    const std::int64_t answer = naive_(args);
    snapshot(expected);
    for (int i = 0; i < 2; ++i) std::memcpy(starts[i], before[i].data(), seen);
    if (call(args) != answer) return false;
    for (int i = 0; i < 2; ++i) {
      if (std::memcmp(starts[i], expected[i].data(), seen) != 0) return false;
      std::memcpy(starts[i], before[i].data(), seen);
    }
  }
  return true;
}

}  // namespace rq::bench
