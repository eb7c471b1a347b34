// The chosen kernels cannot be changed: after loading, no writable memory of the library points into its code.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/kit/mappings.h"
#include "tests/model/kit.h"

namespace rq::test {
namespace {

/// The mappings of the library, and those without a name that directly follow one of them.
std::vector<Mapping> mappingsOfLibrary() {
  std::vector<Mapping> found;
  std::string path;
  const std::vector<Mapping> all = mappingsOfProcess();
  for (const Mapping& mapping : all)
    if (mapping.holds(reinterpret_cast<std::uintptr_t>(skMemScan))) path = mapping.path;
  for (const Mapping& mapping : all) {
    const bool follows = !found.empty() && mapping.path.empty() && mapping.begin == found.back().end;
    if (mapping.path == path || follows) found.push_back(mapping);
  }
  return found;
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
    for (std::uintptr_t at = mapping.begin; at < mapping.end; at += sizeof at) {
      std::uintptr_t value;
      std::memcpy(&value, reinterpret_cast<const void*>(at), sizeof value);
      if (!pointsIntoCode(value)) continue;
      EXPECT_FALSE(mapping.writable) << std::hex << at << " -> " << value;
      ++sealed;
    }
    writable += mapping.writable;
  }
  EXPECT_GT(writable, 0U) << "the kernel handle was not found, so the mappings were misread";
  EXPECT_GT(sealed, 100U) << "the tables of kernels were not found, so the mappings were misread";
}

}  // namespace
}  // namespace rq::test
