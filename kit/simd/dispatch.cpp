// Chooses the kernels once, when the library is loaded: the widest that processor and system offer, or what the
// environment asks for (RQUNI_KERNELS=sse2, avx2 or avx512), so that every set can be tested on one machine.
#include <cpuid.h>

#include "kit/simd/processor.h"

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

unsigned savedStates() {
  unsigned low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

constexpr bool hasAll(unsigned value, unsigned bits) {
  return (value & bits) == bits;
}

Processor thisProcessor() {
  Processor processor;
  processor.basic = askProcessor(1).c;
  processor.extended = askProcessor(7).b;
  processor.further = askProcessor(0x80000001).c;
  if (hasAll(processor.basic, bit_OSXSAVE)) processor.states = savedStates();
  return processor;
}

bool offersAvx2(const Processor& processor) {
  constexpr unsigned ymmState = 0x6;
  constexpr unsigned lzcnt = 1U << 5;  // <cpuid.h> names it differently by compiler
  return hasAll(processor.states, ymmState) && hasAll(processor.basic, bit_POPCNT) &&
         hasAll(processor.extended, bit_AVX2 | bit_BMI | bit_BMI2) && hasAll(processor.further, lzcnt);
}

/// Of a processor that offers AVX2.
bool offersAvx512(const Processor& processor) {
  constexpr unsigned zmmState = 0xE0;
  return hasAll(processor.states, zmmState) &&
         hasAll(processor.extended, bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ);
}

bool equal(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

/// The value of RQUNI_KERNELS, or "".
const char* valueIn(const char* const* environment) {
  constexpr char name[] = "RQUNI_KERNELS=";
  for (; environment && *environment; ++environment) {
    const char* entry = *environment;
    const char* expected = name;
    while (*expected != '\0' && *entry == *expected) ++entry, ++expected;
    if (*expected == '\0') return entry;
  }
  return "";
}

/// The system's loader passes a constructor what it passes main; no environment is a null pointer.
__attribute__((constructor)) void chooseKernels(int, char**, char** environment) {
  active = kernelsFor(thisProcessor(), valueIn(environment));
}

}  // namespace

const Kernels& kernelsFor(const Processor& processor, const char* wanted) {
  if (equal(wanted, "sse2") || !offersAvx2(processor)) return sse2Kernels;
  if (equal(wanted, "avx2") || !offersAvx512(processor)) return avx2Kernels;
  return avx512Kernels;
}

}  // namespace rq::kit::simd
