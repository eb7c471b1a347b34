// The chosen kernels cannot be changed: after loading, no writable memory of the library points into its code.
#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <vector>

#include "tests/kit/mappings.h"
#include "tests/model/kit.h"

namespace rq::test {
namespace {

/// The addresses that the library takes up, from its first loaded segment to the end of its last.
struct Extent {
  std::uintptr_t begin = UINTPTR_MAX, end = 0;
};
Extent extentOfLibrary() {
  Extent extent;
  const auto visit = [](dl_phdr_info* object, std::size_t, void* result) {
    Extent loaded;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
      const auto& segment = object->dlpi_phdr[i];
      if (segment.p_type != PT_LOAD) continue;
      loaded.begin = std::min(loaded.begin, object->dlpi_addr + segment.p_vaddr);
      loaded.end = std::max(loaded.end, object->dlpi_addr + segment.p_vaddr + segment.p_memsz);
    }
    const auto inside = reinterpret_cast<std::uintptr_t>(skMemScan);
    if (loaded.begin <= inside && inside < loaded.end) *static_cast<Extent*>(result) = loaded;
    return 0;
  };
  dl_iterate_phdr(visit, &extent);
  return extent;
}

std::vector<Mapping> mappingsOfLibrary() {
  const Extent extent = extentOfLibrary();
  std::vector<Mapping> found;
  for (Mapping mapping : mappingsOfProcess()) {
    if (mapping.end <= extent.begin || mapping.begin >= extent.end) continue;
    mapping.end = std::min(
        mapping.end, (extent.end + sizeof(std::uintptr_t) - 1) / sizeof(std::uintptr_t) * sizeof(std::uintptr_t));
    found.push_back(mapping);
  }
  return found;
}

/// The content of a mapping, read by the system: between the objects there lies what sanitizers forbid to touch.
std::vector<std::uintptr_t> wordsOf(const Mapping& mapping) {
  std::vector<std::uintptr_t> words((mapping.end - mapping.begin) / sizeof(std::uintptr_t));
  std::ifstream memory("/proc/self/mem", std::ios::binary);
  memory.seekg(static_cast<std::streamoff>(mapping.begin));
  memory.read(reinterpret_cast<char*>(words.data()), static_cast<std::streamsize>(mapping.end - mapping.begin));
  EXPECT_TRUE(memory.good()) << std::hex << mapping.begin;
  return words;
}

TEST(Sealing, NoWritableFunctionPointerIsLeft) {
  const std::vector<Mapping> mappings = mappingsOfLibrary();
  const auto pointsIntoCode = [&](std::uintptr_t value) {
    for (const Mapping& mapping : mappings)
      if (mapping.executable && mapping.holds(value)) return true;
    return false;
  };
  std::size_t writable = 0, sealed = 0;
  for (const Mapping& mapping : mappings) {
    EXPECT_FALSE(mapping.writable && mapping.executable) << mapping.path;
    if (!mapping.readable || mapping.executable) continue;
    const std::vector<std::uintptr_t> words = wordsOf(mapping);
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (!pointsIntoCode(words[i])) continue;
      EXPECT_FALSE(mapping.writable) << std::hex << mapping.begin + i * sizeof words[i] << " -> " << words[i];
      ++sealed;
    }
    writable += mapping.writable;
  }
  EXPECT_GT(writable, 0U) << "the kernel handle was not found, so the mappings were misread";
  EXPECT_GT(sealed, 100U) << "the tables of kernels were not found, so the mappings were misread";
}

}  // namespace
}  // namespace rq::test
