// The commands that turn text into text.
#ifndef RQUNI_CLI_REWRITE_H
#define RQUNI_CLI_REWRITE_H

#include "cli/files.h"
#include "cli/job.h"

namespace rq::cli {

Done fromForm(const Job& job, Progress& progress, Output& output);
Done toForm(const Job& job, Progress& progress, Output& output);
Done decode(const Job& job, Progress& progress, Output& output);
Done encode(const Job& job, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
