#include "cli/usage_errors.h"

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

}  // namespace

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
  if (dynamic_cast<const CLI::RequiredError*>(&error)) {
    const bool noCommand = app.get_subcommands().empty();
    return usage(noCommand ? "a command is required" : text);
  }
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
