// Completions of the command line for shells.
#ifndef RQUNI_HOST_CLI_COMPLETION_H
#define RQUNI_HOST_CLI_COMPLETION_H

#include <CLI/CLI.hpp>
#include <string>

namespace rq::cli {

/// The script that lets a shell complete all that `app` lists in its help. `shell` is bash, zsh or fish.
std::string completionScript(const CLI::App &app, const std::string &shell);

}  // namespace rq::cli

#endif
