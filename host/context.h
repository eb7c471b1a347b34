// The context that an interface object is made from.
#ifndef RQUNI_HOST_CONTEXT_H
#define RQUNI_HOST_CONTEXT_H

#include <cstdint>
#include <optional>

#include "frame/host_tables.h"
#include "host/guarded.h"
#include "host/instruments.h"

namespace rq::host {

class Context final : public Guarded<RQContext, "context"> {
 public:
  /// `sessionOption` is the value of the session option; without one the option is not found. journal and nls may be
  /// null.
  Context(Instruments& instruments, std::optional<std::int64_t> sessionOption, RQJournal* defaultJournal,
          RQNlsServices* services);

 private:
  static RQStatus lookUpOptionSlot(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                                   std::int64_t* value, std::uint64_t* valueBytes) noexcept;
  RQStatus find(const RQChar* name, std::uint64_t length, std::int64_t* value, std::uint64_t* valueBytes);

  Instruments& instruments_;
  const std::optional<std::int64_t> sessionOption_;
};

}  // namespace rq::host

#endif
