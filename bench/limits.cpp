// What one core of the machine can do at most: the bare work of each kind of routine by 256 and by 512 bits at a
// time, without the ends that fill no vector and without an answer to give, and what a call costs that does no work.
// Compiled for the machine at hand; goals.toml refers to these rows.
#include <immintrin.h>

#include <cstring>

#include "bench/families.h"
#include "bench/support/row.h"

#pragma GCC diagnostic ignored "-Wpsabi"  // no vector leaves this file

namespace rq::bench {
namespace {

template <int bytes>
struct Lanes {
  typedef long long Vector __attribute__((vector_size(bytes), may_alias, aligned(1)));
};

constexpr long long pattern = 0x2020202020202020;

template <class Vector>
const Vector& at(const Byte* p) {
  return *reinterpret_cast<const Vector*>(p);
}
template <class Vector>
Vector& at(Byte* p) {
  return *reinterpret_cast<Vector*>(p);
}

/// Is any bit set?
template <int bytes>
bool any(const typename Lanes<bytes>::Vector& v) {
#ifdef __AVX512F__
  if constexpr (bytes == 64) return _mm512_test_epi64_mask((__m512i)v, (__m512i)v) != 0;
#endif
#ifdef __AVX__
  if constexpr (bytes == 32) return _mm256_testz_si256((__m256i)v, (__m256i)v) == 0;
#endif
  long long all = 0;
  for (unsigned k = 0; k < bytes / 8; ++k) all |= v[k];
  return all != 0;
}

/// Folds what `read(offset)` gives for all vectors of the text, four at a time.
template <int bytes, class Read>
std::int64_t fold(std::size_t n, Read read) {
  using Vector = typename Lanes<bytes>::Vector;
  Vector sums[4] = {};
  for (std::size_t i = 0; i + 4 * bytes <= n; i += 4 * bytes)
    for (std::size_t k = 0; k < 4; ++k) sums[k] |= read(i + k * bytes);
  return any<bytes>(sums[0] | sums[1] | sums[2] | sums[3]);
}

using Work = std::int64_t(Byte* a, Byte* b, std::size_t n);

template <int bytes>
std::int64_t load(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  return fold<bytes>(n, [=](std::size_t i) { return at<Vector>(a + i); });
}
template <int bytes>
std::int64_t loadTwo(Byte* a, Byte* b, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  return fold<bytes>(n, [=](std::size_t i) { return at<Vector>(a + i) ^ at<Vector>(b + i); });
}

/// Loads and leaves the loop when a vector differs, which none does. One branch for four vectors.
template <int bytes, class Difference>
std::int64_t leave(std::size_t n, Difference difference) {
  for (std::size_t i = 0; i + 4 * bytes <= n; i += 4 * bytes)
    if (any<bytes>((difference(i) | difference(i + bytes)) | (difference(i + 2 * bytes) | difference(i + 3 * bytes))))
      return static_cast<std::int64_t>(i);
  return -1;
}
template <int bytes>
std::int64_t search(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  return leave<bytes>(n, [=](std::size_t i) { return at<Vector>(a + i) ^ (Vector{} + pattern); });
}
template <int bytes>
std::int64_t searchTwo(Byte* a, Byte* b, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  return leave<bytes>(n, [=](std::size_t i) { return at<Vector>(a + i) ^ at<Vector>(b + i); });
}

template <int bytes>
std::int64_t store(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  const Vector value = Vector{} + pattern;
  for (std::size_t i = 0; i + bytes <= n; i += bytes) {
    at<Vector>(a + i) = value;
    asm volatile("" ::: "memory");  // keeps the compiler from calling memset
  }
  return 0;
}
std::int64_t storeByString(Byte* a, Byte*, std::size_t n) {
  asm volatile("rep stosb" : "+D"(a), "+c"(n) : "a"(pattern) : "memory");
  return 0;
}

template <int bytes>
std::int64_t copy(Byte* a, Byte* b, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  for (std::size_t i = 0; i + bytes <= n; i += bytes) {
    at<Vector>(b + i) = at<Vector>(a + i);
    asm volatile("" ::: "memory");  // keeps the compiler from calling memcpy
  }
  return 0;
}
std::int64_t copyByString(Byte* a, Byte* b, std::size_t n) {
  asm volatile("rep movsb" : "+D"(b), "+S"(a), "+c"(n) : : "memory");
  return 0;
}

template <int bytes>
std::int64_t flip(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  for (std::size_t i = 0; i + bytes <= n; i += bytes) at<Vector>(a + i) ^= Vector{} + pattern;
  return 0;
}

[[gnu::noinline]] std::int64_t nothing(Byte*, Byte*, std::size_t) {
  asm volatile("");
  return 0;
}

#ifdef __AVX512BW__
constexpr bool loadsPartly = true;
/// The first of at most 64 bytes that differs. All that a search has to do; without a branch on the count.
template <bool two>
std::int64_t firstDifference(Byte* a, Byte* b, std::size_t n) {
  const __mmask64 counted = _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(n));
  const __m512i one = _mm512_maskz_loadu_epi8(counted, a);
  const __m512i other = two ? _mm512_maskz_loadu_epi8(counted, b) : _mm512_set1_epi64(pattern);
  const std::uint64_t different = _mm512_mask_cmpneq_epi8_mask(counted, one, other);
  return different ? __builtin_ctzll(different) : -1;
}
#else
constexpr bool loadsPartly = false;
template <bool two>
constexpr Work* firstDifference = nullptr;
#endif

/// Jumps on through a pointer, as a routine does whose kernel was chosen when the library was loaded. Null and empty
/// input have no answer, and long input has a kernel of its own.
template <Work* kernel>
[[gnu::noinline]] std::int64_t jump(Byte* a, Byte* b, std::size_t n) {
  static Work* volatile chosen[] = {kernel, kernel};
  if (!a || n == 0) return -1;
  if (n > 64) [[unlikely]]
    return chosen[1](a, b, n);
  return chosen[0](a, b, n);
}

/// A cell for one size: its calls through a pointer.
void cell(const char* row, const char* column, const Shape& shape, Work* work) {
  const std::string name = std::string("limits/") + row + "/" + shape.name + "/" + column;
  benchmark::RegisterBenchmark(name.c_str(), [=, &shape](benchmark::State& state) {
    const Args whole = buffers(shape, 1);
    for (Byte* const buffer : {whole.a, whole.b}) std::memset(buffer, static_cast<int>(pattern & 0xFF), whole.n);
    if (shape.counts.size() > 1) whole.a[whole.n - 1] = 0;  // what a short search finds
    std::int64_t bytes = 0;
    for (std::uint32_t n : shape.counts) bytes += n;
    for (auto _ : state)
      for (std::uint32_t n : shape.counts)
        benchmark::DoNotOptimize(opaque(work)(whole.a + (whole.n - n), whole.b + (whole.n - n), n));
    state.counters["calls"] = static_cast<double>(shape.counts.size());
    state.counters["bytes"] = static_cast<double>(bytes);
  });
}

/// Cells from 256 bytes up: below, a loop over whole vectors says nothing.
void limit(const char* row, const char* column, Work* work) {
  for (const Shape& shape : shapes(1, true))
    if (shape.counts.size() == 1) cell(row, column, shape, work);
}

}  // namespace

void registerLimits() {
  limit("load", "256-bit", load<32>);
  limit("load", "512-bit", load<64>);
  limit("load two", "256-bit", loadTwo<32>);
  limit("load two", "512-bit", loadTwo<64>);
  limit("search", "256-bit", search<32>);
  limit("search", "512-bit", search<64>);
  limit("search two", "256-bit", searchTwo<32>);
  limit("search two", "512-bit", searchTwo<64>);
  limit("store", "256-bit", store<32>);
  limit("store", "512-bit", store<64>);
  limit("store", "string", storeByString);
  limit("copy", "256-bit", copy<32>);
  limit("copy", "512-bit", copy<64>);
  limit("copy", "string", copyByString);
  limit("in-place", "256-bit", flip<32>);
  limit("in-place", "512-bit", flip<64>);
  for (const Shape& shape : shapes(1, true)) {
    if (shape.counts.size() == 1) continue;
    cell("call", "nothing", shape, nothing);
    cell("call", "jump", shape, jump<nothing>);
    if (!loadsPartly) continue;
    cell("short search", "512-bit", shape, jump<firstDifference<false>>);
    cell("short search two", "512-bit", shape, jump<firstDifference<true>>);
  }
}

}  // namespace rq::bench
