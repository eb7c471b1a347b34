#include "host/kernel.h"

#include <algorithm>
#include <new>

#include "host/pool.h"

namespace rq::host {

Kernel::Kernel(RQCaseService* service) {
  forbid<"kernel", 0>(gap0);
  forbid<"kernel", 7>(gap7);
  createPool = createPoolSlot;
  caseService = service;
}

RQPool* Kernel::createPoolSlot(RQKernel*, RQPoolParameters* parameters, RQJournal*, const char*) noexcept {
  const bool usual = std::ranges::all_of(parameters->zero, [](std::uint64_t word) { return word == 0; });
  return usual ? new (std::nothrow) Pool : nullptr;
}

}  // namespace rq::host
