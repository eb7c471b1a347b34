// Memory for the kit's tests: pages between two that cannot be touched, and places in them.
#ifndef RQUNI_TESTS_KIT_BUFFERS_H
#define RQUNI_TESTS_KIT_BUFFERS_H

#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>

namespace rq::test {

constexpr std::size_t mostUnits = 1024, alignments = 64;

/// Readable and writable bytes, flush against an unreadable page on either side.
class GuardedPages {
 public:
  static constexpr std::size_t page = 4096;

  explicit GuardedPages(std::size_t bytes) : size_((bytes + page - 1) / page * page) {
    void* const all = mmap(nullptr, size_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw std::runtime_error("mmap");
    begin_ = static_cast<std::uint8_t*>(all) + page;
    if (mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("mprotect");
  }
  GuardedPages(const GuardedPages&) = delete;
  GuardedPages& operator=(const GuardedPages&) = delete;
  ~GuardedPages() { munmap(begin_ - page, size_ + 2 * page); }

  std::uint8_t* begin() const { return begin_; }
  std::uint8_t* end() const { return begin_ + size_; }
  std::size_t size() const { return size_; }

  /// The pages hold the same as the other's.
  friend bool operator==(const GuardedPages& a, const GuardedPages& b) {
    return a.size_ == b.size_ && std::memcmp(a.begin_, b.begin_, a.size_) == 0;
  }
  void copyFrom(const GuardedPages& other) { std::memcpy(begin_, other.begin_, size_); }

 private:
  std::size_t size_;
  std::uint8_t* begin_;
};

/// Calls check(n, offset) for each length up to `most` units and for each place: every alignment from the front
/// page's end on, and flush against the back page.
template <class U, class Check>
void forEachShape(const GuardedPages& pages, Check check, std::size_t most = mostUnits) {
  for (std::size_t n = 0; n <= most; ++n) {
    for (std::size_t offset = 0; offset < alignments; ++offset) check(n, offset);
    check(n, pages.size() - n * sizeof(U));
  }
}

/// The same numbers in each run.
using Random = std::mt19937_64;

inline std::uint64_t below(Random& random, std::uint64_t bound) {
  return random() % bound;
}

}  // namespace rq::test

#endif
