// rqtext: the operations of the library for files and pipes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <new>
#include <set>
#include <stdexcept>

#include "cli/advice.h"
#include "cli/apart.h"
#include "cli/command_line.h"
#include "cli/commands.h"

namespace rq::cli {
namespace {

constexpr int exitDone = 0, exitData = 1, exitUsage = 2, exitSystem = 3;

/// Descriptors 0 to 2 must not be taken by files that are opened later.
void occupyStandardDescriptors() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    // The wrong direction on purpose: to use a stream that was closed stays an error.
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

const Error noMemory = {Error::Kind::memory, "not enough memory"};

int report(const Error& error, Progress& progress, bool quiet = false) {
  progress.stop();
  if (!error.text.empty() && !quiet) std::cerr << "rqtext: " << withoutControls(error.text) << '\n';
  switch (error.kind) {
    case Error::Kind::data:
      return exitData;
    case Error::Kind::usage:
      return exitUsage;
    case Error::Kind::memory:
    case Error::Kind::system:
      break;
  }
  return exitSystem;
}

/// An error if a file is both read and written, or written twice.
Done checkFiles(const Job& job) {
  const auto wrong = [](const std::string& text) { return Error{Error::Kind::usage, text}; };
  std::set<FileIdentity> known;
  for (const std::string& file : job.files) {
    if (job.inPlace && file == "-") return wrong("--in-place needs files");
    const std::optional<FileIdentity> identity = identityOf(file);
    if (!identity) continue;
    if (job.inPlace && !known.insert(*identity).second) return wrong(shownName(file) + " is given twice");
    if (job.output ? *job.output != "/dev/null" && identity == identityOf(*job.output)
                   : !job.inPlace && identity == identityOfStandardOutput()) {
      return wrong(shownName(file) + " is also the output");
    }
  }
  return host::done();
}

/// Without a wish there is none where it might stand in what others show: a pager behind a pipe, a program that asks
/// for a password before one.
std::optional<bool> wishedProgress(const Job& job) {
  if (!job.command->has(takes::texts) || job.quiet) return false;
  if (job.progress) return job.progress;
  struct stat status {};
  const bool piped = !job.output && !job.inPlace && ::fstat(STDOUT_FILENO, &status) == 0 && S_ISFIFO(status.st_mode);
  return piped || !totalSize(job.files) ? std::optional(false) : std::nullopt;
}

int answer(const Answer& answer) {
  Progress silent(false);
  Output output(std::nullopt, silent);
  if (Done written = output.write(answer.text); !written) return report(written.error(), silent);
  const Done finished = output.finish();
  return finished ? exitDone : report(finished.error(), silent);
}

int carryOut(const Job& job, Progress& progress, Output& output) {
  try {
    const Done done = job.command->run(job, progress, output);
    // Output before a problem is written all the same. Without any the file stays as it is.
    const Done finished = (done && !job.inPlace) || output.begun() ? output.finish() : host::done();
    if (!done) return report(withAdvice(job, done.error()), progress, job.quiet);
    if (!finished) return report(finished.error(), progress, job.quiet);
    progress.stop();
    return exitDone;
  } catch (const std::bad_alloc&) {
    return report(withAdvice(job, noMemory), progress, job.quiet);
  } catch (const std::length_error&) {
    return report(withAdvice(job, noMemory), progress, job.quiet);
  }
}

/// Somebody else's host may crash: it works in a process of its own.
int carryOutApart(const Job& job) {
  const std::optional<bool> wished = wishedProgress(job);
  const Result<int> code = workApart([&job, wished](Descriptor standardOutput) {
    Progress progress(wished, totalSize(job.files));
    if (job.output) {
      Output output(job.output, progress);
      return carryOut(job, progress, output);
    }
    Output output(std::move(standardOutput), "standard output", progress);
    return carryOut(job, progress, output);
  });
  if (code) return *code;
  Progress silent(false);
  return report(code.error(), silent, job.quiet);
}

int carryOut(const Job& job) {
  Progress silent(false);
  if (const Done usable = checkFiles(job); !usable) return report(usable.error(), silent, job.quiet);
  if (job.command->has(takes::host) && !job.host.empty()) return carryOutApart(job);
  Progress progress(wishedProgress(job), totalSize(job.files));
  Output output(job.output, progress);
  return carryOut(job, progress, output);
}

int start(int argc, char** argv) {
  // write() reports both as errors.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  occupyStandardDescriptors();
  const auto asked = parse(argc, argv);
  if (const Answer* text = std::get_if<Answer>(&asked)) return answer(*text);
  if (const Job* job = std::get_if<Job>(&asked)) return carryOut(*job);
  Progress silent(false);
  return report(std::get<Error>(asked), silent);
}

}  // namespace
}  // namespace rq::cli

// NOLINTNEXTLINE(bugprone-exception-escape): what start lets pass is a defect, and ends the process
int main(int argc, char** argv) {
  return rq::cli::start(argc, argv);
}
