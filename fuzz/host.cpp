// The fuzz target of the development host: its codecs against ICU's own converters, see tests/host/against_icu.h.
#include <cstdio>
#include <cstdlib>

#include "tests/differential/family.h"
#include "tests/host/against_icu.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
  try {
    rq::test::Choices choices(data, bytes);
    rq::test::compareHostWithIcu(choices);
  } catch (const rq::test::Difference& difference) {
    std::fprintf(stderr, "DIFFERENCE %s\n", difference.report.c_str());
    std::abort();
  }
  return 0;
}
