// The choice of kernels: what the environment asks for is in use, a processor gets the widest that it can run, and
// the tables are complete.
#include <cpuid.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kit/simd/processor.h"
#include "tests/kit/mappings.h"

namespace rq::kit::simd {
namespace {

bool inUse(const Kernels& kernels) {
  return std::memcmp(&active, &kernels, sizeof kernels) == 0;
}

TEST(Dispatch, UsesTheKernelsThatWereAskedFor) {
  const char* const asked = std::getenv("RQUNI_KERNELS");
  const std::string_view name = asked ? asked : "";
  EXPECT_TRUE(name != "sse2" || inUse(sse2Kernels));
  EXPECT_TRUE(name != "avx2" || inUse(avx2Kernels));
  EXPECT_TRUE(name != "avx512" || inUse(avx512Kernels));
  EXPECT_TRUE(inUse(sse2Kernels) || inUse(avx2Kernels) || inUse(avx512Kernels));
  // For runs on emulated processors, whose choice the caller knows.
  RecordProperty("kernels", inUse(sse2Kernels) ? "sse2" : inUse(avx2Kernels) ? "avx2" : "avx512");
}

TEST(Dispatch, SealsTheKernelsInUse) {
  static_assert(sizeof active % pageBytes == 0 && alignof(SealedKernels) == pageBytes);
  const auto table = reinterpret_cast<std::uintptr_t>(&active);
  std::size_t found = 0;
  for (const test::Mapping& mapping : test::mappingsOfProcess()) {
    if (!mapping.holds(table)) continue;
    EXPECT_TRUE(mapping.readable && !mapping.writable && !mapping.executable);
    ++found;
  }
  EXPECT_EQ(found, 1U);
}

constexpr unsigned lzcnt = 1U << 5, sseState = 0x2, avxState = 0x4, maskState = 0x20, zmmLowState = 0x40,
                   zmmHighState = 0x80;

/// What the kernels need, and no other bit.
constexpr Processor haswell = {bit_POPCNT, bit_AVX2 | bit_BMI | bit_BMI2, lzcnt, sseState | avxState};
constexpr Processor skylakeServer = {haswell.basic,
                                     haswell.extended | bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ,
                                     haswell.further, haswell.states | maskState | zmmLowState | zmmHighState};

TEST(Dispatch, TakesTheWidestKernelsThatAreOffered) {
  EXPECT_EQ(&kernelsFor({}, ""), &sse2Kernels);
  EXPECT_EQ(&kernelsFor(haswell, ""), &avx2Kernels);
  EXPECT_EQ(&kernelsFor(skylakeServer, ""), &avx512Kernels);
}

TEST(Dispatch, TakesLesserKernelsByName) {
  EXPECT_EQ(&kernelsFor(skylakeServer, "sse2"), &sse2Kernels);
  EXPECT_EQ(&kernelsFor(skylakeServer, "avx2"), &avx2Kernels);
  EXPECT_EQ(&kernelsFor(skylakeServer, "avx512"), &avx512Kernels);
  for (const char* other : {"sse", "sse22", "avx", "avx21", "SSE2", " sse2", "none"})
    EXPECT_EQ(&kernelsFor(skylakeServer, other), &avx512Kernels) << other;
}

TEST(Dispatch, NeverTakesKernelsThatAreNotOffered) {
  for (const char* wanted : {"avx2", "avx512"}) EXPECT_EQ(&kernelsFor({}, wanted), &sse2Kernels) << wanted;
  EXPECT_EQ(&kernelsFor(haswell, "avx512"), &avx2Kernels);
}

TEST(Dispatch, NeedsEveryFeatureOfASet) {
  const auto without = [](Processor processor, unsigned Processor::*member, unsigned bit) {
    processor.*member &= ~bit;
    return &kernelsFor(processor, "");
  };
  EXPECT_EQ(without(skylakeServer, &Processor::basic, bit_POPCNT), &sse2Kernels);
  EXPECT_EQ(without(skylakeServer, &Processor::further, lzcnt), &sse2Kernels);
  for (const unsigned bit : {unsigned{bit_AVX2}, unsigned{bit_BMI}, unsigned{bit_BMI2}})
    EXPECT_EQ(without(skylakeServer, &Processor::extended, bit), &sse2Kernels) << std::hex << bit;
  for (const unsigned bit : {sseState, avxState})
    EXPECT_EQ(without(skylakeServer, &Processor::states, bit), &sse2Kernels) << std::hex << bit;
  for (const unsigned bit :
       {unsigned{bit_AVX512F}, unsigned{bit_AVX512BW}, unsigned{bit_AVX512VL}, unsigned{bit_AVX512DQ}})
    EXPECT_EQ(without(skylakeServer, &Processor::extended, bit), &avx2Kernels) << std::hex << bit;
  for (const unsigned bit : {maskState, zmmLowState, zmmHighState})
    EXPECT_EQ(without(skylakeServer, &Processor::states, bit), &avx2Kernels) << std::hex << bit;
}

TEST(Dispatch, TablesAreComplete) {
  for (const Kernels* const kernels : {&sse2Kernels, &avx2Kernels, &avx512Kernels}) {
    void* functions[sizeof(Kernels) / sizeof(void*)];
    std::memcpy(functions, kernels, sizeof functions);
    for (void* const function : functions) EXPECT_NE(function, nullptr);
  }
}

}  // namespace
}  // namespace rq::kit::simd
