#include "host/pool.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::host {

Pool::Pool(Instruments& instruments, std::optional<std::byte> fill)
    : instruments_(instruments), fill_(fill), ring_{&ring_, &ring_, this} {
  forbid<"pool", 0>(gap0);
  destroy = destroySlot;
  allocate = allocateSlot;
  release = releaseSlot;
  ++instruments_.counts.pools;
  ++instruments_.counts.poolsMade;
}

Pool::~Pool() {
  while (ring_.next != &ring_) giveBack(ring_.next + 1);
  --instruments_.counts.pools;
}

void* Pool::take(std::uint64_t bytes) {
  if (bytes > SIZE_MAX - sizeof(Header)) return nullptr;
  const std::size_t size = sizeof(Header) + bytes;
  // Zeros from the system cost nothing until they are touched, so calloc rather than malloc and memset.
  auto* header = static_cast<Header*>(fill_ ? std::malloc(size) : std::calloc(1, size));
  if (header == nullptr) return nullptr;
  if (fill_) std::memset(header + 1, std::to_integer<int>(*fill_), bytes);
  header->owner = this;
  {
    const std::lock_guard lock(mutex_);
    header->previous = &ring_;
    header->next = ring_.next;
    ring_.next->previous = header;
    ring_.next = header;
  }
  ++instruments_.counts.blocks;
  ++instruments_.counts.blocksMade;
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
  --instruments_.counts.blocks;
}

RQStatus Pool::destroySlot(RQPool* pool) noexcept {
  auto* self = static_cast<Pool*>(pool);
  Instruments& instruments = self->instruments_;
  std::optional<Fault> fault;
  if (instruments.active()) fault = instruments.enter(Service::destroyPool);
  delete self;
  const RQStatus status = fault && fault->action == Fault::Action::status ? static_cast<RQStatus>(fault->value) : 0;
  if (instruments.active()) instruments.leave({Service::destroyPool, pool, {}, status});
  return status;
}

void* Pool::allocateSlot(RQPool* pool, std::uint64_t bytes, std::uint64_t flags) noexcept {
  auto* self = static_cast<Pool*>(pool);
  if (!self->instruments_.active()) return self->take(bytes);
  const bool refused = self->instruments_.enter(Service::allocate).has_value();
  void* block = refused ? nullptr : self->take(bytes);
  self->instruments_.leave({Service::allocate, pool, {bytes, flags}, number(block)});
  return block;
}

void Pool::releaseSlot(RQPool* pool, void* block) noexcept {
  auto* self = static_cast<Pool*>(pool);
  if (self->instruments_.active()) {
    self->instruments_.enter(Service::release);
    self->instruments_.leave({Service::release, pool, {number(block)}, 0});
  }
  self->giveBack(block);
}

}  // namespace rq::host
