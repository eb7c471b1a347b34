// Large pages for large blocks of memory.
#ifndef RQUNI_HOST_LARGE_PAGES_H
#define RQUNI_HOST_LARGE_PAGES_H

#include <cstddef>

namespace rq::host {

/// Asks the system to back a block with large pages: its first use then costs one page fault for 2 MiB, not for 4
/// KiB. Small blocks stay as they are.
void preferLargePages(void* block, std::size_t bytes);

}  // namespace rq::host

#endif
