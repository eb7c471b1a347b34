// A fuzz target: one family of the differential cases, chosen by RQ_FUZZ_FAMILY, whose decisions are the fuzzer's
// bytes.
//
// Invariants, whatever the bytes: no report of a sanitizer, nothing touched outside the buffers, which lie between
// guard pages, and no difference from the naive twin. What is compared stands where the family is made:
//
//   ncr uesc uparen transforms measures   tests/differential/comparison.h, at checkCase
//   kit                                   tests/differential/kit.cpp
//   wide                                  tests/differential/wide.cpp
//   creation                              tests/differential/creation.cpp
#include "fuzz/case.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
  static const rq::test::Family& family = *rq::test::familyNamed(RQ_FUZZ_FAMILY);
  return rq::fuzz::runCase(data, bytes, family.run);
}
