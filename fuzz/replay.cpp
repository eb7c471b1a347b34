/* The main of a fuzz target in ordinary builds: runs every file of a corpus once.
 *
 *   rq_replay_NAME FOLDER      prints how many inputs ran; 2 when there is none
 *   rq_replay_NAME --names     prints the exported names and slots that the target covers */
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "target.h"

namespace {

std::vector<std::uint8_t> contentsOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return std::fprintf(stderr, "usage: %s FOLDER | --names\n", arguments[0]), 2;
  if (std::strcmp(arguments[1], "--names") == 0) {
    for (const std::string& name : rq::fuzz::coveredNames()) std::puts(name.c_str());
    return 0;
  }
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  for (const auto& path : paths) {
    const std::vector<std::uint8_t> bytes = contentsOf(path);
    rq::fuzz::Recipe recipe(bytes.data(), bytes.size());
    rq::fuzz::runOnce(recipe);
  }
  std::printf("%zu inputs\n", paths.size());
  return paths.empty() ? 2 : 0;
}
