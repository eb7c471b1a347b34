#include "cli/text_commands.h"

#include "cli/replacement.h"

namespace rq::cli {
namespace {

/// Line ends are no part of the texts: they are written in the encoding of the results.
Done runInto(Output& output, TextRun& run, const std::vector<std::string>& files, const std::string& lineEnd,
             const TextOperation& operation) {
  const auto take = [&](const Text& text, bool ended) -> Done {
    const Result<Bytes> result = operation.result(text);
    if (!result) return result.error();
    if (Done written = output.write(*result); !written) return written;
    return ended ? output.write(lineEnd) : host::done();
  };
  return run.each(files, take, [&output] { return output.flush(); });
}

}  // namespace

Done runOverTexts(const Job& job, const TextOperation& operation, Progress& progress, Output& output) {
  Result<TextRun> run = TextRun::in(*operation.texts, job.lines, operation.cut, progress);
  if (!run) return run.error();
  const bool writesLineEnds = job.lines && operation.lineEnds != nullptr;
  const Result<std::string> lineEnd = writesLineEnds ? lineEndIn(*operation.lineEnds) : std::string();
  if (!lineEnd) return lineEnd.error();
  if (!job.inPlace) return runInto(output, *run, job.files, *lineEnd, operation);
  for (const std::string& file : job.files) {
    Result<std::unique_ptr<Replacement>> replacement = Replacement::begin(file, progress);
    if (!replacement) return replacement.error();
    if (Done done = runInto((*replacement)->output(), *run, {file}, *lineEnd, operation); !done) return done;
    if (Done done = (*replacement)->commit(); !done) return done;
  }
  return host::done();
}

}  // namespace rq::cli
