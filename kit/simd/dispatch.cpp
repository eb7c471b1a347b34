// Chooses the kernels once, when the library is loaded: the widest that processor and system offer, or what the
// environment asks for (RQUNI_KERNELS=sse2, avx2 or avx512), so that every set can be tested on one machine.
#include <cpuid.h>

#include "kit/simd/kernels.h"

namespace rq::kit::simd {
namespace {

struct Registers {
  unsigned a = 0, b = 0, c = 0, d = 0;
};

Registers askProcessor(unsigned leaf) {
  Registers r;
  __get_cpuid_count(leaf, 0, &r.a, &r.b, &r.c, &r.d);
  return r;
}

/// The register states that the system saves and restores when it switches threads.
unsigned savedStates() {
  unsigned low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

constexpr bool hasAll(unsigned value, unsigned bits) {
  return (value & bits) == bits;
}

struct Offered {
  bool avx2 = false, avx512 = false;

  Offered() {
    const unsigned basic = askProcessor(1).c;
    if (!hasAll(basic, bit_OSXSAVE | bit_POPCNT)) return;
    const unsigned states = savedStates(), extended = askProcessor(7).b;
    constexpr unsigned ymmState = 0x6, zmmState = 0xE6;
    constexpr unsigned lzcnt = 1U << 5;  // of leaf 0x80000001; <cpuid.h> names it differently by compiler
    avx2 = hasAll(states, ymmState) && hasAll(extended, bit_AVX2 | bit_BMI | bit_BMI2) &&
           hasAll(askProcessor(0x80000001).c, lzcnt);
    avx512 = avx2 && hasAll(states, zmmState) &&
             hasAll(extended, bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ);
  }
};

bool equal(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

/// The value of RQUNI_KERNELS, or "".
const char* wanted(const char* const* environment) {
  constexpr char name[] = "RQUNI_KERNELS=";
  for (; environment && *environment; ++environment) {
    const char* entry = *environment;
    const char* expected = name;
    while (*expected != '\0' && *entry == *expected) ++entry, ++expected;
    if (*expected == '\0') return entry;
  }
  return "";
}

/// The system's loader passes a constructor what it passes main.
__attribute__((constructor)) void chooseKernels(int, char**, char** environment) {
  const Offered offered;
  const char* const name = wanted(environment);
  if (equal(name, "sse2")) return;
  if (offered.avx512 && !equal(name, "avx2"))
    active = avx512Kernels;
  else if (offered.avx2)
    active = avx2Kernels;
}

}  // namespace
}  // namespace rq::kit::simd
