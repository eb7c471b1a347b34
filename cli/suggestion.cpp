#include "cli/suggestion.h"

#include <algorithm>
#include <numeric>

namespace rq::cli {
namespace {

/// The least number of characters to insert, remove or replace that turns one word into the other.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string suggestion(std::string_view word, const std::vector<std::string>& names) {
  constexpr std::size_t longestWord = 40;
  if (word.empty() || word.size() > longestWord) return "";
  for (const std::string& name : names)
    if (word.size() > 2 && name.starts_with(word)) return ", did you mean " + name + "?";
  std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
  const std::string* nearest = nullptr;
  for (const std::string& name : names) {
    const std::size_t steps = distance(word, name);
    if (steps >= least) continue;
    least = steps;
    nearest = &name;
  }
  return nearest != nullptr ? ", did you mean " + *nearest + "?" : "";
}

}  // namespace rq::cli
