// Memory pools.
#ifndef RQUNI_HOST_POOL_H
#define RQUNI_HOST_POOL_H

#include <cstdint>
#include <mutex>

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

/// The kernel makes it with new; its destroy slot deletes it. Blocks are zeroed and aligned to 16 bytes. Returning a
/// block of another pool aborts with a message.
class Pool final : public Guarded<RQPool, "pool"> {
 public:
  Pool();
  ~Pool();
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

 private:
  struct alignas(16) Header {
    Header *previous, *next;
    Pool* owner;
  };
  static RQStatus destroySlot(RQPool* pool) noexcept;
  static void* allocateSlot(RQPool* pool, std::uint64_t bytes, std::uint64_t flags) noexcept;
  static void releaseSlot(RQPool* pool, void* block) noexcept;

  void* take(std::uint64_t bytes);
  void giveBack(void* block);

  std::mutex mutex_;
  Header ring_;  // closes the ring of all blocks
};

}  // namespace rq::host

#endif
