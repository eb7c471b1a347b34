// The words of a command line: what --help lists, the shells complete and a user asks for.
#ifndef RQUNI_CLI_COMMAND_LINE_H
#define RQUNI_CLI_COMMAND_LINE_H

#include <string>
#include <variant>

#include "cli/command_model.h"
#include "cli/job.h"
#include "host/result.h"

namespace rq::cli {

/// The help or the version, where the user asks for it.
struct Answer {
  std::string text;
};

/// What the words ask for, or what is wrong with them.
std::variant<Job, Answer, host::Error> parse(int argc, char** argv);

/// What the help lists; hidden commands are left out.
CommandModel commandModel();

}  // namespace rq::cli

#endif
