/* The main of a fuzz target in ordinary builds: runs every file of a corpus once.
 *
 *   rq_replay_NAME FOLDER      prints how many inputs ran; 2 when there is none
 *   rq_replay_NAME --names     prints the exported names and slots that the target covers */
#include <dirent.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "target.h"

// C's files and directories: the memory sanitizer knows them, while the C++ run-time library is not instrumented.
namespace {

std::vector<std::string> filesIn(const char* folder) {
  std::vector<std::string> names;
  DIR* const directory = opendir(folder);
  if (directory == nullptr) return names;
  while (const dirent* const entry = readdir(directory))
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  closedir(directory);
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::uint8_t> contentsOf(const std::string& path) {
  std::vector<std::uint8_t> bytes(1 << 16);
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return {};
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return std::fprintf(stderr, "usage: %s FOLDER | --names\n", arguments[0]), 2;
  if (std::strcmp(arguments[1], "--names") == 0) {
    for (const std::string& name : rq::fuzz::coveredNames()) std::puts(name.c_str());
    return 0;
  }
  const std::vector<std::string> names = filesIn(arguments[1]);
  for (const std::string& name : names) {
    const std::vector<std::uint8_t> bytes = contentsOf(std::string(arguments[1]) + '/' + name);
    rq::fuzz::Recipe recipe(bytes.data(), bytes.size());
    rq::fuzz::runOnce(recipe);
  }
  std::printf("%zu inputs\n", names.size());
  return names.empty() ? 2 : 0;
}
