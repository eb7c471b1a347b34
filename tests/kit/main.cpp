// Runs the tests with the kernels that RQUNI_KERNELS asks for, or says that this processor lacks them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int skipped = 77;

bool isOffered(std::string_view kernels) {
  if (kernels == "avx2") return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
  if (kernels == "avx512") return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const char* const kernels = std::getenv("RQUNI_KERNELS");
  if (kernels && !isOffered(kernels)) {
    std::printf("skipped: this processor does not offer %s\n", kernels);
    return skipped;
  }
  return RUN_ALL_TESTS();
}
