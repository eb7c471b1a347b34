// The NLS services: transcoders by encoding identifier, and the session's encoding.
#ifndef RQUNI_HOST_NLS_H
#define RQUNI_HOST_NLS_H

#include <cstdint>

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

class NlsServices final : public Guarded<RQNlsServices, "NLS services"> {
 public:
  /// The session query answers with `sessionEncoding`.
  explicit NlsServices(std::uint32_t sessionEncoding);

 private:
  static RQTranscoder* createTranscoderSlot(RQNlsServices* services, std::uint64_t source, std::uint64_t target,
                                            std::uint64_t, std::uint64_t) noexcept;
  static RQStatus querySessionSlot(RQNlsServices* services, std::int32_t* encoding) noexcept;

  const std::uint32_t sessionEncoding_;
};

}  // namespace rq::host

#endif
