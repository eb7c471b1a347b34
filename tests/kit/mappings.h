// The memory mappings of this process, as the system lists them.
#ifndef RQUNI_TESTS_KIT_MAPPINGS_H
#define RQUNI_TESTS_KIT_MAPPINGS_H

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace rq::test {

struct Mapping {
  std::uintptr_t begin = 0, end = 0;
  bool readable = false, writable = false, executable = false;
  std::string path;  // empty for memory without a file

  bool holds(std::uintptr_t address) const { return begin <= address && address < end; }
};

inline std::vector<Mapping> mappingsOfProcess() {
  std::vector<Mapping> mappings;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream fields(line);
    Mapping mapping;
    char dash;
    std::string access, offset, device, inode;
    fields >> std::hex >> mapping.begin >> dash >> mapping.end >> access >> offset >> device >> inode >> mapping.path;
    mapping.readable = access.at(0) == 'r';
    mapping.writable = access.at(1) == 'w';
    mapping.executable = access.at(2) == 'x';
    mappings.push_back(mapping);
  }
  return mappings;
}

}  // namespace rq::test

#endif
