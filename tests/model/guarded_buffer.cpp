#include "tests/model/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::test {
namespace {

constexpr std::uint8_t canary = 0xC7;
const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

bool isCanary(const std::uint8_t* begin, const std::uint8_t* end) {
  if (begin == end) return true;
  // Each byte is the canary when the first one is and each equals the one behind it.
  return *begin == canary && std::memcmp(begin, begin + 1, static_cast<std::size_t>(end - begin - 1)) == 0;
}

}  // namespace

GuardedBuffer::GuardedBuffer(std::size_t bytes) : room_((bytes + page - 1) / page * page) {
  if (room_ == 0) room_ = page;
  void* area = mmap(nullptr, room_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (area == MAP_FAILED || mprotect(static_cast<std::uint8_t*>(area) + page, room_, PROT_READ | PROT_WRITE) != 0) {
    std::perror("guarded buffer");
    std::abort();
  }
  base_ = static_cast<std::uint8_t*>(area);
}

GuardedBuffer::~GuardedBuffer() {
  munmap(base_, room_ + 2 * page);
}

std::uint8_t* GuardedBuffer::place(std::size_t bytes, Flush flush) {
  if (bytes > room_) {
    std::fprintf(stderr, "guarded buffer: %zu bytes do not fit\n", bytes);
    std::abort();
  }
  std::uint8_t* begin = base_ + page;
  std::memset(begin, canary, room_);
  placed_ = flush == Flush::atEnd ? begin + room_ - bytes : begin;
  placedBytes_ = bytes;
  return placed_;
}

std::uint8_t* GuardedBuffer::place(const void* data, std::size_t bytes, Flush flush) {
  std::uint8_t* at = place(bytes, flush);
  if (bytes) std::memcpy(at, data, bytes);
  return at;
}

bool GuardedBuffer::intact() const {
  const std::uint8_t* const begin = base_ + page;
  return isCanary(begin, placed_) && isCanary(placed_ + placedBytes_, begin + room_);
}

}  // namespace rq::test
