#include "cli/text_commands.h"

#include "cli/replacement.h"

namespace rq::cli {
namespace {

/// Line ends are no part of the texts: they are written in the encoding of the results.
TextRun::Take writeInto(Output& output, const std::string& lineEnd, const TextOperation& operation) {
  return [&output, &lineEnd, &operation](const Text& text) -> Done {
    const Result<Bytes> result = operation.result(text);
    if (!result) return result.error();
    if (Done written = output.write(*result); !written) return written;
    return text.ended ? output.write(lineEnd) : host::done();
  };
}

/// Each file in turn; with --keep-going also those behind one with a problem. Then the error names all problems.
template <class RunFile>
Done runFiles(const Job& job, const Output& output, const RunFile& runFile) {
  std::string problems;
  for (const std::string& file : job.files) {
    const Done done = runFile(file);
    if (done) continue;
    if (!job.keepGoing || output.failed()) return done.error();
    problems += (problems.empty() ? "" : "\nrqtext: ") + done.error().text;
  }
  if (problems.empty()) return host::done();
  return Error{Error::Kind::data, problems};
}

}  // namespace

Done runOverTexts(const Job& job, const TextOperation& operation, Progress& progress, Output& output) {
  Result<TextRun> run = TextRun::in(*operation.texts, job.lines, operation.cut, progress, operation.mark);
  if (!run) return run.error();
  const bool writesLineEnds = job.lines && operation.lineEnds != nullptr;
  const Result<std::string> lineEnd = writesLineEnds ? lineEndIn(*operation.lineEnds) : std::string();
  if (!lineEnd) return lineEnd.error();
  if (!job.inPlace) {
    output.startWith(operation.outputMark);
    return runFiles(job, output, [&, take = writeInto(output, *lineEnd, operation)](const std::string& file) {
      return run->each({file}, take, [&output] { return output.flush(); });
    });
  }
  return runFiles(job, output, [&](const std::string& file) -> Done {
    Result<std::unique_ptr<Replacement>> replacement = Replacement::begin(file, job.backupSuffix, progress);
    if (!replacement) return replacement.error();
    Replacement& edited = **replacement;
    edited.output().startWith(operation.outputMark);
    const TextRun::Take take = writeInto(edited.output(), *lineEnd, operation);
    if (Done done = run->each(edited.input(), take); !done) return done;
    return edited.commit();
  });
}

}  // namespace rq::cli
