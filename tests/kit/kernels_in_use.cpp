// Prints the kernels that the library's constructor has chosen in this process. Uses C alone, so that it links with
// other C libraries than the system's.
#include <cstdio>
#include <cstring>

#include "frame/registration.h"
#include "kit/simd/kernels.h"

/// The case routines, linked here without the frame, look for the host.
RQKernel* Exported_RQHandle = nullptr;

namespace {

bool inUse(const rq::kit::simd::Kernels& kernels) {
  return std::memcmp(&rq::kit::simd::active, &kernels, sizeof kernels) == 0;
}

}  // namespace

int main() {
  using namespace rq::kit::simd;
  std::puts(inUse(sse2Kernels) ? "sse2" : inUse(avx2Kernels) ? "avx2" : inUse(avx512Kernels) ? "avx512" : "none");
}
