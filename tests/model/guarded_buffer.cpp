#include "tests/model/guarded_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::test {
namespace {

constexpr std::uint8_t canary = 0xC7;

void fillWithCanary(std::uint8_t* begin, const std::uint8_t* end) {
  std::memset(begin, canary, static_cast<std::size_t>(end - begin));
}

}  // namespace

bool isFilledWith(std::uint8_t byte, const std::uint8_t* begin, const std::uint8_t* end) {
  if (begin == end) return true;
  // So it is when the first byte is and each equals the one behind it.
  return *begin == byte && std::memcmp(begin, begin + 1, static_cast<std::size_t>(end - begin - 1)) == 0;
}

GuardedBuffer::GuardedBuffer(std::size_t bytes, std::size_t canaryBytes)
    : size_((std::max(bytes, std::size_t{1}) + pageBytes - 1) / pageBytes * pageBytes), canaryBytes_(canaryBytes) {
  void* const area = mmap(nullptr, size_ + 2 * pageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (area == MAP_FAILED ||
      mprotect(static_cast<std::uint8_t*>(area) + pageBytes, size_, PROT_READ | PROT_WRITE) != 0) {
    std::perror("guarded buffer");
    std::abort();
  }
  begin_ = static_cast<std::uint8_t*>(area) + pageBytes;
}

GuardedBuffer::~GuardedBuffer() {
  munmap(begin_ - pageBytes, size_ + 2 * pageBytes);
}

std::uint8_t* GuardedBuffer::place(std::size_t bytes, Flush flush, std::size_t gap) {
  if (gap > size_ || bytes > size_ - gap) {
    std::fprintf(stderr, "guarded buffer: %zu bytes do not fit\n", bytes);
    std::abort();
  }
  placed_ = flush == Flush::atEnd ? end() - gap - bytes : begin_ + gap;
  placedEnd_ = placed_ + bytes;
  canaryBegin_ = placed_ - std::min(canaryBytes_, static_cast<std::size_t>(placed_ - begin_));
  canaryEnd_ = placedEnd_ + std::min(canaryBytes_, static_cast<std::size_t>(end() - placedEnd_));
  fillWithCanary(canaryBegin_, placed_);
  fillWithCanary(placedEnd_, canaryEnd_);
  return placed_;
}

std::uint8_t* GuardedBuffer::place(const void* data, std::size_t bytes, Flush flush, std::size_t gap) {
  std::uint8_t* const at = place(bytes, flush, gap);
  if (bytes != 0) std::memcpy(at, data, bytes);
  return at;
}

bool GuardedBuffer::isIntact() const {
  return isFilledWith(canary, canaryBegin_, placed_) && isFilledWith(canary, placedEnd_, canaryEnd_);
}

bool GuardedBuffer::operator==(const GuardedBuffer& other) const {
  return size_ == other.size_ && std::memcmp(begin_, other.begin_, size_) == 0;
}

void GuardedBuffer::copyFrom(const GuardedBuffer& other) {
  std::memcpy(begin_, other.begin_, std::min(size_, other.size_));
}

}  // namespace rq::test
