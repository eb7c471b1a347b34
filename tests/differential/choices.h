/* The decisions of a case, from a fuzzer's bytes or from a seed: the same code is a fuzz target and a random test. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_CHOICES_H
#define RQUNI_TESTS_DIFFERENTIAL_CHOICES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace rq::test {

class Choices {
 public:
  /// A fuzzer's bytes, from the front; behind their end all are zero.
  Choices(const std::uint8_t* data, std::size_t bytes) : at_(data), end_(data + bytes) {}
  /// Random bytes without end, the same for the same seed everywhere.
  explicit Choices(std::uint64_t seed) : state_(seed), random_(true) {}
  Choices(const Choices&) = delete;
  Choices& operator=(const Choices&) = delete;

  std::uint8_t byte() {
    if (at_ == end_) refill();
    return *at_++;
  }
  /// Less than `limit`, which is at most 2^16.
  std::uint32_t below(std::uint32_t limit) {
    const std::uint32_t low = byte();
    return (low | std::uint32_t{byte()} << 8) % limit;
  }
  /// True once in `n` times, n at most 256; false where a fuzzer's bytes have ended.
  bool oneIn(unsigned n) { return byte() % n == n - 1; }
  std::uint64_t word() {
    std::uint64_t value;
    fill(&value, sizeof value);
    return value;
  }
  void fill(void* to, std::size_t bytes) {
    for (auto* out = static_cast<std::uint8_t*>(to); bytes > 0;) {
      if (at_ == end_) refill();
      const std::size_t part = std::min(bytes, static_cast<std::size_t>(end_ - at_));
      std::memcpy(out, at_, part);
      at_ += part;
      out += part;
      bytes -= part;
    }
  }
  /// The rest of a fuzzer's bytes, up to `max`; from a seed a few bytes, sometimes some dozens.
  void rest(std::vector<std::uint8_t>& bytes, std::size_t max) {
    std::size_t count = static_cast<std::size_t>(end_ - at_);
    if (random_) count = 1 + below(oneIn(6) ? 40 : 8);
    bytes.resize(std::min(count, max));
    fill(bytes.data(), bytes.size());
  }

 private:
  /// SplitMix64: a counter, scrambled.
  std::uint64_t next() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t z = (state_ ^ state_ >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
  }
  void refill() {
    for (std::uint64_t& word : block_) word = random_ ? next() : 0;
    at_ = reinterpret_cast<const std::uint8_t*>(block_);
    end_ = at_ + sizeof block_;
  }

  const std::uint8_t* at_ = nullptr;
  const std::uint8_t* end_ = nullptr;
  std::uint64_t block_[8];
  std::uint64_t state_ = 0;
  bool random_ = false;
};

}  // namespace rq::test

#endif
