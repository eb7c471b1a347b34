// Writes kit/casemap/class_runs.h: the smallest and largest member of every case class of the BMP, as runs.
//
// Simple upper, lower and title case mappings connect the members of a class. Characters younger than Unicode 9.0 do
// not count, so that any later ICU gives the same classes: a mapping between assigned characters never changes. One
// exception: U+1E9E is not the largest member of its class for U+00DF, which stays.
#include <unicode/uchar.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <numeric>
#include <vector>

namespace {

constexpr UChar32 plane = 0x10000, sharpS = 0x00DF;

bool isInUnicode9(UChar32 c) {
  UVersionInfo age;
  u_charAge(c, age);
  return age[0] != 0 && age[0] <= 9;
}

/// All members of each character's class, in ascending order.
std::vector<std::vector<UChar32>> classesByCharacter() {
  std::vector<UChar32> parent(plane);
  std::iota(parent.begin(), parent.end(), 0);
  const auto rootOf = [&](UChar32 c) {
    while (parent[std::size_t(c)] != c) c = parent[std::size_t(c)];
    return c;
  };
  for (UChar32 c = 0; c < plane; ++c)
    for (const UChar32 mapped : {u_toupper(c), u_tolower(c), u_totitle(c)})
      if (mapped < plane && isInUnicode9(c) && isInUnicode9(mapped)) parent[std::size_t(rootOf(c))] = rootOf(mapped);

  std::map<UChar32, std::vector<UChar32>> members;
  for (UChar32 c = 0; c < plane; ++c) members[rootOf(c)].push_back(c);
  std::vector<std::vector<UChar32>> classes(plane);
  for (UChar32 c = 0; c < plane; ++c) classes[std::size_t(c)] = members[rootOf(c)];
  return classes;
}

/// The distance of each character to the smallest or the largest member of its class.
std::vector<std::int32_t> distances(bool largest) {
  const auto classes = classesByCharacter();
  std::vector<std::int32_t> result(plane);
  for (UChar32 c = 0; c < plane; ++c) {
    const auto& members = classes[std::size_t(c)];
    result[std::size_t(c)] = (largest ? members.back() : members.front()) - c;
  }
  if (largest) result[sharpS] = 0;
  return result;
}

/// The end of the longest run from `first` on with this step. No character belongs to two runs.
UChar32 runEnd(const std::vector<std::int32_t>& delta, const std::vector<bool>& done, UChar32 first, UChar32 step) {
  const auto goesOn = [&](UChar32 c) {
    return c < plane && !done[std::size_t(c)] && delta[std::size_t(c)] == delta[std::size_t(first)];
  };
  UChar32 last = first;
  while (goesOn(last + step)) last += step;
  return last;
}

class Items {
 public:
  template <class... Args>
  void add(const char* format, Args... args) {
    char text[80];
    const int length = std::snprintf(text, sizeof text, format, args...);
    if (column_ + length + 1 > 118) {
      std::printf("\n   ");
      column_ = 3;
    }
    column_ += std::printf(" %s", text);
  }

 private:
  int column_ = 118;
};

void printRuns(const char* name, const std::vector<std::int32_t>& delta) {
  std::printf("constexpr Run %sRuns[] = {", name);
  Items items;
  std::vector<bool> done(plane);
  for (UChar32 c = 0; c < plane; ++c) {
    if (delta[std::size_t(c)] == 0 || done[std::size_t(c)]) continue;
    const UChar32 each = runEnd(delta, done, c, 1), other = runEnd(delta, done, c, 2);
    // Take every other character if those between do not belong to the same run.
    const bool alternates = each == c && other > c;
    const UChar32 last = alternates ? other : each;
    for (UChar32 i = c; i <= last; i += alternates ? 2 : 1) done[std::size_t(i)] = true;
    if (last == c)
      items.add("single(0x%04X, %+d),", unsigned(c), delta[std::size_t(c)]);
    else
      items.add("%s(0x%04X, 0x%04X, %+d),", alternates ? "everyOther" : "each", unsigned(c), unsigned(last),
                delta[std::size_t(c)]);
  }
  std::printf("\n};\n\nconstexpr std::uint16_t %sBlocks[] = {", name);
  Items blocks;
  for (std::size_t block = 0; block < plane; block += 128)
    if (std::any_of(&delta[block], &delta[block] + 128, [](std::int32_t d) { return d != 0; }))
      blocks.add("%u,", unsigned(block / 128));
  std::printf("\n};\n");
}

}  // namespace

int main() {
  std::puts(
      "// The smallest and the largest member of each character's case class by Unicode 9.0, in the BMP.\n"
      "// tools/gen_case_classes writes this file; do not edit.\n"
      "#ifndef RQUNI_KIT_CASEMAP_CLASS_RUNS_H\n"
      "#define RQUNI_KIT_CASEMAP_CLASS_RUNS_H\n\n"
      "#include \"kit/casemap/runs.h\"\n\n"
      "namespace rq::kit::casemap {\n\n"
      "// clang-format off");
  printRuns("smallest", distances(false));
  std::puts("");
  printRuns("largest", distances(true));
  std::puts("// clang-format on\n\n}  // namespace rq::kit::casemap\n\n#endif");
}
