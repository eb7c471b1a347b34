#include "host/context.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace rq::host {
namespace {

constexpr RQStatus unknownOption = 0x80410010;

}  // namespace

Context::Context(std::uint32_t sessionEncoding, RQJournal* defaultJournal, RQNlsServices* services)
    : sessionEncoding_(sessionEncoding) {
  forbid<"context", 0>(gap0);
  forbid<"context", 15>(gap15);
  lookUpOption = lookUpOptionSlot;
  journal = defaultJournal;
  nls = services;
}

RQStatus Context::lookUpOptionSlot(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t,
                                   std::int64_t* value, std::uint64_t* valueBytes) noexcept {
  const bool known = std::ranges::equal(std::span(name, length), std::u32string_view(U"RQNLS.ZMX_SESSION_CEI"));
  if (!known || *valueBytes < sizeof *value) return unknownOption;
  *value = static_cast<Context*>(context)->sessionEncoding_;
  *valueBytes = sizeof *value;
  return 0;
}

}  // namespace rq::host
