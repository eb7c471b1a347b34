// Tables of the notations in a text.
#ifndef RQUNI_CLI_EXPLAIN_H
#define RQUNI_CLI_EXPLAIN_H

#include "cli/files.h"
#include "cli/job.h"
#include "cli/text_operation.h"

namespace rq::cli {

/// The rows of a text's notations, one for each, or JSON objects.
Result<TextOperation> explanation(const Job& job);

/// Writes one row per notation of the texts, or one JSON object.
Done explain(const Job& job, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
