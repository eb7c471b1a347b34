#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <span>
#include <sstream>
#include <string_view>

#include "cli/commands.h"

namespace rq::cli {
namespace {

constexpr const char* title = "Unicode text services of librquni for files and pipes";

constexpr std::int64_t longestField = std::int64_t{1} << 30;

constexpr const char* footer =
    "Exit codes: 0 done, 1 a text has a problem (the message says where), 2 wrong usage, 3 files, memory or "
    "library.\n"
    "The output is complete only with exit code 0.";

/// The types that help lists; shells complete what they name.
constexpr const char *fileType = "FILE", *encodingType = "ENCODING";

template <class T>
struct Named {
  const char* name;
  T value;
};

constexpr Named<RQForm> formNames[] = {{"utf8", RQ_FORM_UTF8},
                                       {"utf16be", RQ_FORM_UTF16_BIG},
                                       {"utf16le", RQ_FORM_UTF16_LITTLE},
                                       {"utf32be", RQ_FORM_UTF32_BIG},
                                       {"utf32le", RQ_FORM_UTF32_LITTLE}};
constexpr Named<Notation> notationNames[] = {{"ncr", Notation::ncr},
                                             {"uesc", Notation::uesc},
                                             {"uparen", Notation::uparen},
                                             {"uparen-ascii", Notation::uparenAscii}};
/// There is no encoder for uparen-ascii.
constexpr std::span encodedNotationNames = std::span(notationNames).first<3>();
constexpr Named<Flavour> flavourNames[] = {{"plain", Flavour::plain}, {"s", Flavour::served}, {"t", Flavour::wide}};
constexpr Named<Shell> shellNames[] = {{"bash", Shell::bash}, {"zsh", Shell::zsh}, {"fish", Shell::fish}};

template <class Names>
std::vector<std::string> namesOf(const Names& all) {
  std::vector<std::string> names;
  for (const auto& each : all) names.emplace_back(each.name);
  return names;
}

/// The value of a name; the parser has let no other names pass.
template <class Names>
auto valueOf(const Names& all, std::string_view name) {
  const auto found = std::ranges::find_if(all, [name](const auto& each) { return each.name == name; });
  return (found != std::end(all) ? found : std::begin(all))->value;
}

/// The words as they stand on the command line; those with a fixed set of values become a Job's by jobOf().
struct Arguments {
  Job job;
  std::string subject, flavour = "plain";
};

Job jobOf(Arguments arguments) {
  Job& job = arguments.job;
  switch (job.command->subject) {
    case Subject::form:
      job.form = valueOf(formNames, arguments.subject);
      break;
    case Subject::decodedNotation:
    case Subject::encodedNotation:
      job.notation = valueOf(notationNames, arguments.subject);
      break;
    case Subject::shell:
      job.shell = valueOf(shellNames, arguments.subject);
      break;
    case Subject::host:
      job.host = arguments.subject;
      break;
    case Subject::none:
      break;
  }
  job.flavour = valueOf(flavourNames, arguments.flavour);
  if (job.command->has(takes::texts) && job.files.empty()) job.files.emplace_back("-");
  return job;
}

void addChoice(CLI::App& app, const char* name, std::string& value, const std::vector<std::string>& choices) {
  app.add_option(name, value)->required()->check(CLI::IsMember(choices));
}

void addSubject(CLI::App& app, Subject subject, std::string& value) {
  switch (subject) {
    case Subject::form:
      return addChoice(app, "form", value, namesOf(formNames));
    case Subject::decodedNotation:
      return addChoice(app, "notation", value, namesOf(notationNames));
    case Subject::encodedNotation:
      return addChoice(app, "notation", value, namesOf(encodedNotationNames));
    case Subject::shell:
      return addChoice(app, "shell", value, namesOf(shellNames));
    case Subject::host:
      app.add_option("host", value, "A shared object with the entry point rquni_host")
          ->required()
          ->type_name(fileType);
      return;
    case Subject::none:
      return;
  }
}

void addSession(CLI::App& app, Arguments& arguments) {
  app.add_option("-s,--session", arguments.job.session, "Session encoding (default UTF-8; UTF-32LE for flavour t)")
      ->type_name(encodingType);
  app.add_option("--flavour", arguments.flavour,
                 "plain; s: hexadecimal digits by the host's service; t: 4-byte characters")
      ->check(CLI::IsMember(namesOf(flavourNames)));
}

void addTexts(CLI::App& app, Job& job) {
  app.add_option("file", job.files, "Files, - for standard input, which is also the default")->type_name(fileType);
  app.add_flag("--lines", job.lines, "Take each line for a text of its own, in bounded memory");
  app.add_flag_callback(
      "--progress", [&job] { job.progress = true; }, "Show progress");
  app.add_flag_callback(
      "--no-progress", [&job] { job.progress = false; }, "Show none (default: after a second, on a terminal)");
}

void addOptions(CLI::App& app, const Command& command, Arguments& arguments) {
  Job& job = arguments.job;
  if (command.has(takes::session)) addSession(app, arguments);
  if (command.has(takes::threads))
    app.add_flag("--threads", job.threads, "Check as well that several threads may use one object");
  if (command.has(takes::library)) {
    app.add_option("--library", job.library, "The library to load (default: beside the tool, then the loader's)")
        ->type_name(fileType);
  }
  app.add_option("-o,--output", job.output, "Write to this file instead of standard output")->type_name(fileType);
  if (command.has(takes::texts)) addTexts(app, job);
  CLI::Option* inPlace = nullptr;
  if (command.has(takes::inPlace)) {
    inPlace = app.add_flag("-i,--in-place", job.inPlace, "Write each result into its own file")->excludes("--output");
  }
  if (command.has(takes::pad)) {
    app.add_option("--pad", job.padBytes, "Make each text a field of so many bytes, filled up with blanks")
        ->type_name("BYTES")
        ->check(CLI::Range(std::int64_t{0}, longestField));
  }
  CLI::Option* json = nullptr;
  if (command.jsonHelp != nullptr) json = app.add_flag("--json", job.json, command.jsonHelp);
  if (command.has(takes::explain)) {
    json->needs(app.add_flag("--explain", job.explain, "List the notations and what becomes of them instead")
                    ->excludes(inPlace));
  }
}

/// Describes the commands to `app`, which fills `arguments` when it parses.
void describe(CLI::App& app, Arguments& arguments) {
  app.require_subcommand(1);
  app.footer(footer);
  app.set_version_flag("--version", "rqtext " RQ_VERSION);
  for (const Command& command : commands()) {
    CLI::App* sub = app.add_subcommand(command.name, command.help);
    sub->callback([&arguments, &command] { arguments.job.command = &command; });
    sub->footer(footer);
    if (!command.listed) sub->group("");
    addSubject(*sub, command.subject, arguments.subject);
    addOptions(*sub, command, arguments);
  }
}

/// A type is listed as a name, and where there are choices as "TEXT:{one,other}".
Values valuesOf(const CLI::Option& option) {
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

OptionModel optionModel(const CLI::Option& option) {
  OptionModel model{{}, option.get_description(), valuesOf(option)};
  for (const std::string& name : option.get_snames()) model.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) model.names.push_back("--" + name);
  return model;
}

CommandModel modelOf(const CLI::App& app) {
  CommandModel model{app.get_name(), app.get_description(), {}, {}, {}};
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    if (option->get_positional()) {
      model.operands.push_back({option->get_name(true), valuesOf(*option), option->get_items_expected_max() > 1});
    } else {
      model.options.push_back(optionModel(*option));
    }
  }
  for (const CLI::App* command :
       app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
    model.commands.push_back(modelOf(*command));
  }
  return model;
}

}  // namespace

std::variant<Job, Answer, host::Error> parse(int argc, char** argv) {
  Arguments arguments;
  CLI::App app(title, "rqtext");
  describe(app, arguments);
  try {
    app.parse(argc, argv);
    return jobOf(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    std::ostringstream help, problem;
    const bool wrong = app.exit(error, help, problem) != 0;
    std::string text = (wrong ? problem : help).str();
    if (text.ends_with('\n')) text.pop_back();
    if (wrong) return Error{Error::Kind::usage, text};
    return Answer{text + '\n'};
  }
}

CommandModel commandModel() {
  Arguments unused;
  CLI::App app(title, "rqtext");
  describe(app, unused);
  return modelOf(app);
}

}  // namespace rq::cli
