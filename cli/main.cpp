// rqtext: the operations of the library for files and pipes.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <new>
#include <set>
#include <stdexcept>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/completion.h"

namespace rq::cli {
namespace {

constexpr int exitDone = 0, exitData = 1, exitUsage = 2, exitSystem = 3;

/// Descriptors 0 to 2 must not be taken by files that are opened later.
void occupyStandardDescriptors() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    // The wrong direction on purpose: using a stream that was closed stays an error.
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int report(const Error& error, Progress& progress) {
  progress.stop();
  if (!error.text.empty()) std::cerr << "rqtext: " << error.text << '\n';
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

/// An error when a file would be both read and written, or written twice.
Done checkFiles(const Options& options) {
  const auto wrong = [](const std::string& text) { return Error{Error::Kind::usage, text}; };
  std::set<FileIdentity> known;
  for (const std::string& file : options.files) {
    if (options.inPlace && file == "-") return wrong("--in-place needs files");
    const std::optional<FileIdentity> identity = identityOf(file);
    if (!identity) continue;
    if (options.inPlace && !known.insert(*identity).second) return wrong(file + " is given twice");
    if (options.output ? *options.output != "/dev/null" && identity == identityOf(*options.output)
                       : !options.inPlace && identity == identityOfStandardOutput()) {
      return wrong(shownName(file) + " is also the output");
    }
  }
  return host::done();
}

/// Says what was asked for, or that it was asked wrongly.
int reply(const Answer& answer) {
  if (answer.isComplaint) {
    std::cerr << "rqtext: " << answer.text << std::flush;
    return exitUsage;
  }
  Progress silent(false);
  Output output(std::nullopt, silent);
  if (Done written = output.write(answer.text); !written) return report(written.error(), silent);
  const Done finished = output.finish();
  return finished ? exitDone : report(finished.error(), silent);
}

int carryOut(Options options) {
  if (options.files.empty()) options.files.emplace_back("-");
  const bool readsTexts = options.command != Command::checkHost && options.command != Command::info &&
                          options.command != Command::encodings && options.command != Command::completion;
  Progress progress(readsTexts ? options.progress : false);
  if (const Done usable = readsTexts ? checkFiles(options) : host::done(); !usable)
    return report(usable.error(), progress);
  Output output(options.output, progress);
  try {
    const Done done = options.command == Command::completion
                          ? output.write(completionScript(commandModel(), options.subject))
                          : run(options, progress, output);
    // What came out before a problem belongs to the user all the same; without anything the output is left alone.
    const Done finished = (done && !options.inPlace) || output.begun() ? output.finish() : host::done();
    if (!done) return report(done.error(), progress);
    if (!finished) return report(finished.error(), progress);
    progress.stop();
    return exitDone;
  } catch (const std::bad_alloc&) {
    return report({Error::Kind::system, "not enough memory"}, progress);
  } catch (const std::length_error&) {
    return report({Error::Kind::system, "not enough memory"}, progress);
  }
}

int start(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // writing says so as well
  std::signal(SIGXFSZ, SIG_IGN);
  occupyStandardDescriptors();
  const std::variant<Options, Answer> asked = parse(argc, argv);
  if (const Answer* answer = std::get_if<Answer>(&asked)) return reply(*answer);
  return carryOut(std::get<Options>(asked));
}

}  // namespace
}  // namespace rq::cli

// NOLINTNEXTLINE(bugprone-exception-escape): what start lets pass is a defect, and ends the process
int main(int argc, char** argv) {
  return rq::cli::start(argc, argv);
}
