#include "engines/kernel.h"

#include <type_traits>

namespace rq::engines {
namespace {

/// Stands before each block and links it with its neighbours. 16 bytes keep the block aligned.
struct Block {
  Block* next;
  Block* previous;
};

struct Pool {
  RQPool table;
  Memory memory;
  Block blocks;  // the head of the ring
};

void release(RQPool* pool, void* memory) {
  Block* const block = static_cast<Block*>(memory) - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  reinterpret_cast<Pool*>(pool)->memory.giveBack(block);
}

void* allocate(RQPool* table, std::uint64_t bytes, std::uint64_t) {
  Pool& pool = *reinterpret_cast<Pool*>(table);
  if (bytes > UINT64_MAX - sizeof(Block)) return nullptr;
  auto* const block = static_cast<Block*>(pool.memory.take(pool.memory.owner, sizeof(Block) + bytes));
  if (!block) return nullptr;
  Block& head = pool.blocks;
  *block = {head.next, &head};
  head.next->previous = block;
  head.next = block;
  return block + 1;
}

RQStatus destroy(RQPool* pool) {
  const Memory memory = reinterpret_cast<Pool*>(pool)->memory;
  const Block& head = reinterpret_cast<Pool*>(pool)->blocks;
  while (head.next != &head) release(pool, head.next + 1);
  memory.giveBack(pool);
  return RQ_SUCCESS;
}

}  // namespace

RQPool* Kernel::createPool(RQKernel* kernel, RQPoolParameters*, RQJournal*, const char*) {
  static_assert(std::is_standard_layout_v<Kernel>, "the table has the kernel's address");
  const Memory& memory = reinterpret_cast<Kernel*>(kernel)->memory_;
  auto* const pool = static_cast<Pool*>(memory.take(memory.owner, sizeof(Pool)));
  if (!pool) return nullptr;
  *pool = {.table = {}, .memory = memory, .blocks = {&pool->blocks, &pool->blocks}};
  pool->table.destroy = destroy;
  pool->table.allocate = allocate;
  pool->table.release = release;
  return &pool->table;
}

void Kernel::registerWithLibrary() {
  std::uint64_t major, minor;
  rqextver(&table_, &major, &minor);
}

}  // namespace rq::engines
