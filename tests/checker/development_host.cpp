// The development host as a shared object, to be checked as others are. RQ_SESSION names its session encoding.
#include <cstdlib>

#include "frame/host_entry.h"
#include "host/encodings.h"
#include "host/host.h"

namespace {

RQStatus findNoOption(RQContext*, const RQChar*, std::uint64_t, std::uint64_t, std::int64_t*, std::uint64_t*) {
  return 1;
}

}  // namespace

RQStatus rquni_host(RQKernel** kernel, RQContext** context) {
  const char* session = std::getenv("RQ_SESSION");
  const auto encoding = rq::host::findEncoding(session ? session : "UTF-8");
  if (!encoding) return 1;
  static rq::host::Host host((*encoding)->identifier);
  if (session) {  // the less common ways to the session encoding and the character-set service
    host.context.lookUpOption = findNoOption;
    host.caseService.charset = nullptr;
  }
  *kernel = &host.kernel;
  *context = &host.context;
  return RQ_SUCCESS;
}
