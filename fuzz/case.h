// A case of the fuzzer's bytes: a difference ends the process.
#ifndef RQUNI_FUZZ_CASE_H
#define RQUNI_FUZZ_CASE_H

#include <cstdio>
#include <cstdlib>

#include "tests/differential/family.h"

namespace rq::fuzz {

inline int runCase(const std::uint8_t* data, std::size_t bytes, void (*run)(test::Choices& choices)) {
  try {
    test::Choices choices(data, bytes);
    run(choices);
  } catch (const test::Difference& difference) {
    std::fprintf(stderr, "DIFFERENCE %s\n", difference.report.c_str());
    std::abort();
  }
  return 0;
}

}  // namespace rq::fuzz

#endif
