#include "cli/text_commands.h"

#include <sched.h>

#include <algorithm>

#include "cli/advice.h"
#include "cli/pipeline.h"
#include "cli/replacement.h"

namespace rq::cli {

namespace {

/// One for each processor. More than some would wait for the thread that reads and writes.
unsigned usualJobs() {
  constexpr int most = 8;
  cpu_set_t set;
  return ::sched_getaffinity(0, sizeof set, &set) == 0 ? static_cast<unsigned>(std::min(most, CPU_COUNT(&set))) : 1;
}

/// Works on the files of a job.
class Run {
 public:
  Run(const Job& job, const TextOperation& operation, std::optional<LineEnds> lineEnds, Bytes lineEndOfResults,
      Progress& progress, Output& output, std::size_t worthwhile)
      : job_(job),
        progress_(progress),
        output_(output),
        outputMark_(operation.outputMark),
        pipeline_(operation, std::move(lineEnds), lineEndOfResults, job.jobs.value_or(usualJobs()), worthwhile,
                  [this](FileRun& file, const Error& error) { return problem(file, error); }) {}

  Done all() {
    output_.startWith(outputMark_);
    for (const std::string& file : job_.files)
      if (Done done = job_.inPlace ? edit(file) : read(file); !done) return done;
    if (Done done = finish(); !done) return done;
    if (problems_.empty()) return host::done();
    return Error{Error::Kind::data, problems_};
  }

 private:
  Done read(const std::string& name) {
    const auto file =
        std::make_shared<FileRun>(FileRun{name, [this](Bytes bytes) { return output_.write(bytes); }, host::done});
    // Before a wait for more input all that has come is written.
    Result<Input> input = Input::open(name, progress_, [this] {
      Done done = pipeline_.finish();
      return done ? output_.flush() : done;
    });
    return input ? pipeline_.add(file, *input) : pipeline_.addProblem(file, input.error());
  }

  Done edit(const std::string& name) {
    auto begun = Replacement::begin(name, job_.backupSuffix, progress_);
    if (!begun) {
      // Files that are on their way may hold what it takes.
      if (Done done = finish(); !done) return done;
      begun = Replacement::begin(name, job_.backupSuffix, progress_);
    }
    if (!begun) return note(begun.error());
    const std::shared_ptr<Replacement> edited = std::move(*begun);
    edited->output().startWith(outputMark_);
    const auto file =
        std::make_shared<FileRun>(FileRun{name, [edited](Bytes bytes) { return edited->output().write(bytes); },
                                          [this, edited] {
                                            finished_.add(edited);
                                            return finished_.full() ? commit() : host::done();
                                          }});
    return pipeline_.add(file, edited->input());
  }

  /// Brings all files that are on their way to their end.
  Done finish() {
    Done done = pipeline_.finish();
    return done ? commit() : done;
  }

  Done commit() {
    return finished_.commit([this](const Error& error) { return note(error); });
  }

  /// A problem comes behind those of the files before.
  Done problem(FileRun& file, const Error& error) {
    file.write = {};  // and with it the temporary file
    file.end = {};
    Done done = commit();
    return done ? note(error) : done;
  }

  /// With --keep-going a problem is noted. Otherwise it ends the run.
  Done note(const Error& error) {
    if (!job_.keepGoing || output_.failed()) return error;
    problems_ += (problems_.empty() ? "" : "\nrqtext: ") + withAdvice(job_, error).text;
    return host::done();
  }

  const Job& job_;
  Progress& progress_;
  Output& output_;
  const std::string outputMark_;
  ReplacementGroup finished_;
  std::string problems_;
  Pipeline pipeline_;
};

}  // namespace

Done runOverTexts(const Job& job, const TextOperation& operation, Progress& progress, Output& output,
                  std::size_t worthwhile) {
  if (!job.lines) return Run(job, operation, std::nullopt, {}, progress, output, worthwhile).all();
  const Result<std::string> lineEnd = lineEndIn(*operation.texts);
  if (!lineEnd) return lineEnd.error();
  const Result<std::string> ofResults =
      operation.lineEnds != nullptr ? lineEndIn(*operation.lineEnds) : std::string();
  if (!ofResults) return ofResults.error();
  return Run(job, operation, LineEnds(*lineEnd), std::as_bytes(std::span(*ofResults)), progress, output, worthwhile)
      .all();
}

}  // namespace rq::cli
