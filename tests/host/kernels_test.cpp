// The host's rule for kernels is the library's.
#include "host/kernels.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace rq::test {
namespace {

using host::chooseKernels;
using host::KernelSet;
using host::ProcessorOffers;

constexpr ProcessorOffers nothing = {false, false}, avx2 = {true, false}, avx512 = {true, true};

TEST(Kernels, AreTheWidestThatAreOffered) {
  EXPECT_EQ(chooseKernels(nothing, "").inUse, KernelSet::sse2);
  EXPECT_EQ(chooseKernels(avx2, "").inUse, KernelSet::avx2);
  EXPECT_EQ(chooseKernels(avx512, "").inUse, KernelSet::avx512);
}

TEST(Kernels, AreLesserOnesByName) {
  EXPECT_EQ(chooseKernels(avx512, "sse2").inUse, KernelSet::sse2);
  EXPECT_EQ(chooseKernels(avx512, "avx2").inUse, KernelSet::avx2);
  EXPECT_EQ(chooseKernels(avx512, "avx512").inUse, KernelSet::avx512);
  EXPECT_EQ(chooseKernels(avx2, "sse2").inUse, KernelSet::sse2);
  for (const char* other : {"sse", "sse22", "avx", "avx21", "SSE2", " sse2", "none"})
    EXPECT_EQ(chooseKernels(avx512, other).inUse, KernelSet::avx512) << other;
}

TEST(Kernels, AreNeverWiderThanOffered) {
  for (const char* wanted : {"avx2", "avx512"}) {
    EXPECT_EQ(chooseKernels(nothing, wanted).inUse, KernelSet::sse2) << wanted;
    EXPECT_EQ(chooseKernels(nothing, wanted).wanted, wanted);
  }
  EXPECT_EQ(chooseKernels(avx2, "avx512").inUse, KernelSet::avx2);
}

/// What the library's own constructor chooses in a process of the same environment.
std::string kernelsOfTheLibrary() {
  std::FILE* const output = popen(RQ_KERNELS_IN_USE, "r");
  char name[16] = "";
  EXPECT_EQ(std::fscanf(output, "%15s", name), 1);
  EXPECT_EQ(pclose(output), 0);
  return name;
}

TEST(Kernels, AreThoseOfTheLibrary) {
  const char* const preloaded = std::getenv("LD_PRELOAD");
  if (preloaded && std::string_view(preloaded).find("vgpreload") != std::string_view::npos)
    GTEST_SKIP() << "Valgrind leaves the other process to the bare processor";
  EXPECT_EQ(nameOf(host::kernelChoice().inUse), kernelsOfTheLibrary());
}

}  // namespace
}  // namespace rq::test
