// The working buffer of an operation: 1024 bytes on the stack for short texts, a block of the object's pool for
// others.
#ifndef RQUNI_KIT_WORK_BUFFER_H
#define RQUNI_KIT_WORK_BUFFER_H

#include <cstdint>

#include "frame/internal/transcode.h"
#include "kit/kit.h"

namespace rq {

/// Room for one UTF-32 character for each unit of an input. The destructor gives a block back.
class WorkBuffer {
 public:
  /// Takes a block for more than `maxLocalUnits` units. That number differs by one between operations. Kept: hosts
  /// that count allocations depend on it.
  WorkBuffer(RQPool* pool, std::uint64_t units, std::uint64_t maxLocalUnits) : pool_(pool), units_(units) {
    if (units <= maxLocalUnits) return;
    if (units > ~std::uint64_t{0} / sizeof(RQChar)) {  // more bytes than a pool can have
      characters_ = nullptr;
      return;
    }
    bytes_ = units * sizeof(RQChar);
    block_ = pool->allocate(pool, bytes_, 0);
    characters_ = static_cast<RQChar*>(block_);
  }
  ~WorkBuffer() {
    if (block_) pool_->release(pool_, block_);
  }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  /// False when the pool refused a block.
  bool obtained() const { return characters_ != nullptr; }
  const RQChar* characters() const { return characters_; }
  std::uint64_t bytes() const { return bytes_; }

  /// Converts a text into the buffer and returns the number of characters. Ignores the transcoder's status. The
  /// length that the transcoder stores starts at `produced`; one beyond the buffer counts as a full buffer.
  std::uint64_t convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes,
                        std::uint64_t produced) {
    if (!block_) clearForEachUnit();
    transcode(transcoder, input, inputBytes, characters_, bytes_, &produced);
    const std::uint64_t characters = (produced < bytes_ ? produced : bytes_) / sizeof(RQChar);
    if (!block_ && characters > units_) [[unlikely]]
      clearUnwritten();
    return characters;
  }

 private:
  static constexpr std::uint64_t maxCharacters = 256;  // of local_
  static constexpr RQChar unwritten = 0xFFFFFFFF;      // no character

  // Characters that a host reports but leaves out must not show the stack. A host makes one of each unit at most, but
  // for a few encodings. To clear the whole buffer takes longer than a short text.
  void clearForEachUnit() {
    kit::fill(local_, 0, units_);
    local_[units_] = unwritten;
  }
  void clearUnwritten() {
    if (local_[units_] == unwritten) kit::fill(local_ + units_, 0, maxCharacters - units_);
  }

  alignas(64) RQChar local_[maxCharacters + 1];  // kernels load whole vectors
  RQPool* pool_;
  const std::uint64_t units_;
  void* block_ = nullptr;
  RQChar* characters_ = local_;
  std::uint64_t bytes_ = maxCharacters * sizeof(RQChar);
};

/// Keeps the compiler from clearing a local object first. For buffers that are written before they are read.
#define RQ_UNINITIALIZED __attribute__((uninitialized))

}  // namespace rq

#endif
