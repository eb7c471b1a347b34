// The kernel handle as the library reads it.
#ifndef RQUNI_FRAME_INTERNAL_KERNEL_HANDLE_H
#define RQUNI_FRAME_INTERNAL_KERNEL_HANDLE_H

#include "frame/registration.h"

namespace rq {

/// The registered kernel, or null. Pairs with the store of rqextent, so that a handle seen is a kernel ready for use.
inline RQKernel* kernelHandle() {
  return __atomic_load_n(&Exported_RQHandle, __ATOMIC_ACQUIRE);
}

}  // namespace rq

#endif
