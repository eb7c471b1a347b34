#include "host/kernel.h"

#include <algorithm>
#include <exception>

#include "host/pool.h"

namespace rq::host {

Kernel::Kernel(Instruments& instruments, RQCaseService* service, std::optional<std::byte> blockFill)
    : instruments_(instruments), blockFill_(blockFill) {
  forbid<"kernel", 0>(gap0);
  forbid<"kernel", 7>(gap7);
  createPool = createPoolSlot;
  caseService = service;
}

RQPool* Kernel::make(const RQPoolParameters& parameters, const char* description) {
  if (std::ranges::any_of(parameters.zero, [](std::uint64_t word) { return word != 0; })) return nullptr;
  try {
    lastPoolDescription_ = description;
    return new Pool(instruments_, blockFill_);
  } catch (const std::exception&) {
    return nullptr;  // out of memory; nothing may be thrown through the library
  }
}

RQPool* Kernel::createPoolSlot(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                               const char* description) noexcept {
  auto* self = static_cast<Kernel*>(kernel);
  if (!self->instruments_.active()) return self->make(*parameters, description);
  const bool refused = self->instruments_.enter(Service::createPool).has_value();
  RQPool* made = refused ? nullptr : self->make(*parameters, description);
  self->instruments_.leave(
      {Service::createPool, kernel, {number(parameters), number(journal), number(description)}, number(made)});
  return made;
}

}  // namespace rq::host
