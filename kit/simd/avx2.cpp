// The kernels for processors with AVX2. Compiled with its flags: only dispatch.cpp may let callers in here.
#include "kit/simd/instance.h"
#include "kit/simd/vector32.h"

namespace rq::kit::simd {

constinit const Kernels avx2Kernels = Instance<Vector32>::kernels;

}  // namespace rq::kit::simd
