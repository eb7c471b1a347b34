// What is wrong with the words of a command line, for somebody who typed them.
#ifndef RQUNI_CLI_USAGE_ERRORS_H
#define RQUNI_CLI_USAGE_ERRORS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "host/result.h"

namespace rq::cli {

/// The choices of a value whose type is "{one,other}"; none of another type.
std::vector<std::string> choicesOf(const CLI::Option& option);

/// A line that lists what can be chosen; nothing if there is nothing.
std::string choicesLine(const std::vector<std::string>& names);

host::Error unknownCommand(const std::string& word, const std::vector<std::string>& commands);

/// The parser's error in the user's words.
host::Error usageError(const CLI::App& app, const CLI::ParseError& error);

}  // namespace rq::cli

#endif
