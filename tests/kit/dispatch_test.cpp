// The choice of kernels: what the environment asks for is in use, and the tables are complete.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kit/simd/kernels.h"

namespace rq::kit::simd {
namespace {

bool inUse(const Kernels& kernels) {
  return std::memcmp(&active, &kernels, sizeof active) == 0;
}

TEST(Dispatch, usesTheKernelsThatWereAskedFor) {
  const char* const asked = std::getenv("RQUNI_KERNELS");
  const std::string_view name = asked ? asked : "";
  EXPECT_TRUE(name != "sse2" || inUse(sse2Kernels));
  EXPECT_TRUE(name != "avx2" || inUse(avx2Kernels));
  EXPECT_TRUE(name != "avx512" || inUse(avx512Kernels));
  EXPECT_TRUE(inUse(sse2Kernels) || inUse(avx2Kernels) || inUse(avx512Kernels));
}

TEST(Dispatch, tablesAreComplete) {
  for (const Kernels* const kernels : {&sse2Kernels, &avx2Kernels, &avx512Kernels}) {
    void* functions[sizeof(Kernels) / sizeof(void*)];
    std::memcpy(functions, kernels, sizeof functions);
    for (void* const function : functions) EXPECT_NE(function, nullptr);
  }
}

}  // namespace
}  // namespace rq::kit::simd
