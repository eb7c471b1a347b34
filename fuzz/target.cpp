#include "target.h"

#include <cstdio>
#include <cstdlib>

namespace rq::fuzz {

std::uint64_t Recipe::word() {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < 8; ++i) value |= std::uint64_t{byte()} << (8 * i);
  return value;
}

void broken(const char* invariant, const char* where) {
  std::fprintf(stderr, "BROKEN: %s (%s)\n", invariant, where);
  std::abort();
}

}  // namespace rq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
  rq::fuzz::Recipe recipe(data, bytes);
  rq::fuzz::runOnce(recipe);
  return 0;
}
