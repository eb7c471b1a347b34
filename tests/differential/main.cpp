/* Compares the library with its naive twins.
 *
 *   rq_differential random SEED SECONDS [FAMILY...]   cases made from a seed; all families when none is named
 *   rq_differential case FAMILY NUMBER                repeats one of those cases
 *   rq_differential all LENGTH CAPACITY               all texts of up to LENGTH pieces of a small alphabet for each
 *                                                     codec and measure, with all capacities up to CAPACITY
 *   rq_differential letters LENGTH                    all texts of up to LENGTH letters of a larger alphabet, with
 *                                                     every capacity up to the longest output
 *   rq_differential replay FAMILY INPUT|FOLDER        one input of a fuzzer, or a folder of them
 *   rq_differential families                          the names of the families
 *   rq_differential names                             the exported names and slots that the families call
 *
 * The families share the time alike. In one case of eight the host of an operation refuses a single call or reports a
 * false length, to the twin as to the library. RQUNI_KERNELS chooses the kernels. Prints the cases of each family
 * and, in the last line, of all. Ends with 0 when there is no difference, 1 after the first twenty, 2 on wrong
 * arguments or an empty corpus. A difference, and a crash, is reported with the command that repeats it. */
#include <dirent.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tests/differential/exhaustive.h"
#include "tests/differential/family.h"

