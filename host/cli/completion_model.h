// A command line as the shells' completions see it, without the parser's own detail.
#ifndef RQUNI_HOST_CLI_COMPLETION_MODEL_H
#define RQUNI_HOST_CLI_COMPLETION_MODEL_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace rq::cli {

/// What can stand in the place of a value.
struct Values {
  enum class Kind { none, choices, files, encodings, free };
  Kind kind = Kind::none;
  std::vector<std::string> choices;
};

struct OptionModel {
  std::vector<std::string> names;  // with their hyphens, short ones first
  std::string description;
  Values values;  // none for a flag
};

struct OperandModel {
  std::string name;
  Values values;
  bool repeated;
};

struct CommandModel {
  std::string name, description;
  std::vector<OptionModel> options;
  std::vector<OperandModel> operands;
  std::vector<CommandModel> commands;
};

/// What the help of `app` and of its commands lists; hidden ones are left out.
CommandModel modelOf(const CLI::App &app);

/// The words with `separator` between them.
std::string joined(const std::vector<std::string> &words, const std::string &separator);

}  // namespace rq::cli

#endif
