// The UTF transforms, in all flavours.
#include "operations.h"

namespace rq::fuzz {
namespace {

const std::vector<test::Slot>& slots() {
  static const std::vector<test::Slot> all =
      slotsNamed({"getUTF8", "putUTF8", "getUTF16N", "putUTF16N", "getUTF16B", "putUTF16B", "getUTF16L", "putUTF16L",
                  "getUTF32N", "putUTF32N", "getUTF32B", "putUTF32B", "getUTF32L", "putUTF32L"});
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
