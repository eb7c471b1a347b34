// The kernel that the library is registered with: pools from SQLite's allocator.
#ifndef RQUNI_ENGINES_SQLITE_POOL_H
#define RQUNI_ENGINES_SQLITE_POOL_H

namespace rq::sqlite {

/// Registers the kernel with the library. Call it once in a process, before any object is made.
void registerKernel();

}  // namespace rq::sqlite

#endif
