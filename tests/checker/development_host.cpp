// The development host as a shared object, to be checked as others are. RQ_SESSION names its session encoding.
#include <cstdlib>

#include "frame/host_entry.h"
#include "host/encodings.h"
#include "host/host.h"

RQStatus rquni_host(RQKernel** kernel, RQContext** context) {
  const char* session = std::getenv("RQ_SESSION");
  const auto encoding = rq::host::findEncoding(session == nullptr ? "UTF-8" : session);
  if (!encoding) return 1;
  rq::host::HostOptions options;
  options.session = static_cast<std::int32_t>((*encoding)->identifier);
  options.sessionByOption = session == nullptr;
  options.charsetAtHand = session == nullptr;
  static rq::host::Host host(options);
  *kernel = &host.kernel;
  *context = &host.context;
  return RQ_SUCCESS;
}
