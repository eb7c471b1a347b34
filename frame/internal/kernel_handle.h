// How the library reads the kernel handle.
#ifndef RQUNI_FRAME_INTERNAL_KERNEL_HANDLE_H
#define RQUNI_FRAME_INTERNAL_KERNEL_HANDLE_H

#include "frame/registration.h"

namespace rq {

/// The registered kernel, or null. Pairs with the store in rqextent: a thread that sees the handle sees the kernel.
inline RQKernel* kernelHandle() {
  return __atomic_load_n(&Exported_RQHandle, __ATOMIC_ACQUIRE);
}

}  // namespace rq

#endif
