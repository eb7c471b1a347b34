#include "host/pool.h"

#include <cstdio>
#include <cstdlib>

#include "host/large_pages.h"

namespace rq::host {

Pool::Pool() : ring_{&ring_, &ring_, this} {
  forbid<"pool", 0>(gap0);
  destroy = destroySlot;
  allocate = allocateSlot;
  release = releaseSlot;
}

Pool::~Pool() {
  while (ring_.next != &ring_) giveBack(ring_.next + 1);
}

void* Pool::take(std::uint64_t bytes) {
  if (bytes > SIZE_MAX - sizeof(Header)) return nullptr;
  // calloc rather than malloc and memset: the system's fresh zeros cost nothing until they are touched.
  auto* header = static_cast<Header*>(std::calloc(1, sizeof(Header) + bytes));
  if (!header) return nullptr;
  preferLargePages(header, sizeof(Header) + bytes);
  header->owner = this;
  const std::lock_guard lock(mutex_);
  header->previous = &ring_;
  header->next = ring_.next;
  ring_.next->previous = header;
  ring_.next = header;
  return header + 1;
}

void Pool::giveBack(void* block) {
  auto* header = static_cast<Header*>(block) - 1;
  if (header->owner != this) {
    std::fprintf(stderr, "host: a block was given back to a pool that it was not taken from\n");
    std::abort();
  }
  {
    const std::lock_guard lock(mutex_);
    header->previous->next = header->next;
    header->next->previous = header->previous;
  }
  header->owner = nullptr;
  std::free(header);
}

RQStatus Pool::destroySlot(RQPool* pool) noexcept {
  delete static_cast<Pool*>(pool);
  return 0;
}

void* Pool::allocateSlot(RQPool* pool, std::uint64_t bytes, std::uint64_t) noexcept {
  return static_cast<Pool*>(pool)->take(bytes);
}

void Pool::releaseSlot(RQPool* pool, void* block) noexcept {
  static_cast<Pool*>(pool)->giveBack(block);
}

}  // namespace rq::host
