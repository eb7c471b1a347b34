// The commands that count characters or columns.
#ifndef RQUNI_CLI_MEASURE_H
#define RQUNI_CLI_MEASURE_H

#include "cli/files.h"
#include "cli/job.h"

namespace rq::cli {

Done measureLength(const Job& job, Progress& progress, Output& output);
Done measureWidth(const Job& job, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
