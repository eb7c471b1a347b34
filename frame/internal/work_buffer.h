// The working buffer of an operation: 1024 bytes on the stack for short texts, else a block of the object's pool.
#ifndef RQUNI_FRAME_INTERNAL_WORK_BUFFER_H
#define RQUNI_FRAME_INTERNAL_WORK_BUFFER_H

#include <cstdint>
#include <cstring>

#include "frame/internal/transcode.h"

namespace rq {

/// Room for one UTF-32 character for each unit of an input. A block is given back when the buffer goes out of scope.
class WorkBuffer {
 public:
  /// Takes a block when there are more than `mostLocalUnits` units. Operations differ by one in that number, and
  /// hosts that count allocations know it.
  WorkBuffer(RQPool* pool, std::uint64_t units, std::uint64_t mostLocalUnits) : pool_(pool) {
    if (units <= mostLocalUnits) return;
    if (units > ~std::uint64_t{0} / sizeof(RQChar)) {  // no pool could hold it
      characters_ = nullptr;
      return;
    }
    bytes_ = units * sizeof(RQChar);
    block_ = pool->allocate(pool, bytes_, 0);
    characters_ = static_cast<RQChar*>(block_);
  }
  ~WorkBuffer() {
    if (block_ != nullptr) pool_->release(pool_, block_);
  }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  /// Whether there is a buffer; false when the pool refused.
  bool obtained() const { return characters_ != nullptr; }
  const RQChar* characters() const { return characters_; }
  std::uint64_t bytes() const { return bytes_; }

  /// Converts a whole text into the buffer and returns the number of characters. The transcoder's status is not
  /// looked at; its produced length starts at `produced`, and a claim beyond the buffer counts as a full one.
  std::uint64_t convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes,
                        std::uint64_t produced) {
    if (block_ == nullptr) clear();
    transcode(transcoder, input, inputBytes, characters_, bytes_, &produced);
    return (produced < bytes_ ? produced : bytes_) / sizeof(RQChar);
  }

 private:
  /// What a host leaves out must not show the stack. The length is hidden from the compiler, which would write
  /// `rep stos` for it: that takes longer to begin than memset takes to end. Built in, because only one C library has
  /// the checked form.
  void clear() {
    std::uint64_t bytes = sizeof local_;
    asm("" : "+r"(bytes));
    __builtin_memset(local_, 0, bytes);
  }

  RQPool* pool_;
  void* block_ = nullptr;
  RQChar* characters_ = local_;
  std::uint64_t bytes_ = sizeof local_;
  RQChar local_[256];
};

/// Declares a local object that is not cleared first: for buffers that are written before they are read.
#define RQ_UNINITIALIZED __attribute__((uninitialized))

}  // namespace rq

#endif
