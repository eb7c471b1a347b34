#include "host/large_pages.h"

#include <sys/mman.h>

#include <cstdint>

namespace rq::host {
namespace {

constexpr std::uintptr_t largePage = std::uintptr_t{2} << 20;

}  // namespace

void preferLargePages(void* block, std::size_t bytes) {
  const auto begin = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (begin + largePage - 1) & ~(largePage - 1);
  const std::uintptr_t last = (begin + bytes) & ~(largePage - 1);
  if (first < last) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

}  // namespace rq::host
