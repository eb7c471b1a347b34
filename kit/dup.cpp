// skMemDup, the only routine of the kit that calls a host's pool.
#include "frame/host_tables.h"
#include "frame/kit_exports.h"
#include "kit/kit.h"

extern "C" void* skMemDup(const void* source, std::uint64_t count, RQPool* pool) {
  if (!source || !pool) return nullptr;
  void* const copy = pool->allocate(pool, count, 0);
  if (copy) rq::kit::copyForward(source, copy, count);
  return copy;
}
