// Memory pools that count their blocks.
#ifndef RQUNI_HOST_POOL_H
#define RQUNI_HOST_POOL_H

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

#include "frame/host_tables.h"
#include "host/guarded.h"
#include "host/instruments.h"

namespace rq::host {

/// Made with new by the kernel, ends itself in its destroy slot. Blocks are aligned to 16 bytes and filled with
/// `fill`, zeros when there is none. Giving back a block that is not this pool's aborts with a message.
class Pool final : public Guarded<RQPool, "pool"> {
 public:
  Pool(Instruments& instruments, std::optional<std::byte> fill);
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

  Instruments& instruments_;
  const std::optional<std::byte> fill_;
  std::mutex mutex_;
  Header ring_;  // closes the ring of all blocks
};

}  // namespace rq::host

#endif
