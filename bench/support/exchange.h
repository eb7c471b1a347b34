// Texts for the peers that run outside the process: interpreters and filters. peers/outside reads them.
#pragma once

#include <string_view>

namespace rq::bench {

/// From now on `exchange` writes to this folder; before, it does nothing. Call before any row is registered.
void exchangeThrough(const char* folder);

/// Writes one text of a row and what its operation must make of it, and lists them in the folder's index.tsv.
void exchange(std::string_view row, std::string_view size, std::string_view input, std::string_view output);

}  // namespace rq::bench
