#include "tests/differential/family.h"

namespace rq::test {

void differ(const char* what, const char* where) {
  throw Difference{std::string(where) + ": " + what};
}

std::span<const Family> allFamilies() {
  static const Family all[] = {
#define FAMILY(name) name##Family,
#include "tests/differential/families.def"
#undef FAMILY
  };
  return all;
}

const Family* familyNamed(std::string_view name) {
  for (const Family& family : allFamilies())
    if (family.name == name) return &family;
  return nullptr;
}

}  // namespace rq::test
