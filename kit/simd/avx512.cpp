// The kernels for processors with AVX-512. Compiled with its flags, as avx2.cpp.
#include "kit/simd/instance.h"
#include "kit/simd/vector64.h"

namespace rq::kit::simd {

constinit const Kernels avx512Kernels = Instance<Vector64, Vector32>::kernels;

}  // namespace rq::kit::simd
