#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <memory>
#include <span>
#include <sstream>
#include <string_view>

#include "cli/commands.h"
#include "cli/suggestion.h"
#include "cli/usage_errors.h"

namespace rq::cli {
namespace {

constexpr const char* title = "Unicode text services of librquni for files and pipes";

constexpr std::uint64_t longestField = std::uint64_t{1} << 30;
constexpr unsigned mostJobs = 64;

constexpr const char* footer =
    "\nExit codes: 0 done, 1 a text has a problem (the message says where), 2 wrong usage, 3 files, memory, "
    "library or host failed.\n"
    "The output is complete only with exit code 0.";

constexpr const char* more = "\nrqtext --help shows commands and options.";

/// What the parser gives for --in-place alone.
constexpr const char* withoutSuffix = "true";

/// The types that help lists; shells complete what they name.
constexpr const char *fileType = "FILE", *encodingType = "ENCODING";

template <class T>
struct Named {
  const char* name;
  T value;
};

/// A native form stands for either order: a byte order mark says which.
constexpr Named<RQForm> formNames[] = {{"utf8", RQ_FORM_UTF8},           {"utf16", RQ_FORM_UTF16_NATIVE},
                                       {"utf16be", RQ_FORM_UTF16_BIG},   {"utf16le", RQ_FORM_UTF16_LITTLE},
                                       {"utf32", RQ_FORM_UTF32_NATIVE},  {"utf32be", RQ_FORM_UTF32_BIG},
                                       {"utf32le", RQ_FORM_UTF32_LITTLE}};
constexpr Named<Notation> notationNames[] = {{"ncr", Notation::ncr},
                                             {"uesc", Notation::uesc},
                                             {"uparen", Notation::uparen},
                                             {"uparen-ascii", Notation::uparenAscii}};
/// There is no encoder for uparen-ascii.
constexpr std::span encodedNotationNames = std::span(notationNames).first<3>();
constexpr Named<Flavour> flavourNames[] = {{"plain", Flavour::plain}, {"s", Flavour::served}, {"t", Flavour::wide}};
constexpr Named<bool> invalidNames[] = {{"error", false}, {"keep", true}};
constexpr Named<Unmappable> unmappableNames[] = {
    {"error", Unmappable::error}, {"keep", Unmappable::keep}, {"substitute", Unmappable::substitute}};
constexpr Named<Shell> shellNames[] = {{"bash", Shell::bash}, {"zsh", Shell::zsh}, {"fish", Shell::fish}};

template <class Names>
std::vector<std::string> namesOf(const Names& all) {
  std::vector<std::string> names;
  for (const auto& each : all) names.emplace_back(each.name);
  return names;
}

/// Sets `value` to that of the name `word`.
template <class Names, class T>
Done choose(const char* what, const Names& names, const std::string& word, T& value) {
  for (const auto& each : names) {
    if (each.name != word) continue;
    value = each.value;
    return host::done();
  }
  const std::vector<std::string> all = namesOf(names);
  return Error{Error::Kind::usage,
               std::string("unknown ") + what + " '" + word + "'" + suggestion(word, all) + choicesLine(all)};
}

/// The words as they stand on the command line; those with a fixed set of values become a Job's by jobOf().
struct Arguments {
  Job job;
  std::string subject, flavour = "plain", invalid = "error", inPlace;
  std::optional<std::string> unmappable, padBytes, jobs;
};

Done chooseSubject(const std::string& word, Job& job) {
  switch (job.command->subject) {
    case Subject::form:
      return choose("form", formNames, word, job.form);
    case Subject::decodedNotation:
      return choose("notation", notationNames, word, job.notation);
    case Subject::encodedNotation:
      return choose("notation", encodedNotationNames, word, job.notation);
    case Subject::shell:
      return choose("shell", shellNames, word, job.shell);
    case Subject::host:
      job.host = word;
      break;
    case Subject::none:
      break;
  }
  return host::done();
}

Done chooseUnmappable(const std::optional<std::string>& word, Job& job) {
  if (!word) return host::done();
  if (Done chosen = choose("choice for --unmappable", unmappableNames, *word, job.unmappable); !chosen) return chosen;
  if (job.host.empty() || job.command->subject != Subject::form) return host::done();
  return Error{Error::Kind::usage, "--host and --unmappable cannot go together with from: the host decides"};
}

/// Sets `value` to the number that the option gives, if it is given.
template <class Number>
Done readNumber(const char* option, const std::optional<std::string>& word, Number least, Number most,
                std::optional<Number>& value) {
  if (!word) return host::done();
  const char* const end = word->data() + word->size();
  Number number{};
  const auto [read, error] = std::from_chars(word->data(), end, number);
  if (error != std::errc() || read != end || number < least || number > most) {
    return Error{Error::Kind::usage, std::string(option) + " needs a number from " + std::to_string(least) + " to " +
                                         std::to_string(most) + ", not '" + *word + "'"};
  }
  value = number;
  return host::done();
}

Result<Job> jobOf(Arguments arguments) {
  Job& job = arguments.job;
  if (Done chosen = chooseSubject(arguments.subject, job); !chosen) return chosen.error();
  if (Done chosen = choose("flavour", flavourNames, arguments.flavour, job.flavour); !chosen) return chosen.error();
  if (Done chosen = choose("choice for --invalid", invalidNames, arguments.invalid, job.keepInvalid); !chosen) {
    return chosen.error();
  }
  if (Done chosen = chooseUnmappable(arguments.unmappable, job); !chosen) return chosen.error();
  if (Done read = readNumber("--pad", arguments.padBytes, std::uint64_t{0}, longestField, job.padBytes); !read) {
    return read.error();
  }
  if (Done read = readNumber("--jobs", arguments.jobs, 1U, mostJobs, job.jobs); !read) return read.error();
  job.inPlace = !arguments.inPlace.empty();
  if (job.inPlace && arguments.inPlace != withoutSuffix) job.backupSuffix = arguments.inPlace;
  if (job.backupSuffix.find('/') != std::string::npos) {
    return Error{Error::Kind::usage, "the suffix of --in-place must not contain a slash"};
  }
  if (job.command->has(takes::texts) && job.files.empty()) job.files.emplace_back("-");
  return job;
}

/// How a choice is listed: "{one,other}".
std::string choiceType(const std::vector<std::string>& choices) {
  std::string type;
  for (const std::string& choice : choices) type += (type.empty() ? "{" : ",") + choice;
  return type + "}";
}

void addChoice(CLI::App& app, const char* name, std::string& value, const std::vector<std::string>& choices,
               const char* help) {
  app.add_option(name, value, help)->required()->type_name(choiceType(choices));
}

constexpr const char* formHelp =
    "utf8, utf16be, utf16le, utf32be, utf32le; utf16 and utf32: a byte order mark says which order";
constexpr const char* decodedHelp =
    "ncr: &#233; and &#xE9;  uesc: \\u00E9  uparen: <U00E9>  uparen-ascii: <U0041>, below U+0080 only";
constexpr const char* encodedHelp = "ncr: &#233;  uesc: \\u00E9  uparen: <u00E9>";

void addSubject(CLI::App& app, Subject subject, std::string& value) {
  switch (subject) {
    case Subject::form:
      return addChoice(app, "form", value, namesOf(formNames), formHelp);
    case Subject::decodedNotation:
      return addChoice(app, "notation", value, namesOf(notationNames), decodedHelp);
    case Subject::encodedNotation:
      return addChoice(app, "notation", value, namesOf(encodedNotationNames), encodedHelp);
    case Subject::shell:
      return addChoice(app, "shell", value, namesOf(shellNames), "bash, zsh or fish");
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
                 "plain; s: the host's service reads hexadecimal digits; t: characters of 4 bytes")
      ->type_name(choiceType(namesOf(flavourNames)));
}

void addTexts(CLI::App& app, Arguments& arguments) {
  Job& job = arguments.job;
  app.add_option("file", job.files, "Files to read; - is standard input, which is read without files too")
      ->type_name(fileType);
  app.add_flag("--lines", job.lines, "Take each line as a text of its own");
  app.add_option("-j,--jobs", arguments.jobs, "Use this many threads (default: one for each processor)")
      ->type_name("NUMBER");
  app.add_flag_callback(
      "--progress", [&job] { job.progress = true; },
      "Show progress (default: after a second, on a terminal, for files)");
  app.add_flag_callback(
      "--no-progress", [&job] { job.progress = false; }, "Show no progress");
}

void addOptions(CLI::App& app, const Command& command, Arguments& arguments) {
  Job& job = arguments.job;
  if (command.has(takes::session)) addSession(app, arguments);
  if (command.has(takes::threads))
    app.add_flag("--threads", job.threads, "Also check that several threads may use one object");
  if (command.has(takes::library)) {
    app.add_option("--library", job.library,
                   "The library to load (default: the one beside the tool, else the system's)")
        ->type_name(fileType);
  }
  app.add_option("-o,--output", job.output, "Write to this file instead of standard output")->type_name(fileType);
  if (command.has(takes::texts)) addTexts(app, arguments);
  CLI::Option* inPlace = nullptr;
  if (command.has(takes::inPlace)) {
    inPlace = app.add_flag("-i,--in-place", arguments.inPlace,
                           "Write each result into its file; -i.bak or --in-place=.bak keeps the old one")
                  ->type_name("SUFFIX")
                  ->excludes("--output");
    app.add_flag("--keep-going", job.keepGoing, "Go on with the other files when one has a problem");
  }
  if (command.has(takes::host)) {
    CLI::Option* guest =
        app.add_option("--host", job.host, "Work with this host, a shared object, instead of the tool's own")
            ->type_name(fileType);
    if (inPlace != nullptr) inPlace->excludes(guest);
  }
  if (command.has(takes::invalid)) {
    app.add_option("--invalid", arguments.invalid,
                   "What to do with bytes that are not valid in the session encoding (default error)")
        ->type_name(choiceType(namesOf(invalidNames)));
  }
  CLI::Option* unmappable = nullptr;
  if (command.unmappableHelp != nullptr) {
    unmappable = app.add_option("--unmappable", arguments.unmappable, command.unmappableHelp)
                     ->type_name(choiceType(namesOf(unmappableNames)));
  }
  if (command.has(takes::mark)) {
    app.add_flag("--bom", job.byteOrderMark,
                 "The Unicode text begins with a byte order mark, which is not part of it");
  }
  if (command.has(takes::pad)) {
    app.add_option("--pad", arguments.padBytes, "Fill each text up with blanks to this many bytes")
        ->type_name("BYTES");
  }
  CLI::Option* json = nullptr;
  if (command.jsonHelp != nullptr) json = app.add_flag("--json", job.json, command.jsonHelp);
  if (command.has(takes::explain)) {
    json->needs(app.add_flag("--explain", job.explain, "Show a table of the notations instead of the decoded text")
                    ->excludes(inPlace)
                    ->excludes(unmappable));
  }
}

/// Help in the user's words: an option shows its value and nothing of the parser's rules.
class Help final : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_items_expected_max() == 0 || option->get_positional()) return "";
    const std::string type = option->get_type_name();
    return " " + type.substr(0, type.find(':'));
  }
};

