// The kernel handle: pools and the case service.
#ifndef RQUNI_HOST_KERNEL_H
#define RQUNI_HOST_KERNEL_H

#include <atomic>
#include <cstddef>
#include <optional>

#include "frame/host_tables.h"
#include "host/guarded.h"
#include "host/instruments.h"

namespace rq::host {

class Kernel final : public Guarded<RQKernel, "kernel"> {
 public:
  /// `service` may be null. Pools fill their blocks with `blockFill`, zeros without one.
  Kernel(Instruments& instruments, RQCaseService* service, std::optional<std::byte> blockFill);

  /// The description that the last pool was asked for with; owned by whoever asked. Null before.
  const char* lastPoolDescription() const { return lastPoolDescription_; }

 private:
  static RQPool* createPoolSlot(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                                const char* description) noexcept;
  RQPool* make(const RQPoolParameters& parameters, const char* description);

  Instruments& instruments_;
  const std::optional<std::byte> blockFill_;
  std::atomic<const char*> lastPoolDescription_ = nullptr;
};

}  // namespace rq::host

#endif
