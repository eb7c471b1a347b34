// The NLS services: transcoders by encoding identifier, and the session's encoding.
#ifndef RQUNI_HOST_NLS_H
#define RQUNI_HOST_NLS_H

#include <cstdint>

#include "frame/host_tables.h"
#include "host/guarded.h"
#include "host/instruments.h"

namespace rq::host {

class NlsServices final : public Guarded<RQNlsServices, "NLS services"> {
 public:
  /// `session` is what the session query stores, `answer` the status it returns.
  NlsServices(Instruments& instruments, std::int32_t session, RQStatus answer);

 private:
  static RQTranscoder* createTranscoderSlot(RQNlsServices* services, std::uint64_t source, std::uint64_t target,
                                            std::uint64_t, std::uint64_t) noexcept;
  static RQStatus querySessionSlot(RQNlsServices* services, std::int32_t* encoding) noexcept;
  RQTranscoder* make(std::uint64_t source, std::uint64_t target);

  Instruments& instruments_;
  const std::int32_t session_;
  const RQStatus answer_;
};

}  // namespace rq::host

#endif
