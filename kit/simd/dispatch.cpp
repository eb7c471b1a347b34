// Chooses the kernels once, when the library is loaded: the widest that processor and system offer, or narrower ones
// that the environment names (RQUNI_KERNELS=sse2, avx2 or avx512), so that one machine can test every set.
#include <cpuid.h>
#include <sys/mman.h>

#include <cstdlib>

#include "kit/simd/processor.h"

namespace rq::kit::simd {
namespace {

// The leaves of cpuid that list features.
constexpr unsigned basicLeaf = 1, extendedLeaf = 7, furtherLeaf = 0x80000001;
// The parts of XCR0 that vectors of 32 and of 64 bytes need.
constexpr unsigned ymmState = 0x6, zmmState = 0xE0;
constexpr unsigned bitLzcnt = 1U << 5;  // <cpuid.h> names it differently by compiler

struct Registers {
  unsigned a = 0, b = 0, c = 0, d = 0;
};

Registers cpuid(unsigned leaf) {
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
  processor.basic = cpuid(basicLeaf).c;
  processor.extended = cpuid(extendedLeaf).b;
  processor.further = cpuid(furtherLeaf).c;
  if (hasAll(processor.basic, bit_OSXSAVE)) processor.states = savedStates();
  return processor;
}

bool offersAvx2(const Processor& processor) {
  return hasAll(processor.states, ymmState) && hasAll(processor.basic, bit_POPCNT) &&
         hasAll(processor.extended, bit_AVX2 | bit_BMI | bit_BMI2) && hasAll(processor.further, bitLzcnt);
}

/// Of a processor that offers AVX2.
bool offersAvx512(const Processor& processor) {
  return hasAll(processor.states, zmmState) &&
         hasAll(processor.extended, bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ);
}

bool equal(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

/// Takes no arguments: only some systems' loaders pass constructors the environment. A process with raised privileges
/// does not obey its caller's environment.
__attribute__((constructor)) void chooseKernels() {
  const char* const wanted = secure_getenv("RQUNI_KERNELS");
  static_cast<Kernels&>(active) = kernelsFor(thisProcessor(), wanted ? wanted : "");
  // Seal the table. If the system refuses, the table works all the same.
  mprotect(&active, sizeof active, PROT_READ);
}

}  // namespace

const Kernels& kernelsFor(const Processor& processor, const char* wanted) {
  if (equal(wanted, "sse2") || !offersAvx2(processor)) return sse2Kernels;
  if (equal(wanted, "avx2") || !offersAvx512(processor)) return avx2Kernels;
  return avx512Kernels;
}

}  // namespace rq::kit::simd
