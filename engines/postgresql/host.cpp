#include "engines/postgresql/host.h"

#include <new>

#include "engines/callbacks.h"

namespace rq::postgresql {
namespace {

/// A pool over a memory context. Its blocks go with the context, so ending the pool is nothing more.
struct Pool {
  RQPool table;
  MemoryContext context;
};

RQStatus destroyPool(RQPool*) {
  return RQ_SUCCESS;
}

/// Answers null where the server would raise an error.
void* allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t) {
  if (!AllocHugeSizeIsValid(bytes) || engines::callbackFails()) return nullptr;
  return MemoryContextAllocExtended(reinterpret_cast<Pool*>(pool)->context, bytes,
                                    MCXT_ALLOC_HUGE | MCXT_ALLOC_NO_OOM);
}

void release(RQPool*, void* block) {
  pfree(block);
}

struct Kernel {
  RQKernel table;
  Pool pool;
};

RQPool* createPool(RQKernel* kernel, RQPoolParameters*, RQJournal*, const char*) {
  return engines::callbackFails() ? nullptr : &reinterpret_cast<Kernel*>(kernel)->pool.table;
}

/// All that a backend has, in one block of its context.
struct Backend {
  DatabaseEncoding encoding;
  Kernel kernel;
  engines::Session* session;
  RQInterface* object;
  alignas(engines::Session) unsigned char sessionRoom[sizeof(engines::Session)];
};

Backend* backend = nullptr;

void makeObject(Backend* made, MemoryContext context) {
  made->kernel.table.createPool = createPool;
  made->kernel.pool.table.destroy = destroyPool;
  made->kernel.pool.table.allocate = allocate;
  made->kernel.pool.table.release = release;
  made->kernel.pool.context = context;
  made->session = new (made->sessionRoom) engines::Session(made->encoding.conversions(), made->encoding.encoding());
  std::uint64_t major, minor;
  rqextver(&made->kernel.table, &major, &minor);
  made->object = made->session->makeObject();
  if (!made->object) {
    ereport(ERROR, errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
            errdetail("The services of rquni cannot be made."));
  }
}

/// Until all is made, the context is a child of the caller's and goes with it when an error is raised.
Backend* makeBackend() {
  MemoryContext const context = AllocSetContextCreate(CurrentMemoryContext, "rquni", ALLOCSET_SMALL_SIZES);
  void* const room = MemoryContextAlloc(context, sizeof(Backend));
  // cppcheck-suppress legacyUninitvar
  auto* const made = new (room) Backend{};
  made->encoding.prepare(context);
  makeObject(made, context);
  MemoryContextSetParent(context, TopMemoryContext);
  return made;
}

}  // namespace

Host enter() {
  if (!backend) backend = makeBackend();
  backend->session->firstFailure = {};
  return {backend->object, backend->session};
}

}  // namespace rq::postgresql
