/* A host for many threads at once. It is not the mock host, whose record and schedule would need a lock: a lock in
 * every call orders the threads, and hides the library's races from the thread sanitizer. */
#ifndef RQUNI_TESTS_ROBUSTNESS_PARALLEL_HOST_H
#define RQUNI_TESTS_ROBUSTNESS_PARALLEL_HOST_H

#include <atomic>
#include <cstdint>

#include "frame/rquni.h"

namespace rq::test {

class ParallelHost {
 public:
  explicit ParallelHost(std::uint32_t sessionEncoding);
  ParallelHost(const ParallelHost&) = delete;
  ParallelHost& operator=(const ParallelHost&) = delete;

  RQKernel* kernel() { return &kernel_.table; }
  RQContext* context() { return &context_.table; }
  RQJournal* journal() { return &journal_; }
  /// Pools, blocks and transcoders that are not ended yet.
  static std::int64_t live() { return live_.load(); }

 private:
  struct Kernel {
    RQKernel table{};
  };
  struct Context {
    RQContext table{};
    std::uint32_t encoding = 0;
  };
  friend struct ParallelServices;
  static std::atomic<std::int64_t> live_;

  Kernel kernel_;
  Context context_;
  RQNlsServices nls_{};
  RQCaseService cases_{};
  RQCharsetService charset_{};
  RQJournal journal_{};
};

}  // namespace rq::test

#endif
