#include "host/context.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace rq::host {
namespace {

constexpr RQStatus unknownOption = 0x80410010;

}  // namespace

Context::Context(Instruments& instruments, std::optional<std::int64_t> sessionOption, RQJournal* defaultJournal,
                 RQNlsServices* services)
    : instruments_(instruments), sessionOption_(sessionOption) {
  forbid<"context", 0>(gap0);
  forbid<"context", 15>(gap15);
  lookUpOption = lookUpOptionSlot;
  journal = defaultJournal;
  nls = services;
}

RQStatus Context::find(const RQChar* name, std::uint64_t length, std::int64_t* value, std::uint64_t* valueBytes) {
  const bool known = std::ranges::equal(std::span(name, length), std::u32string_view(U"RQNLS.ZMX_SESSION_CEI"));
  if (!known || !sessionOption_ || *valueBytes < sizeof *value) return unknownOption;
  *value = *sessionOption_;
  *valueBytes = sizeof *value;
  return 0;
}

RQStatus Context::lookUpOptionSlot(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                                   std::int64_t* value, std::uint64_t* valueBytes) noexcept {
  auto* self = static_cast<Context*>(context);
  if (!self->instruments_.active()) return self->find(name, length, value, valueBytes);
  RQStatus status = 0;
  const std::optional<Fault> fault = self->instruments_.enter(Service::lookUpOption);
  if (!fault) {
    status = self->find(name, length, value, valueBytes);
  } else if (fault->action == Fault::Action::fail) {
    status = faultStatus;
  } else if (fault->action == Fault::Action::value) {
    *value = static_cast<std::int64_t>(fault->value);
  } else if (fault->action == Fault::Action::status) {
    self->find(name, length, value, valueBytes);
    status = static_cast<RQStatus>(fault->value);
  }
  self->instruments_.leave({Service::lookUpOption, context, {number(name), length, three}, status});
  return status;
}

}  // namespace rq::host
