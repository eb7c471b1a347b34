// The fuzz target of the development host: its codecs against ICU's own converters, see tests/host/against_icu.h.
#include "fuzz/case.h"
#include "tests/host/against_icu.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
  return rq::fuzz::runCase(data, bytes, rq::test::compareHostWithIcu);
}