namespace rq::test {
namespace {

constexpr int maxDifferences = 20;

/// The arguments that repeat the running case.
struct {
  std::string command;
  unsigned long long number = 0;
  bool isNumbered = true;
} running;
unsigned long long cases = 0;
int differences = 0;

const char* kernels() {
  const char* const wanted = std::getenv("RQUNI_KERNELS");
  return wanted ? wanted : "";
}

void printRepeat() {
  std::fprintf(stderr, "  repeat with: %s%s%srq_differential %s", *kernels() ? "RQUNI_KERNELS=" : "", kernels(),
               *kernels() ? " " : "", running.command.c_str());
  if (running.isNumbered) std::fprintf(stderr, " %llu", running.number);
  std::fputc('\n', stderr);
}

/// Prints the case, then lets the previous handler, a sanitizer's or the system's, end the process.
struct sigaction before[NSIG];
void reportCrash(int signal) {
  std::fprintf(stderr, "CRASH, signal %d\n", signal);
  printRepeat();
  sigaction(signal, &before[signal], nullptr);
  if (signal == SIGABRT) std::raise(signal);
}

void watchForCrashes() {
  struct sigaction action {};
  action.sa_handler = reportCrash;
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) sigaction(signal, &action, &before[signal]);
}

/// Runs and counts one case; false when there have been differences enough.
template <class Run>
bool count(Run run) {
  ++cases;
  try {
    run();
    return true;
  } catch (const Difference& difference) {
    std::fprintf(stderr, "DIFFERENCE %s\n", difference.report.c_str());
    printRepeat();
    return ++differences < maxDifferences;
  }
}

bool runCase(const Family& family, std::uint64_t number) {
  running.number = number;
  return count([&] {
    Choices choices(number);
    family.run(choices);
  });
}

struct Tally {
  const Family* family;
  std::uint64_t next;  // the number of the next case
  std::uint64_t cases = 0;
  double processorSeconds = 0;
};

/// The families in turn, each for a twentieth of a second.
void runRandomly(std::vector<Tally>& tallies, double seconds) {
  using Clock = std::chrono::steady_clock;
  const auto secondsSince = [](Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  for (const auto start = Clock::now(); secondsSince(start) < seconds;)
    for (Tally& tally : tallies) {
      const auto turn = Clock::now();
      const std::clock_t processor = std::clock();
      running.command = std::string("case ") + tally.family->name;
      do
        for (unsigned i = 0; i < 256; ++i) {
          ++tally.cases;
          if (!runCase(*tally.family, tally.next++)) return;
        }
      while (secondsSince(turn) < 0.05);
      tally.processorSeconds += static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC;
    }
}

int random(std::uint64_t seed, double seconds, std::vector<const Family*> families) {
  if (families.empty())
    for (const Family& family : allFamilies()) families.push_back(&family);
  std::vector<Tally> tallies;
  for (const Family* family : families) {
    // Far apart for each seed and family.
    Choices choices(seed * 64 + static_cast<std::uint64_t>(family - allFamilies().data()));
    tallies.push_back({family, choices.word()});
  }
  runRandomly(tallies, seconds);
  for (const Tally& tally : tallies)
    std::printf("%-12s %14llu cases, %9.0f a second of one processor\n", tally.family->name,
                static_cast<unsigned long long>(tally.cases),
                static_cast<double>(tally.cases) / tally.processorSeconds);
  return 0;
}

int repeatCase(const Family& family, std::uint64_t number) {
  running.command = std::string("case ") + family.name;
  runCase(family, number);
  return 0;
}

bool countCase(const Case& test) {
  return count([&] { checkCase(test); });
}

int all(unsigned length, std::uint64_t capacity) {
  running = {"all " + std::to_string(length), capacity, true};
  forEachTextOfPieces(length, capacity, countCase);
  return 0;
}

int letters(unsigned length) {
  running = {"letters", length, true};
  forEachTextOfLetters(length, countCase);
  return 0;
}

// C's files and directories: the memory sanitizer knows them, while the C++ run-time library is not instrumented.
std::vector<std::uint8_t> contentsOf(const std::string& path) {
  std::vector<std::uint8_t> bytes(1 << 16);
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (!file) return std::perror(path.c_str()), std::exit(2), bytes;
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

/// One input, or all of a folder.
int replay(const Family& family, const std::string& path) {
  std::vector<std::string> inputs;
  if (DIR* const folder = opendir(path.c_str())) {
    while (const dirent* const entry = readdir(folder))
      if (entry->d_name[0] != '.') inputs.push_back(path + '/' + entry->d_name);
    closedir(folder);
  } else {
    inputs.push_back(path);
  }
  for (const std::string& input : inputs) {
    running = {std::string("replay ") + family.name + ' ' + input, 0, false};
    const std::vector<std::uint8_t> bytes = contentsOf(input);
    const auto run = [&] {
      Choices choices(bytes.data(), bytes.size());
      family.run(choices);
    };
    if (!count(run)) break;
  }
  return inputs.empty() ? 2 : 0;
}

int printFamilies() {
  for (const Family& family : allFamilies()) std::puts(family.name);
  return 0;
}

int printNames() {
  for (const Family& family : allFamilies())
    for (const std::string& name : family.names()) std::puts(name.c_str());
  return 0;
}

int usage() {
  std::fprintf(stderr,
               "usage: rq_differential random SEED SECONDS [FAMILY...] | case FAMILY NUMBER | all LENGTH CAPACITY |\n"
               "       letters LENGTH | replay FAMILY INPUT|FOLDER | families | names\nfamilies:");
  for (const Family& family : allFamilies()) std::fprintf(stderr, " %s", family.name);
  std::fputc('\n', stderr);
  return 2;
}

int run(const std::vector<const char*>& arguments) {
  const std::string_view mode = arguments.empty() ? "" : arguments[0];
  const std::size_t count = arguments.size();
  const auto number = [&](std::size_t i) { return std::strtoull(arguments[i], nullptr, 0); };
  std::vector<const Family*> families;
  const std::size_t begin = mode == "random" ? 3 : 1;
  const std::size_t end = mode == "random" ? count : mode == "case" || mode == "replay" ? 2 : 0;
  for (std::size_t i = begin; i < end && i < count; ++i)
    if (families.push_back(familyNamed(arguments[i])); !families.back()) return usage();

  if (mode == "families" && count == 1) return printFamilies();
  if (mode == "names" && count == 1) return printNames();
  int result = 2;
  if (mode == "random" && count >= 3)
    result = random(number(1), std::atof(arguments[2]), families);
  else if (mode == "case" && count == 3)
    result = repeatCase(*families[0], number(2));
  else if (mode == "all" && count == 3)
    result = all(static_cast<unsigned>(number(1)), number(2));
  else if (mode == "letters" && count == 2)
    result = letters(static_cast<unsigned>(number(1)));
  else if (mode == "replay" && count == 3)
    result = replay(*families[0], arguments[2]);
  else
    return usage();
  std::printf("%llu cases, %d differences, kernels: %s\n", cases, differences,
              *kernels() ? kernels() : "the widest of the processor");
  return result ? result : differences != 0;
}

}  // namespace
}  // namespace rq::test

int main(int count, char** arguments) {
  rq::test::watchForCrashes();
  return rq::test::run({arguments + 1, arguments + count});
}
