/* Memory between two guard pages that is made once and used for case after case. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_REGION_H
#define RQUNI_TESTS_DIFFERENTIAL_REGION_H

#include <algorithm>
#include <array>
#include <cstring>

#include "tests/model/guarded_buffer.h"

namespace rq::test {

class Region {
 public:
  /// For buffers of up to `most` bytes.
  explicit Region(std::size_t most)
      : memory_((most + page) / page * page), begin_(memory_.place((most + page) / page * page)) {
    end_ = begin_ + (most + page) / page * page;
  }

  /// A buffer of `bytes` bytes, `where` % 64 bytes away from the guard page behind it, or from 128 on from the one
  /// before it. A canary is laid around it, its own bytes stay what they were.
  std::uint8_t* place(std::size_t bytes, unsigned where) {
    const std::size_t gap = where % margin;
    at_ = where & 0x80 ? begin_ + gap : end_ - gap - bytes;
    behind_ = at_ + bytes;
    before_ = std::min(margin, static_cast<std::size_t>(at_ - begin_));
    after_ = std::min(margin, static_cast<std::size_t>(end_ - behind_));
    std::memset(at_ - before_, canary, before_);
    std::memset(behind_, canary, after_);
    return at_;
  }
  /// Whether the canary is whole.
  bool intact() const {
    return std::memcmp(at_ - before_, canaries.data(), before_) == 0 &&
           std::memcmp(behind_, canaries.data(), after_) == 0;
  }

 private:
  static constexpr std::size_t page = 4096, margin = 64;
  static constexpr std::uint8_t canary = 0xC7;
  static constexpr std::array<std::uint8_t, margin> canaries = [] {
    std::array<std::uint8_t, margin> all{};
    for (std::uint8_t& byte : all) byte = canary;
    return all;
  }();

  GuardedBuffer memory_;
  std::uint8_t *begin_, *end_;
  std::uint8_t *at_ = nullptr, *behind_ = nullptr;
  std::size_t before_ = 0, after_ = 0;
};

}  // namespace rq::test

#endif
