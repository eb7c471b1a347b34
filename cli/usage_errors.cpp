#include "cli/usage_errors.h"

#include <sstream>

#include "cli/suggestion.h"

namespace rq::cli {
namespace {

using host::Error;

Error usage(std::string text) {
  return {Error::Kind::usage, std::move(text)};
}

/// Parts of the parser's messages: what stands before, between and behind.
std::string before(const std::string& text, const char* mark) {
  return text.substr(0, text.find(mark));
}
std::string behind(const std::string& text, const std::string& mark) {
  const std::size_t at = text.find(mark);
  return at == std::string::npos ? text : text.substr(at + mark.size());
}

/// An argument that no option or operand takes.
Error notExpected(const CLI::App& app) {
  std::vector<std::string> options;
  for (const CLI::App* command : app.get_subcommands())
    for (const CLI::Option* option : command->get_options())
      for (const std::string& name : option->get_lnames()) options.push_back("--" + name);
  const std::vector<std::string> extras = app.remaining(true);
  const std::string word = extras.empty() ? "" : extras.front();
  if (!word.starts_with('-')) return usage("unexpected argument '" + word + "'");
  return usage("unknown option '" + word + "'" + suggestion(word, options));
}

/// A command or an operand that is not there. `text` begins with the operand's name.
Error missing(const CLI::App& app, const std::string& text) {
  if (app.get_subcommands().empty()) {
    std::vector<std::string> commands;
    for (const CLI::App* command :
         app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); }))
      commands.push_back(command->get_name());
    return usage("a command is required" + choicesLine(commands));
  }
  for (const CLI::Option* option : app.get_subcommands().front()->get_options())
    if (option->get_positional() && text.starts_with(option->get_name(true)))
      return usage(text + choicesLine(choicesOf(*option)));
  return usage(text);
}

}  // namespace

std::vector<std::string> choicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t brace = type.find('{');
  std::vector<std::string> choices;
  if (brace == std::string::npos) return choices;
  std::istringstream list(type.substr(brace + 1, type.rfind('}') - brace - 1));
  for (std::string choice; std::getline(list, choice, ',');) choices.push_back(choice);
  return choices;
}

std::string choicesLine(const std::vector<std::string>& names) {
  std::string line;
  for (const std::string& name : names) line += (line.empty() ? "\nChoose one of: " : ", ") + name;
  return line;
}

Error unknownCommand(const std::string& word, const std::vector<std::string>& commands) {
  return usage("unknown command '" + word + "'" + suggestion(word, commands));
}

Error usageError(const CLI::App& app, const CLI::ParseError& error) {
  const std::string text = error.what();
  if (dynamic_cast<const CLI::ExtrasError*>(&error)) return notExpected(app);
  if (dynamic_cast<const CLI::RequiredError*>(&error)) return missing(app, text);
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    const bool often = text.find("At Most") != std::string::npos;
    return usage(before(text, ":") + (often ? " is given more than once" : " needs a value"));
  }
  if (dynamic_cast<const CLI::ConversionError*>(&error)) {
    return usage(before(behind(text, "Could not convert: "), " =") + " takes no value");
  }
  if (dynamic_cast<const CLI::ExcludesError*>(&error)) {
    return usage(before(text, " excludes ") + " and " + behind(text, " excludes ") + " cannot go together");
  }
  return usage(text);
}

}  // namespace rq::cli
