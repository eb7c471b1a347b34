// The fuzz target of what the engines share: conversions and pools, see tests/engines/against_model.h.
#include "fuzz/case.h"
#include "tests/engines/against_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
  return rq::fuzz::runCase(data, bytes, rq::test::compareEnginesWithModel);
}
