// The kernels for every x86-64 processor. They are in use until the library's constructor has chosen.
#include "kit/simd/instance.h"

namespace rq::kit::simd {

constinit const Kernels sse2Kernels = Instance<Vector16>::kernels;
[[gnu::section("rq_sealed")]] constinit SealedKernels active = {Instance<Vector16>::kernels};

}  // namespace rq::kit::simd
