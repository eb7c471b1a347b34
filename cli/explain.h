// Tables of the notations in a text.
#ifndef RQUNI_CLI_EXPLAIN_H
#define RQUNI_CLI_EXPLAIN_H

#include <string>

#include "cli/notations.h"
#include "cli/workbench.h"

namespace rq::cli {

/// The head of the table, with a column for the file if `withFile`.
std::string explanationHead(bool withFile);
/// Writes one row per notation of the text, or one JSON object. `file` is empty for no such column.
Done explain(const Workbench& bench, Notation notation, const Text& text, const std::string& file, bool json,
             Output& output);

}  // namespace rq::cli

#endif
