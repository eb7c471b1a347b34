/* The one entry point of a host that is built as a shared object, for whoever wants to look at it from outside:
 * `rqtext check-host` loads the object and calls it. A host needs it for nothing else.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_HOST_ENTRY_H
#define RQUNI_FRAME_HOST_ENTRY_H

#include "host_tables.h"

RQ_BEGIN_DECLARATIONS

/* Stores the host's kernel handle and a context, and returns RQ_SUCCESS; any other status says that the host cannot
 * serve. Both and all they lead to stay valid until the process ends. Defined by the host, not by the library. */
RQ_EXPORT RQStatus rquni_host(RQKernel** kernel, RQContext** context) RQ_NONNULL(1, 2);

RQ_END_DECLARATIONS

#endif
