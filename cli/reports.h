// The commands that read no text: they say what library, encodings and hosts are like.
#ifndef RQUNI_CLI_REPORTS_H
#define RQUNI_CLI_REPORTS_H

#include "cli/files.h"
#include "cli/job.h"

namespace rq::cli {

Done showInfo(const Job& job, Progress& progress, Output& output);
Done listEncodings(const Job& job, Progress& progress, Output& output);
Done checkHost(const Job& job, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
