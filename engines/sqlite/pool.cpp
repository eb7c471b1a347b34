#include "engines/sqlite/pool.h"

#include <cstdint>

#include "engines/sqlite/api.h"
#include "frame/rquni.h"

namespace rq::sqlite {
namespace {

/// Stands before each block and links it with its neighbours. 16 bytes keep the block aligned.
struct Block {
  Block* next;
  Block* previous;
};

struct Pool {
  RQPool table;
  Block blocks;  // the head of the ring
};

void release(RQPool*, void* memory) {
  Block* const block = static_cast<Block*>(memory) - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  sqlite3_free(block);
}

void* allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t) {
  if (bytes > UINT64_MAX - sizeof(Block)) return nullptr;
  auto* const block = static_cast<Block*>(sqlite3_malloc64(sizeof(Block) + bytes));
  if (!block) return nullptr;
  Block& head = reinterpret_cast<Pool*>(pool)->blocks;
  *block = {head.next, &head};
  head.next->previous = block;
  head.next = block;
  return block + 1;
}

RQStatus destroy(RQPool* pool) {
  const Block& head = reinterpret_cast<Pool*>(pool)->blocks;
  while (head.next != &head) release(pool, head.next + 1);
  sqlite3_free(pool);
  return RQ_SUCCESS;
}

RQPool* create(RQKernel*, RQPoolParameters*, RQJournal*, const char*) {
  auto* const pool = static_cast<Pool*>(sqlite3_malloc64(sizeof(Pool)));
  if (!pool) return nullptr;
  *pool = {};
  pool->table.destroy = destroy;
  pool->table.allocate = allocate;
  pool->table.release = release;
  pool->blocks = {&pool->blocks, &pool->blocks};
  return &pool->table;
}

}  // namespace

void registerKernel() {
  static RQKernel kernel = {};
  kernel.createPool = create;
  std::uint64_t major, minor;
  rqextver(&kernel, &major, &minor);
}

}  // namespace rq::sqlite
