#include "host/nls.h"

#include <exception>

#include "host/encodings.h"
#include "host/transcoder.h"

namespace rq::host {

NlsServices::NlsServices(Instruments& instruments, std::int32_t session, RQStatus answer)
    : instruments_(instruments), session_(session), answer_(answer) {
  forbid<"NLS services", 0>(gap0);
  forbid<"NLS services", 15>(gap15);
  createTranscoder = createTranscoderSlot;
  querySession = querySessionSlot;
}

RQTranscoder* NlsServices::make(std::uint64_t source, std::uint64_t target) {
  if (source > UINT32_MAX || target > UINT32_MAX) return nullptr;
  try {
    const Codec* from = codecOf(static_cast<std::uint32_t>(source));
    const Codec* to = codecOf(static_cast<std::uint32_t>(target));
    return from == nullptr || to == nullptr ? nullptr : new Transcoder(instruments_, *from, *to);
  } catch (const std::exception&) {
    return nullptr;  // out of memory; nothing may be thrown through the library
  }
}

RQTranscoder* NlsServices::createTranscoderSlot(RQNlsServices* services, std::uint64_t source, std::uint64_t target,
                                                std::uint64_t, std::uint64_t) noexcept {
  auto* self = static_cast<NlsServices*>(services);
  if (!self->instruments_.active()) return self->make(source, target);
  const bool refused = self->instruments_.enter(Service::createTranscoder).has_value();
  RQTranscoder* made = refused ? nullptr : self->make(source, target);
  self->instruments_.leave({Service::createTranscoder, services, {source, target}, number(made)});
  return made;
}

RQStatus NlsServices::querySessionSlot(RQNlsServices* services, std::int32_t* encoding) noexcept {
  auto* self = static_cast<NlsServices*>(services);
  std::optional<Fault> fault;
  if (self->instruments_.active()) fault = self->instruments_.enter(Service::querySession);
  RQStatus status = self->answer_;
  if (!fault) {
    *encoding = self->session_;
  } else {
    switch (fault->action) {
      case Fault::Action::fail:
        status = faultStatus;
        break;
      case Fault::Action::silent:
        status = 0;
        break;
      case Fault::Action::status:
        *encoding = self->session_;
        status = static_cast<RQStatus>(fault->value);
        break;
      case Fault::Action::value:
        *encoding = static_cast<std::int32_t>(fault->value);
        break;
    }
  }
  if (self->instruments_.active()) self->instruments_.leave({Service::querySession, services, {}, status});
  return status;
}

}  // namespace rq::host
