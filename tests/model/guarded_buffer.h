/* Memory that ends, or begins, at a page nobody may touch: one unit read or written beyond it stops the process. */
#ifndef RQUNI_TESTS_MODEL_GUARDED_BUFFER_H
#define RQUNI_TESTS_MODEL_GUARDED_BUFFER_H

#include <cstddef>
#include <cstdint>

namespace rq::test {

enum class Flush { atEnd, atBeginning };

class GuardedBuffer {
 public:
  /// Room for up to `bytes` bytes between two guard pages.
  explicit GuardedBuffer(std::size_t bytes);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  /// `bytes` bytes flush against the guard page at that side; the rest of the room becomes a canary.
  std::uint8_t* place(std::size_t bytes, Flush flush = Flush::atEnd);
  /// The same, holding a copy of `data`.
  std::uint8_t* place(const void* data, std::size_t bytes, Flush flush = Flush::atEnd);
  /// Whether the canary around the placed bytes is whole.
  bool intact() const;

 private:
  std::uint8_t* base_;  // the first guard page
  std::size_t room_;    // bytes between the guard pages
  std::uint8_t* placed_ = nullptr;
  std::size_t placedBytes_ = 0;
};

}  // namespace rq::test

#endif
