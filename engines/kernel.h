// The kernel that an engine registers: it makes pools whose blocks come from the engine's memory.
#ifndef RQUNI_ENGINES_KERNEL_H
#define RQUNI_ENGINES_KERNEL_H

#include <cstdint>

#include "frame/rquni.h"

namespace rq::engines {

/// An engine's memory.
struct Memory {
  void* (*take)(void* owner, std::uint64_t bytes);  // null when refused
  void (*giveBack)(void* block);
  void* owner = nullptr;
};

/// It must not move once it is registered.
class Kernel {
 public:
  constexpr explicit Kernel(const Memory& memory) : memory_(memory) { table_.createPool = createPool; }
  Kernel(const Kernel&) = delete;
  Kernel& operator=(const Kernel&) = delete;

  void registerWithLibrary();

 private:
  static RQPool* createPool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                            const char* description);

  RQKernel table_ = {};
  const Memory memory_;
};

}  // namespace rq::engines

#endif
