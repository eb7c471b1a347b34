#include "engines/postgresql/host.h"

#include <new>

#include "engines/callbacks.h"
#include "engines/kernel.h"

namespace rq::postgresql {
namespace {

/// Answers null where the server would raise an error.
void* take(void* context, std::uint64_t bytes) {
  if (!AllocHugeSizeIsValid(bytes) || engines::callbackFails()) return nullptr;
  return MemoryContextAllocExtended(static_cast<MemoryContext>(context), bytes, MCXT_ALLOC_HUGE | MCXT_ALLOC_NO_OOM);
}

void giveBack(void* block) {
  pfree(block);
}

/// All that a backend has, in one block of its context.
struct Backend {
  explicit Backend(MemoryContext context) : kernel({.take = take, .giveBack = giveBack, .owner = context}) {}

  DatabaseEncoding encoding;
  engines::Kernel kernel;
  engines::Session* session = nullptr;
  RQInterface* object = nullptr;
  alignas(engines::Session) unsigned char sessionRoom[sizeof(engines::Session)];
};

Backend* backend = nullptr;

void makeObject(Backend* made) {
  made->session = new (made->sessionRoom) engines::Session(made->encoding.conversions(), made->encoding.encoding());
  made->kernel.registerWithLibrary();
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
  auto* const made = new (room) Backend(context);
  made->encoding.prepare(context);
  makeObject(made);
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
