/* A program of one kind of case:
 *
 *   PROGRAM SEED SECONDS     random cases for a time, each with the number printed as its seed
 *   PROGRAM replay FOLDER    the inputs of a fuzzer
 *
 * Prints the first differences, and ends with 1 if there is one. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_SEEDS_H
#define RQUNI_TESTS_DIFFERENTIAL_SEEDS_H

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/differential/family.h"

namespace rq::test {

class SeededCases {
 public:
  explicit SeededCases(void (*run)(Choices& choices)) : run_(run) {}

  int main(int count, char** arguments) {
    if (count != 3) {
      std::fprintf(stderr, "%s SEED SECONDS | replay FOLDER\n", arguments[0]);
      return 2;
    }
    if (std::string_view(arguments[1]) == "replay")
      replay(arguments[2]);
    else
      runFrom(std::strtoull(arguments[1], nullptr, 10), std::strtod(arguments[2], nullptr));
    std::printf("%lu cases, %u differences\n", cases_, differences_);
    return differences_ == 0 && cases_ > 0 ? 0 : 1;
  }

 private:
  static constexpr unsigned mostShown = 20;

  void runFrom(std::uint64_t seed, double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (; std::chrono::steady_clock::now() < end && differences_ < mostShown; ++seed) {
      Choices choices(seed);
      runOne(choices, std::to_string(seed));
    }
  }
  void replay(const char* folder) {
    for (const auto& input : std::filesystem::directory_iterator(folder)) {
      std::ifstream file(input.path(), std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(file), {});
      Choices choices(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      runOne(choices, input.path().filename().string());
    }
  }
  void runOne(Choices& choices, const std::string& name) {
    ++cases_;
    try {
      run_(choices);
    } catch (const Difference& difference) {
      ++differences_;
      std::printf("DIFFERENCE %s %s\n", name.c_str(), difference.report.c_str());
    }
  }

  void (*run_)(Choices& choices);
  unsigned long cases_ = 0;
  unsigned differences_ = 0;
};

}  // namespace rq::test

#endif
