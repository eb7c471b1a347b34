// A command line as help lists it, without the details of the parser.
#ifndef RQUNI_CLI_COMMAND_MODEL_H
#define RQUNI_CLI_COMMAND_MODEL_H

#include <string>
#include <vector>

namespace rq::cli {

/// What a value can be.
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

}  // namespace rq::cli

#endif
