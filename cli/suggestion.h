// Names for words that are none.
#ifndef RQUNI_CLI_SUGGESTION_H
#define RQUNI_CLI_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

namespace rq::cli {

/// ", did you mean NAME?" with the name that is like `word`, or nothing where none is.
std::string suggestion(std::string_view word, const std::vector<std::string>& names);

}  // namespace rq::cli

#endif
