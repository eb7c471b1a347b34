#include "host/nls.h"

#include <exception>

#include "host/encodings.h"
#include "host/transcoder.h"

namespace rq::host {

NlsServices::NlsServices(std::uint32_t sessionEncoding) : sessionEncoding_(sessionEncoding) {
  forbid<"NLS services", 0>(gap0);
  forbid<"NLS services", 15>(gap15);
  createTranscoder = createTranscoderSlot;
  querySession = querySessionSlot;
}

RQTranscoder* NlsServices::createTranscoderSlot(RQNlsServices*, std::uint64_t source, std::uint64_t target,
                                                std::uint64_t, std::uint64_t) noexcept {
  if (source > UINT32_MAX || target > UINT32_MAX) return nullptr;
  try {
    const Codec* from = codecOf(static_cast<std::uint32_t>(source));
    const Codec* to = codecOf(static_cast<std::uint32_t>(target));
    return from && to ? new Transcoder(*from, *to) : nullptr;
  } catch (const std::exception&) {
    return nullptr;  // out of memory; no exception may pass through the library
  }
}

RQStatus NlsServices::querySessionSlot(RQNlsServices* services, std::int32_t* encoding) noexcept {
  *encoding = static_cast<std::int32_t>(static_cast<NlsServices*>(services)->sessionEncoding_);
  return 0;
}

}  // namespace rq::host
