// The host's codecs against ICU's converters; see seeds.h for the command.
#include "tests/differential/seeds.h"
#include "tests/host/against_icu.h"

int main(int count, char** arguments) {
  return rq::test::SeededCases(rq::test::compareHostWithIcu).main(count, arguments);
}
