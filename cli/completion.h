// Completions of the command line for shells.
#ifndef RQUNI_CLI_COMPLETION_H
#define RQUNI_CLI_COMPLETION_H

#include <string>

#include "cli/command_model.h"

namespace rq::cli {

/// The script that lets a shell complete all that `app` lists. `shell` is bash, zsh or fish.
std::string completionScript(const CommandModel& app, const std::string& shell);

}  // namespace rq::cli

#endif
