#include "tests/differential/family.h"

namespace rq::test {

void differ(const char* what, const char* where) {
  throw Difference{std::string(where) + ": " + what};
}

std::span<const Family> allFamilies() {
  static const std::vector<Family> all = [] {
    std::vector<Family> families(operationFamilies().begin(), operationFamilies().end());
    families.insert(families.end(), {kitFamily, wideFamily, creationFamily});
    return families;
  }();
  return all;
}

const Family* familyNamed(std::string_view name) {
  for (const Family& family : allFamilies())
    if (family.name == name) return &family;
  return nullptr;
}

}  // namespace rq::test
