#include "host/kernels.h"

#include <cpuid.h>

#include <cstdlib>

namespace rq::host {
namespace {

/// The library counts zero bits with it. Compilers differ in the name of this feature.
bool hasLzcnt() {
  constexpr unsigned furtherLeaf = 0x80000001, bitLzcnt = 1U << 5;
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid(furtherLeaf, &a, &b, &c, &d) != 0 && (c & bitLzcnt) != 0;
}

ProcessorOffers thisProcessor() {
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt") && hasLzcnt();
  const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
  return {avx2, avx2 && avx512};
}

}  // namespace

std::string_view nameOf(KernelSet set) {
  return set == KernelSet::sse2 ? "sse2" : set == KernelSet::avx2 ? "avx2" : "avx512";
}

KernelChoice chooseKernels(const ProcessorOffers& processor, std::string_view wanted) {
  const KernelSet widest = processor.avx512 ? KernelSet::avx512 : processor.avx2 ? KernelSet::avx2 : KernelSet::sse2;
  KernelChoice choice{widest, std::string(wanted)};
  for (const KernelSet lesser : {KernelSet::sse2, KernelSet::avx2})
    if (wanted == nameOf(lesser) && lesser < widest) choice.inUse = lesser;
  return choice;
}

const KernelChoice& kernelChoice() {
  static const KernelChoice choice = [] {
    const char* const wanted = ::secure_getenv("RQUNI_KERNELS");
    return chooseKernels(thisProcessor(), wanted ? wanted : "");
  }();
  return choice;
}

}  // namespace rq::host