/// Describes the commands to `app`, which fills `arguments` when it parses.
void describe(CLI::App& app, Arguments& arguments) {
  app.require_subcommand(1);
  const auto help = std::make_shared<Help>();
  help->label("Positionals", "Operands");
  help->label("SUBCOMMAND", "COMMAND");
  app.formatter(help);
  app.footer(std::string("rqtext help COMMAND shows the options of a command and examples.\n") + footer);
  app.set_version_flag("-V,--version", "rqtext " RQ_VERSION, "Show the version");
  app.set_help_flag("-h,--help", "Show this help");
  for (const Command& command : commands()) {
    CLI::App* sub = app.add_subcommand(command.name, command.help);
    sub->callback([&arguments, &command] { arguments.job.command = &command; });
    sub->footer(std::string(command.examples) + footer);
    sub->group(command.listed ? "Commands" : "");
    addSubject(*sub, command.subject, arguments.subject);
    addOptions(*sub, command, arguments);
    sub->add_flag("-q,--quiet", arguments.job.quiet, "Show no messages; the exit code says how it went");
  }
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands()) names.emplace_back(command.name);
  return names;
}

Error withMore(const Error& error) {
  return {error.kind, error.text + more};
}

/// A type is a name, or the choices in braces.
Values valuesOf(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return {};
  const std::string type = option.get_type_name();
  std::vector<std::string> choices = choicesOf(option);
  const Values::Kind kind = !choices.empty()       ? Values::Kind::choices
                            : type == fileType     ? Values::Kind::files
                            : type == encodingType ? Values::Kind::encodings
                                                   : Values::Kind::free;
  return {kind, std::move(choices)};
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
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  if (!words.empty() && words[0] == "help") {
    words.erase(words.begin());
    words.resize(std::min<std::size_t>(words.size(), 1));
    words.emplace_back("--help");
  }
  // All behind -i is the suffix, as in sed and perl.
  for (std::string& word : words)
    if (word.starts_with("-i") && word.size() > 2) word = "--in-place=" + word.substr(2);
  const std::vector<std::string> names = commandNames();
  if (!words.empty() && !words[0].starts_with('-') && std::ranges::find(names, words[0]) == names.end()) {
    return withMore(unknownCommand(words[0], names));
  }
  Arguments arguments;
  CLI::App app(title, "rqtext");
  describe(app, arguments);
  try {
    std::ranges::reverse(words);
    app.parse(std::move(words));
    Result<Job> job = jobOf(std::move(arguments));
    if (job) return std::move(*job);
    return withMore(job.error());
  } catch (const CLI::ParseError& error) {
    std::ostringstream help, problem;
    const bool wrong = app.exit(error, help, problem) != 0;
    if (wrong) return withMore(usageError(app, error));
    std::string text = help.str();
    return Answer{text.ends_with('\n') ? text : text + '\n'};
  }
}

CommandModel commandModel() {
  Arguments unused;
  CLI::App app(title, "rqtext");
  describe(app, unused);
  return modelOf(app);
}

}  // namespace rq::cli
