#include "tests/model/session.h"

#include <cstdio>
#include <cstdlib>

namespace rq::test {

Session::Session(std::uint32_t sessionEncoding) : host(sessionEncoding), encoding(sessionEncoding) {
  const Library& library = Library::get();
  library.rqextent(host.kernel());
  object = library.rquni(host.context(), host.journal());
  if (!object) {
    std::fprintf(stderr, "no interface object\n");
    std::abort();
  }
  host.forget();
}

Session::~Session() {
  host.schedule.clear();
  if (object) object->destroy(object);
}

bool Session::holdsOneObject() const {
  return host.livePools == 1 && host.liveBlocks == 1 && host.liveTranscoders == 14 && host.mistakes == 0;
}

std::uint32_t usualEncoding(Flavour flavour) {
  return flavour == Flavour::wide ? utf32 : utf8;
}

}  // namespace rq::test
