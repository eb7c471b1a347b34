#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <map>
#include <sstream>
#include <string_view>
#include <tuple>

namespace rq::cli {
namespace {

constexpr const char* title = "Unicode text services of librquni for files and pipes";

constexpr std::int64_t longestField = std::int64_t{1} << 30;

constexpr const char* footer =
    "Exit codes: 0 done, 1 a text has a problem (the message says where), 2 wrong usage, 3 files, memory or "
    "library.\n"
    "The output is complete only with exit code 0.";

/// The types that arguments are listed with; shells complete what they name.
constexpr const char *fileType = "FILE", *encodingType = "ENCODING";

const std::vector<std::string> forms = {"utf8", "utf16be", "utf16le", "utf32be", "utf32le"};

void addOutput(CLI::App& command, Options& options) {
  command.add_option("-o,--output", options.output, "Write to this file instead of standard output")
      ->type_name(fileType);
}

void addLibrary(CLI::App& command, Options& options) {
  command
      .add_option("--library", options.library, "The library to load (default: beside the tool, then the loader's)")
      ->type_name(fileType);
}

void addCommon(CLI::App& command, Options& options) {
  static const std::map<std::string, Flavour> flavours = {
      {"plain", Flavour::plain}, {"s", Flavour::served}, {"t", Flavour::wide}};
  command.add_option("-s,--session", options.session, "Session encoding (default UTF-8; UTF-32LE for flavour t)")
      ->type_name(encodingType);
  command
      .add_option("--flavour", options.flavour,
                  "plain; s: hexadecimal digits by the host's service; t: 4-byte characters")
      ->transform(CLI::Transformer(flavours).description("{plain,s,t}"))
      ->type_name("TEXT");
  addLibrary(command, options);
  addOutput(command, options);
  command.footer(footer);
}

void addTexts(CLI::App& command, Options& options) {
  addCommon(command, options);
  command.add_option("file", options.files, "Files, - for standard input, which is also the default")
      ->type_name(fileType);
  command.add_flag("--lines", options.lines, "Take each line for a text of its own, in bounded memory");
  command.add_flag_callback(
      "--progress", [&options] { options.progress = true; }, "Show progress");
  command.add_flag_callback(
      "--no-progress", [&options] { options.progress = false; },
      "Show none (default: after a second, on a terminal)");
}

/// Texts of which something else is made, which can take their place.
CLI::Option* addRewritten(CLI::App& command, Options& options) {
  addTexts(command, options);
  return command.add_flag("-i,--in-place", options.inPlace, "Write each result into its own file")
      ->excludes("--output");
}

CLI::App* addCommand(CLI::App& app, Options& options, Command command, const char* name, const char* help) {
  CLI::App* sub = app.add_subcommand(name, help);
  sub->callback([&options, command] { options.command = command; });
  return sub;
}

void addSubject(CLI::App& command, Options& options, const char* name, const std::vector<std::string>& values) {
  command.add_option(name, options.subject)->required()->check(CLI::IsMember(values));
}

/// Describes them to `app`, which fills `options` when it parses.
void describe(CLI::App& app, Options& options) {
  app.require_subcommand(1);
  app.footer(footer);
  app.set_version_flag("--version", "rqtext " RQ_VERSION);

  CLI::App* from = addCommand(app, options, Command::from, "from", "Turn Unicode text into session text");
  addSubject(*from, options, "form", forms);
  addRewritten(*from, options);

  CLI::App* to = addCommand(app, options, Command::to, "to", "Turn session text into Unicode text");
  addSubject(*to, options, "form", forms);
  addRewritten(*to, options);
  to->add_option("--pad", options.pad, "Make each text a field of so many bytes, filled up with blanks")
      ->type_name("BYTES")
      ->check(CLI::Range(std::int64_t{0}, longestField));

  CLI::App* decode = addCommand(app, options, Command::decode, "decode", "Replace a notation by its characters");
  addSubject(*decode, options, "notation", {"ncr", "uesc", "uparen", "uparen-ascii"});
  CLI::Option* inPlace = addRewritten(*decode, options);
  CLI::Option* explain =
      decode->add_flag("--explain", options.explain, "List the notations and what becomes of them instead")
          ->excludes(inPlace);
  decode->add_flag("--json", options.json, "With --explain: a JSON object per notation")->needs(explain);

  CLI::App* encode = addCommand(app, options, Command::encode, "encode", "Replace characters by a notation");
  addSubject(*encode, options, "notation", {"ncr", "uesc", "uparen"});
  addRewritten(*encode, options);

  for (const auto& [command, name, help] :
       {std::tuple(Command::length, "length", "Count characters, without blanks at the end"),
        std::tuple(Command::width, "width", "Count columns, without blanks at the end")}) {
    CLI::App* measure = addCommand(app, options, command, name, help);
    addTexts(*measure, options);
    measure->add_flag("--json", options.json, "A JSON object per file or line");
  }

  CLI::App* info = addCommand(app, options, Command::info, "info", "Show the library's versions and build");
  addCommon(*info, options);
  info->add_flag("--json", options.json, "As a JSON object");
  CLI::App* list = addCommand(app, options, Command::encodings, "encodings", "List the session encodings");
  addOutput(*list, options);
  list->add_flag("--json", options.json, "A JSON object per encoding");
  list->footer(footer);
  CLI::App* check = addCommand(app, options, Command::checkHost, "check-host",
                               "Say which rules of rquni/host_tables.h a host breaks");
  check->add_option("host", options.host, "A shared object with the entry point rquni_host")
      ->required()
      ->type_name(fileType);
  check->add_flag("--threads", options.threads, "Check as well that several threads may use one object");
  check->add_flag("--json", options.json, "A JSON object per rule");
  addLibrary(*check, options);
  addOutput(*check, options);
  check->footer(footer);
  CLI::App* completion = addCommand(app, options, Command::completion, "completion", "Print a shell's completions");
  completion->group("");  // for those who install: not in the list
  addSubject(*completion, options, "shell", {"bash", "zsh", "fish"});
  addOutput(*completion, options);
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

std::variant<Options, Answer> parse(int argc, char** argv) {
  Options options;
  CLI::App app(title, "rqtext");
  describe(app, options);
  try {
    app.parse(argc, argv);
    return options;
  } catch (const CLI::ParseError& error) {
    std::ostringstream help, problem;
    if (app.exit(error, help, problem) != 0) return Answer{true, problem.str()};
    std::string text = help.str();
    if (!text.ends_with('\n')) text += '\n';
    return Answer{false, text};
  }
}

CommandModel commandModel() {
  Options unused;
  CLI::App app(title, "rqtext");
  describe(app, unused);
  return modelOf(app);
}

}  // namespace rq::cli
