// The commands and options of rqtext: what --help lists, the shells complete and a user asks for.
#ifndef RQUNI_CLI_COMMAND_LINE_H
#define RQUNI_CLI_COMMAND_LINE_H

#include <string>
#include <variant>

#include "cli/command_model.h"
#include "cli/options.h"

namespace rq::cli {

/// What there is to say instead of a command to carry out: the help or the version that was asked for, or what is
/// wrong.
struct Answer {
  bool isComplaint;
  std::string text;
};

/// What the words ask for.
std::variant<Options, Answer> parse(int argc, char** argv);

/// What the help lists; hidden commands are left out.
CommandModel commandModel();

}  // namespace rq::cli

#endif
