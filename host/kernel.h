// The kernel handle: pools and the case service.
#ifndef RQUNI_HOST_KERNEL_H
#define RQUNI_HOST_KERNEL_H

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

class Kernel final : public Guarded<RQKernel, "kernel"> {
 public:
  explicit Kernel(RQCaseService* service);

 private:
  static RQPool* createPoolSlot(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                                const char* description) noexcept;
};

}  // namespace rq::host

#endif
