#include "cli/suggestion.h"

#include <algorithm>

#include "host/spelling.h"

namespace rq::cli {

std::string suggestion(std::string_view word, const std::vector<std::string>& names) {
  constexpr std::size_t longestWord = 40;
  if (word.empty() || word.size() > longestWord) return "";
  for (const std::string& name : names)
    if (word.size() > 2 && name.starts_with(word)) return ", did you mean " + name + "?";
  std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
  const std::string* nearest = nullptr;
  for (const std::string& name : names) {
    const std::size_t steps = host::stepsBetween(word, name);
    if (steps >= least) continue;
    least = steps;
    nearest = &name;
  }
  return nearest != nullptr ? ", did you mean " + *nearest + "?" : "";
}

}  // namespace rq::cli
