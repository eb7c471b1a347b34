// The features that a processor and its system report, and the choice of kernels.
#ifndef RQUNI_KIT_SIMD_PROCESSOR_H
#define RQUNI_KIT_SIMD_PROCESSOR_H

#include "kit/simd/kernels.h"

namespace rq::kit::simd {

/// Feature bits as the registers hold them. <cpuid.h> names them.
struct Processor {
  unsigned basic = 0;     // ecx of leaf 1
  unsigned extended = 0;  // ebx of leaf 7
  unsigned further = 0;   // ecx of leaf 0x80000001
  unsigned states = 0;    // XCR0: the registers that the system saves when it switches threads
};

/// The widest kernels that the processor can run, or narrower ones if `wanted` names them.
const Kernels& kernelsFor(const Processor& processor, const char* wanted);

}  // namespace rq::kit::simd

#endif
