#include "host/cli/completion_model.h"

#include <sstream>
#include <string_view>

#include "host/cli/command_line.h"

namespace rq::cli {
namespace {

/// A type is listed as a name, and where there are choices as "TEXT:{one,other}".
Values valuesOf(const CLI::Option &option) {
  if (option.get_items_expected_max() == 0) return {};
  const std::string type = option.get_type_name();
  Values values;
  const std::size_t brace = type.find('{');
  if (brace != std::string::npos) {
    values.kind = Values::Kind::choices;
    std::istringstream list(type.substr(brace + 1, type.rfind('}') - brace - 1));
    for (std::string choice; std::getline(list, choice, ',');) values.choices.push_back(choice);
  } else {
    values.kind = type == fileType       ? Values::Kind::files
                  : type == encodingType ? Values::Kind::encodings
                                         : Values::Kind::free;
  }
  return values;
}

OptionModel optionModel(const CLI::Option &option) {
  OptionModel model{{}, option.get_description(), valuesOf(option)};
  for (const std::string &name : option.get_snames()) model.names.push_back("-" + name);
  for (const std::string &name : option.get_lnames()) model.names.push_back("--" + name);
  return model;
}

}  // namespace

CommandModel modelOf(const CLI::App &app) {
  CommandModel model{app.get_name(), app.get_description(), {}, {}, {}};
  for (const CLI::Option *option : app.get_options()) {
    if (option->get_group().empty()) continue;
    if (option->get_positional()) {
      model.operands.push_back({option->get_name(true), valuesOf(*option), option->get_items_expected_max() > 1});
    } else {
      model.options.push_back(optionModel(*option));
    }
  }
  for (const CLI::App *command :
       app.get_subcommands([](const CLI::App *each) { return !each->get_group().empty(); })) {
    model.commands.push_back(modelOf(*command));
  }
  return model;
}

std::string joined(const std::vector<std::string> &words, const std::string &separator) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

}  // namespace rq::cli
