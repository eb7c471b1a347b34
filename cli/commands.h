// The commands of rqtext.
#ifndef RQUNI_CLI_COMMANDS_H
#define RQUNI_CLI_COMMANDS_H

#include "cli/files.h"
#include "cli/options.h"

namespace rq::cli {

/// Carries the command out. What was written to `output` before an error stays there.
Done run(const Options& options, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
