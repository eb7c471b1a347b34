// What the engines share against the tests' own encodings; see seeds.h for the command.
#include "tests/differential/seeds.h"
#include "tests/engines/against_model.h"

int main(int count, char** arguments) {
  return rq::test::SeededCases(rq::test::compareEnginesWithModel).main(count, arguments);
}
