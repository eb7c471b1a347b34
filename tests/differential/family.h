/* A family of cases: rq_differential runs it from a seed, a fuzz target from a fuzzer's bytes. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_FAMILY_H
#define RQUNI_TESTS_DIFFERENTIAL_FAMILY_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/differential/choices.h"

namespace rq::test {

/// Thrown by a case whose answer is not the expected one.
struct Difference {
  std::string report;
};
[[noreturn]] void differ(const char* what, const char* where);
inline void expect(bool holds, const char* what, const char* where) {
  if (!holds) differ(what, where);
}

struct Family {
  const char* name;
  /// One case.
  void (*run)(Choices& choices);
  /// The exported names and the slots ("plain.getNCR") that its cases call.
  std::vector<std::string> (*names)();
};
std::span<const Family> allFamilies();
/// The family of that name, or null.
const Family* familyNamed(std::string_view name);

/// Defined beside their cases.
#define FAMILY(name) extern const Family name##Family;
#include "tests/differential/families.def"
#undef FAMILY

/// One exported name and its check. A family that is a list of these chooses one for each case.
struct Routine {
  const char* name;
  void (*check)(const char* name, Choices& choices);
};
template <std::size_t Count>
void runOneOf(const Routine (&routines)[Count], Choices& choices) {
  const Routine& routine = routines[choices.byte() % Count];
  routine.check(routine.name, choices);
}
template <std::size_t Count>
std::vector<std::string> namesOf(const Routine (&routines)[Count]) {
  std::vector<std::string> names;
  for (const Routine& routine : routines) names.emplace_back(routine.name);
  return names;
}

}  // namespace rq::test

#endif
