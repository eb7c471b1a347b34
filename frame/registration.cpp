// Registration. The kernel handle is the library's only state.
#include "frame/registration.h"

#include <cstdint>

RQKernel* Exported_RQHandle = nullptr;

RQStatus rqextent(RQKernel* kernel) {
  __atomic_store_n(&Exported_RQHandle, kernel, __ATOMIC_RELEASE);
  return RQ_SUCCESS;
}

RQStatus rqextver(RQKernel* kernel, std::uint64_t* major, std::uint64_t* minor) {
  *major = 9;
  *minor = 1;
  return rqextent(kernel);
}
