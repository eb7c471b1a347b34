// Memory for results whose size is unknown beforehand.
#ifndef RQUNI_HOST_BUFFER_H
#define RQUNI_HOST_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <memory>

#include "host/codec.h"
#include "host/large_pages.h"

namespace rq::host {

/// A block of memory that is reused. Growing it keeps the first `keep` bytes.
class Buffer {
 public:
  MutableBytes atLeast(std::size_t bytes, std::size_t keep = 0) {
    if (bytes > size_) {
      const std::size_t size = keep == 0 ? bytes : std::max(bytes, 2 * size_);
      // Free before allocating: both blocks at once could need too much memory.
      if (keep == 0) memory_.reset();
      auto larger = std::make_unique_for_overwrite<std::byte[]>(size);
      preferLargePages(larger.get(), size);
      std::copy_n(memory_.get(), keep, larger.get());
      memory_ = std::move(larger);
      size_ = size;
    }
    return {memory_.get(), size_};
  }

 private:
  std::unique_ptr<std::byte[]> memory_;
  std::size_t size_ = 0;
};

}  // namespace rq::host

#endif
