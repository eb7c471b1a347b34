// Numeric character references, in all flavours.
#include "operations.h"

namespace rq::fuzz {
namespace {

const std::vector<test::Slot>& slots() {
  static const std::vector<test::Slot> all = slotsNamed({"getNCR", "putNCR"});
  return all;
}

}  // namespace

void runOnce(Recipe& recipe) {
  exercise(recipe, slots());
}

std::vector<std::string> coveredNames() {
  return namesOf(slots());
}

}  // namespace rq::fuzz
