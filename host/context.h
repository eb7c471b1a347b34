// The context that an interface object is made from.
#ifndef RQUNI_HOST_CONTEXT_H
#define RQUNI_HOST_CONTEXT_H

#include <cstdint>

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

class Context final : public Guarded<RQContext, "context"> {
 public:
  /// The session option answers with `sessionEncoding`.
  Context(std::uint32_t sessionEncoding, RQJournal* defaultJournal, RQNlsServices* services);

 private:
  static RQStatus lookUpOptionSlot(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                                   std::int64_t* value, std::uint64_t* valueBytes) noexcept;

  const std::uint32_t sessionEncoding_;
};

}  // namespace rq::host

#endif
