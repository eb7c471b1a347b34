// rqtext: the operations of the library for files and pipes.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <iostream>
#include <map>
#include <new>
#include <sstream>

#include "host/cli/commands.h"

namespace rq::cli {
namespace {

constexpr std::int64_t longestField = std::int64_t{1} << 30;
constexpr int exitDone = 0, exitData = 1, exitUsage = 2, exitSystem = 3;

constexpr const char *footer =
    "Exit codes: 0 done, 1 a text has a problem (the message says where), 2 wrong usage, 3 files, memory or "
    "library.\n"
    "The output is complete only with exit code 0.";

const std::vector<std::string> forms = {"utf8", "utf16be", "utf16le", "utf32be", "utf32le"};

void addCommon(CLI::App &command, Options &options) {
  static const std::map<std::string, Flavour> flavours = {
      {"plain", Flavour::plain}, {"s", Flavour::served}, {"t", Flavour::wide}};
  command.add_option("-s,--session", options.session, "Session encoding (default UTF-8; UTF-32LE for flavour t)");
  command
      .add_option("--flavour", options.flavour,
                  "plain; s: hexadecimal digits by the host's service; t: 4-byte characters")
      ->transform(CLI::Transformer(flavours))
      ->type_name("plain|s|t");
  command.add_option("--library", options.library,
                     "The library to load (default: beside the tool, then the loader's)");
  command.add_option("-o,--output", options.output, "Write to this file instead of standard output");
  command.footer(footer);
}

void addTexts(CLI::App &command, Options &options) {
  addCommon(command, options);
  command.add_option("file", options.files, "Files, - for standard input, which is also the default");
  command.add_flag("--lines", options.lines, "Take each line for a text of its own, in bounded memory");
  command.add_flag_callback(
      "--progress", [&options] { options.progress = true; }, "Show progress");
  command.add_flag_callback(
      "--no-progress", [&options] { options.progress = false; },
      "Show none (default: after a second, on a terminal)");
}

CLI::App *addCommand(CLI::App &app, Options &options, Command command, const char *name, const char *help) {
  CLI::App *sub = app.add_subcommand(name, help);
  sub->callback([&options, command] { options.command = command; });
  return sub;
}

void addSubject(CLI::App &command, Options &options, const char *name, const std::vector<std::string> &values) {
  command.add_option(name, options.subject)->required()->check(CLI::IsMember(values));
}

void describe(CLI::App &app, Options &options) {
  app.require_subcommand(1);
  app.footer(footer);
  app.set_version_flag("--version", "rqtext 1.0.0");

  CLI::App *from = addCommand(app, options, Command::from, "from", "Turn Unicode text into session text");
  addSubject(*from, options, "form", forms);
  addTexts(*from, options);

  CLI::App *to = addCommand(app, options, Command::to, "to", "Turn session text into Unicode text");
  addSubject(*to, options, "form", forms);
  addTexts(*to, options);
  to->add_option("--pad", options.pad, "Make each text a field of so many bytes, filled up with blanks")
      ->check(CLI::Range(std::int64_t{0}, longestField));

  CLI::App *decode = addCommand(app, options, Command::decode, "decode", "Replace a notation by its characters");
  addSubject(*decode, options, "notation", {"ncr", "uesc", "uparen", "uparen-ascii"});
  addTexts(*decode, options);
  CLI::Option *explain =
      decode->add_flag("--explain", options.explain, "List the notations and what becomes of them instead");
  decode->add_flag("--json", options.json, "With --explain: a JSON object per notation")->needs(explain);

  CLI::App *encode = addCommand(app, options, Command::encode, "encode", "Replace characters by a notation");
  addSubject(*encode, options, "notation", {"ncr", "uesc", "uparen"});
  addTexts(*encode, options);

  for (const auto &[command, name, help] :
       {std::tuple(Command::length, "length", "Count characters, without blanks at the end"),
        std::tuple(Command::width, "width", "Count columns, without blanks at the end")}) {
    CLI::App *measure = addCommand(app, options, command, name, help);
    addTexts(*measure, options);
    measure->add_flag("--json", options.json, "A JSON object per file or line");
  }

  CLI::App *info = addCommand(app, options, Command::info, "info", "Show the library's versions and build");
  addCommon(*info, options);
  info->add_flag("--json", options.json, "As a JSON object");
  CLI::App *list = addCommand(app, options, Command::encodings, "encodings", "List the session encodings");
  list->add_option("-o,--output", options.output, "Write to this file instead of standard output");
  list->add_flag("--json", options.json, "A JSON object per encoding");
  list->footer(footer);
}

/// Descriptors 0 to 2 must not be taken by files that are opened later.
void occupyStandardDescriptors() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    // The wrong direction on purpose: using a stream that was closed stays an error.
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int report(const Error &error, Progress &progress) {
  progress.stop();
  if (!error.text.empty()) std::cerr << "rqtext: " << error.text << std::endl;
  switch (error.kind) {
    case Error::Kind::data:
      return exitData;
    case Error::Kind::usage:
      return exitUsage;
    case Error::Kind::system:
      break;
  }
  return exitSystem;
}

int carryOut(Options &options) {
  if (options.files.empty()) options.files.emplace_back("-");
  Progress progress(options.progress);
  for (const std::string &file : options.files) {
    if (options.output && *options.output != "/dev/null" && sameFile(file, *options.output)) {
      return report({Error::Kind::usage, "the output " + *options.output + " is also an input"}, progress);
    }
  }
  Output output(options.output, progress);
  try {
    const Done done = run(options, progress, output);
    // What came out before a problem belongs to the user all the same; without anything the output is left alone.
    const Done finished = done || output.begun() ? output.finish() : host::done();
    if (!done) return report(done.error(), progress);
    if (!finished) return report(finished.error(), progress);
    progress.stop();
    return exitDone;
  } catch (const std::bad_alloc &) {
    return report({Error::Kind::system, "not enough memory"}, progress);
  } catch (const std::length_error &) {
    return report({Error::Kind::system, "not enough memory"}, progress);
  }
}

int start(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);
  occupyStandardDescriptors();
  Options options;
  CLI::App app("Unicode text services of librquni for files and pipes", "rqtext");
  describe(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    std::ostringstream help;
    std::ostringstream problem;
    if (app.exit(error, help, problem) != 0) {
      std::cerr << "rqtext: " << problem.str() << std::flush;
      return exitUsage;
    }
    Progress silent(false);
    Output output(std::nullopt, silent);
    std::string text = help.str();
    if (!text.ends_with('\n')) text += '\n';
    if (Done written = output.write(text); !written) return report(written.error(), silent);
    const Done finished = output.finish();
    return finished ? exitDone : report(finished.error(), silent);
  }
  return carryOut(options);
}

}  // namespace
}  // namespace rq::cli

int main(int argc, char **argv) {
  return rq::cli::start(argc, argv);
}
