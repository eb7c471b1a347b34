// Rules about the kernel's pools.
#include <cstring>

#include "checker/probes.h"

namespace rq::checker {
namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
constexpr int rounds = 128;  // each with a mebibyte

Finding kernelWords(const Subject& subject) {
  const std::string null = nullWord(subject.kernel->createPool, 6);
  return null.empty() ? ok() : broken(null);
}

Finding createPool(const Subject& subject) {
  RQPool* first = makePool(subject);
  RQPool* second = makePool(subject);
  if (!first || !second) return broken("a pool is refused");
  if (first == second) return broken("two calls gave the same pool");
  if (first->allocate) first->allocate(first, 8, 0);  // the parameter block is gone by now
  return ok();
}

Finding poolWords(const Subject& subject) {
  const RQPool* pool = makePool(subject);
  for (const std::string& null :
       {nullWord(pool->destroy, 2), nullWord(pool->allocate, 3), nullWord(pool->release, 4)}) {
    if (!null.empty()) return broken(null);
  }
  return ok();
}

Finding alignment(const Subject& subject) {
  RQPool* pool = makePool(subject);
  for (std::uint64_t bytes = 1; bytes <= 2048; bytes += bytes < 64 ? 1 : 121) {
    const void* block = pool->allocate(pool, bytes, 0);
    if (!block) return broken("a block of " + decimal(bytes) + " bytes is refused");
    const std::uint64_t over = reinterpret_cast<std::uintptr_t>(block) % 8;
    if (over != 0)
      return broken("a block of " + decimal(bytes) + " bytes lies " + decimal(over) +
                    " bytes beyond a multiple of 8");
  }
  return ok();
}

struct Block {
  unsigned char* begin;
  std::uint64_t bytes;
  unsigned char fill;
  bool whole() const {
    for (std::uint64_t i = 0; i < bytes; ++i) {
      if (begin[i] != fill) return false;
    }
    return true;
  }
};

/// Takes a block and fills it to its last byte.
Block filled(RQPool* pool, std::uint64_t bytes, std::uint64_t flags, unsigned char fill) {
  auto* memory = static_cast<unsigned char*>(pool->allocate(pool, bytes, flags));
  if (memory) std::memset(memory, fill, bytes);
  return {memory, bytes, fill};
}

Finding blocks(const Subject& subject) {
  RQPool* pool = makePool(subject);
  std::vector<Block> taken = {filled(pool, sizeof(RQInterface), 0x80000000, 1)};
  for (const unsigned bytes : {1U, 7U, 8U, 9U, 100U, 1024U, 1025U, 4096U, 100'000U}) {
    for (int i = 0; i < 4; ++i) taken.push_back(filled(pool, bytes, 0, static_cast<unsigned char>(taken.size() + 1)));
  }
  for (std::size_t i = 1; i < taken.size(); i += 2) {
    if (!taken[i].begin) return broken("a block of " + decimal(taken[i].bytes) + " bytes is refused");
    pool->release(pool, taken[i].begin);
    taken[i] = filled(pool, taken[i].bytes, 0, static_cast<unsigned char>(taken[i].fill + 100));
  }
  for (const Block& block : taken) {
    if (!block.begin) return broken("a block of " + decimal(block.bytes) + " bytes is refused");
    if (!block.whole()) return broken("a block of " + decimal(block.bytes) + " bytes shares memory with another one");
  }
  return ok();
}

Finding refusal(const Subject& subject) {
  RQPool* pool = makePool(subject);
  for (const std::uint64_t bytes : {UINT64_MAX, UINT64_MAX - 7, UINT64_MAX - 64, UINT64_MAX / 2, UINT64_MAX / 4}) {
    if (pool->allocate(pool, bytes, 0)) return broken("a block of " + decimal(bytes) + " bytes is granted");
  }
  return pool->allocate(pool, 8, 0) ? ok() : broken("after a refusal the pool grants nothing more");
}

/// Broken when memory grew by much of `used` between two looks.
Finding grown(std::size_t before, std::uint64_t used, const char* what) {
  const std::size_t after = residentBytes();
  const std::uint64_t growth = after > before ? after - before : 0;
  if (growth <= tolerableGrowth) return ok();
  return broken(decimal(used / mebibyte) + " MiB " + what + ", and " + decimal(growth / mebibyte) +
                " MiB more are in use");
}

Finding release(const Subject& subject) {
  RQPool* pool = makePool(subject);
  const std::size_t before = residentBytes();
  for (int i = 0; i < rounds; ++i) {
    const Block block = filled(pool, mebibyte, 0, 1);
    if (!block.begin) return broken("a block of 1 MiB is refused");
    pool->release(pool, block.begin);
  }
  return grown(before, rounds * mebibyte, "were released");
}

Finding poolDestruction(const Subject& subject) {
  const std::size_t before = residentBytes();
  for (int i = 0; i < rounds; ++i) {
    RQPool* pool = makePool(subject);
    if (!filled(pool, mebibyte / 2, 0, 1).begin || !filled(pool, mebibyte / 2, 0, 2).begin) {
      return broken("a block of 512 KiB is refused");
    }
    pool->destroy(pool);
  }
  return grown(before, rounds * mebibyte, "were freed with their pools");
}

}  // namespace

std::vector<Rule> poolRules() {
  return {
      {"kernel.words", "word 6 of the kernel is set", {}, kernelWords},
      {"kernel.createPool",
       "each call makes a new pool and keeps no pointer to the parameter block",
       {"kernel.words"},
       createPool,
       "it uses the parameter block after the call, or reads beyond it"},
      {"pool.words", "words 2, 3 and 4 of a pool are set", {"kernel.createPool"}, poolWords},
      {"pool.alignment", "blocks are aligned to 8 bytes", {"pool.words"}, alignment},
      {"pool.blocks", "blocks share no bytes", {"pool.words"}, blocks},
      {"pool.refusal", "a block that is too large is refused with null", {"pool.words"}, refusal},
      {"pool.release", "memory of a released block is used again", {"pool.words"}, release},
      {"pool.destroy", "frees the pool and all its blocks", {"pool.words"}, poolDestruction},
  };
}

}  // namespace rq::checker
