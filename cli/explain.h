// Tables of the notations in a text.
#ifndef RQUNI_CLI_EXPLAIN_H
#define RQUNI_CLI_EXPLAIN_H

#include "cli/files.h"
#include "cli/job.h"

namespace rq::cli {

/// Writes one row per notation of the texts, or one JSON object.
Done explain(const Job& job, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
