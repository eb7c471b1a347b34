// rq_host_differential SEED SECONDS: so long compares the host's codecs with ICU's converters, in random cases.
// Prints the first differences, and ends with 1 if there is one. Each case has the number printed as its seed.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tests/differential/family.h"
#include "tests/host/against_icu.h"

int main(int count, char** arguments) {
  if (count != 3) {
    std::fputs("rq_host_differential SEED SECONDS\n", stderr);
    return 2;
  }
  std::uint64_t seed = std::strtoull(arguments[1], nullptr, 10);
  const auto end =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(std::strtod(arguments[2], nullptr));
  constexpr unsigned mostShown = 20;
  unsigned long cases = 0;
  unsigned differences = 0;
  for (; std::chrono::steady_clock::now() < end && differences < mostShown; ++cases, ++seed) {
    try {
      rq::test::Choices choices(seed);
      rq::test::compareHostWithIcu(choices);
    } catch (const rq::test::Difference& difference) {
      ++differences;
      std::printf("DIFFERENCE %llu %s\n", static_cast<unsigned long long>(seed), difference.report.c_str());
    }
  }
  std::printf("%lu cases, %u differences\n", cases, differences);
  return differences == 0 && cases > 0 ? 0 : 1;
}
