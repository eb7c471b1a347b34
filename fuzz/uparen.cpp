// The U-paren notation, in all flavours.
#include "operations.h"

namespace rq::fuzz {
namespace {

const std::vector<test::Slot>& slots() {
  static const std::vector<test::Slot> all = slotsNamed({"getUParen", "getUParenP", "putUParen"});
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
