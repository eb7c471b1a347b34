#include "bench/peers/bare_work.h"

#include <immintrin.h>

#pragma GCC diagnostic ignored "-Wpsabi"  // no vector leaves this file

namespace rq::bench {
namespace {

using Byte = unsigned char;

template <int bytes>
struct Lanes {
  typedef long long Vector __attribute__((vector_size(bytes), may_alias, aligned(1)));
};

constexpr long long pattern = 0x0101010101010101 * filler;

template <int bytes>
typename Lanes<bytes>::Vector& at(Byte* p) {
  return *reinterpret_cast<typename Lanes<bytes>::Vector*>(p);
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

template <int bytes>
std::int64_t load(Byte* a, Byte*, std::size_t n) {
  return fold<bytes>(n, [=](std::size_t i) { return at<bytes>(a + i); });
}
template <int bytes>
std::int64_t loadTwo(Byte* a, Byte* b, std::size_t n) {
  return fold<bytes>(n, [=](std::size_t i) { return at<bytes>(a + i) ^ at<bytes>(b + i); });
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
  return leave<bytes>(n, [=](std::size_t i) { return at<bytes>(a + i) ^ (Vector{} + pattern); });
}
template <int bytes>
std::int64_t searchTwo(Byte* a, Byte* b, std::size_t n) {
  return leave<bytes>(n, [=](std::size_t i) { return at<bytes>(a + i) ^ at<bytes>(b + i); });
}

template <int bytes>
std::int64_t store(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  const Vector value = Vector{} + pattern;
  for (std::size_t i = 0; i + bytes <= n; i += bytes) {
    at<bytes>(a + i) = value;
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
  for (std::size_t i = 0; i + bytes <= n; i += bytes) {
    at<bytes>(b + i) = at<bytes>(a + i);
    asm volatile("" ::: "memory");  // keeps the compiler from calling memcpy
  }
  return 0;
}
std::int64_t copyByString(Byte* a, Byte* b, std::size_t n) {
  asm volatile("rep movsb" : "+D"(b), "+S"(a), "+c"(n) : : "memory");
  return 0;
}

/// Moves by so few bytes that every load meets two stores of the move before.
constexpr std::size_t distance = 8;
template <int bytes>
std::int64_t moveToFront(Byte* a, Byte*, std::size_t n) {
  return copy<bytes>(a + distance, a, n);
}
template <int bytes>
std::int64_t moveToBack(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  for (std::size_t i = n; i >= 4 * bytes;) {
    i -= 4 * bytes;
    Vector four[4];
    for (std::size_t k = 0; k < 4; ++k) four[k] = at<bytes>(a + i + k * bytes - distance);
    for (std::size_t k = 0; k < 4; ++k) at<bytes>(a + i + k * bytes) = four[k];
    asm volatile("" ::: "memory");  // as above
  }
  return 0;
}

template <int bytes>
std::int64_t flip(Byte* a, Byte*, std::size_t n) {
  using Vector = typename Lanes<bytes>::Vector;
  for (std::size_t i = 0; i + bytes <= n; i += bytes) at<bytes>(a + i) ^= Vector{} + pattern;
  return 0;
}

[[gnu::noinline]] std::int64_t nothing(Byte*, Byte*, std::size_t) {
  asm volatile("");
  return 0;
}

#ifdef __AVX512BW__
/// The first of at most 64 bytes that differs. All that a search has to do; without a branch on the count.
template <bool two>
std::int64_t firstDifference(Byte* a, Byte* b, std::size_t n) {
  const __mmask64 counted = _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(n));
  const __m512i one = _mm512_maskz_loadu_epi8(counted, a);
  const __m512i other = two ? _mm512_maskz_loadu_epi8(counted, b) : _mm512_set1_epi64(pattern);
  const std::uint64_t different = _mm512_mask_cmpneq_epi8_mask(counted, one, other);
  return different ? __builtin_ctzll(different) : -1;
}
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

}  // namespace

const std::vector<BareWork> longWork = {
    {"load", "256-bit", load<32>},
    {"load", "512-bit", load<64>},
    {"load two", "256-bit", loadTwo<32>},
    {"load two", "512-bit", loadTwo<64>},
    {"search", "256-bit", search<32>},
    {"search", "512-bit", search<64>},
    {"search two", "256-bit", searchTwo<32>},
    {"search two", "512-bit", searchTwo<64>},
    {"store", "256-bit", store<32>},
    {"store", "512-bit", store<64>},
    {"store", "string", storeByString},
    {"copy", "256-bit", copy<32>},
    {"copy", "512-bit", copy<64>},
    {"copy", "string", copyByString},
    {"move to the front", "256-bit", moveToFront<32>},
    {"move to the front", "512-bit", moveToFront<64>},
    {"move to the back", "256-bit", moveToBack<32>},
    {"move to the back", "512-bit", moveToBack<64>},
    {"in-place", "256-bit", flip<32>},
    {"in-place", "512-bit", flip<64>},
};

const std::vector<BareWork> shortWork = {
    {"call", "nothing", nothing},
    {"call", "jump", jump<nothing>},
#ifdef __AVX512BW__
    {"short search", "512-bit", jump<firstDifference<false>>},
    {"short search two", "512-bit", jump<firstDifference<true>>},
#endif
};

}  // namespace rq::bench
