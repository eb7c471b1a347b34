// The kernels for every x86-64 processor, in use until the processor has been asked for more.
#include "kit/simd/instance.h"

namespace rq::kit::simd {

constinit const Kernels sse2Kernels = Instance<Vector16>::kernels;
constinit Kernels active = Instance<Vector16>::kernels;

}  // namespace rq::kit::simd
