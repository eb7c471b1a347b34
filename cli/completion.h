// Completions of the command line for shells.
#ifndef RQUNI_CLI_COMPLETION_H
#define RQUNI_CLI_COMPLETION_H

#include <string>

#include "cli/command_model.h"
#include "cli/job.h"

namespace rq::cli {

/// The script that lets a shell complete all that `app` lists.
std::string completionScript(const CommandModel& app, Shell shell);

}  // namespace rq::cli

#endif
