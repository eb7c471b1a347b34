#include "host/guarded.h"

#include <cstdio>
#include <cstdlib>

namespace rq::host {

void reportForbiddenCall(const char* table, unsigned word) noexcept {
  std::fprintf(stderr, "host: the library called word %u of the %s table, which is not part of the interface\n", word,
               table);
  std::abort();
}

}  // namespace rq::host
