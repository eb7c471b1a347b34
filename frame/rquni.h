/* rquni: Unicode text services for a host kernel. This header declares all that host and library share; the library
 * itself is compiled against it.
 *
 * What a host does, in order:
 *   1. registration.h  load librquni.so, call rqextver with the kernel handle
 *   2. host_tables.h   offer these tables: kernel, context, NLS services, pools, transcoders, journal, case service
 *   3. interface.h     call rquni for an interface object; end it with its destroy slot
 *   4. operations.h    call the operations through the object's slots
 *   5. journal_bridges.h, kit_exports.h  more exported functions: journal bridges, strings and memory
 *
 * Valid C11 and C++17, 64-bit Linux on x86-64. */
#ifndef RQUNI_FRAME_RQUNI_H
#define RQUNI_FRAME_RQUNI_H

#include "host_tables.h"
#include "interface.h"
#include "journal_bridges.h"
#include "kit_exports.h"
#include "operations.h"
#include "registration.h"
#include "types.h"

#endif
