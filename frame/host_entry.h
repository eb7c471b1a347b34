/* The entry point of a host that is built as a shared object. `rqtext check-host` loads the object and calls it. A
 * host needs it for nothing else.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_HOST_ENTRY_H
#define RQUNI_FRAME_HOST_ENTRY_H

#include "host_tables.h"

RQ_BEGIN_DECLARATIONS

/* Stores the host's kernel handle and a context and returns RQ_SUCCESS, or another status when the host cannot serve.
 * Both, and all that they point to, stay valid until the process ends. The host defines this function. */
RQ_EXPORT RQStatus rquni_host(RQKernel** kernel, RQContext** context) RQ_NONNULL(1, 2);

RQ_END_DECLARATIONS

#endif
