#include "cli/rewrite.h"

#include <functional>

#include "cli/replacement.h"
#include "cli/texts.h"
#include "cli/workbench.h"

namespace rq::cli {
namespace {

/// Makes one text of another.
using Operation = std::function<Result<Bytes>(const Text&)>;

/// The encodings of an operation's texts and of its results.
struct Encodings {
  const host::Encoding &from, &to;
};

/// Writes a result for each text. Line ends are no part of the texts: they are written in the results' encoding.
template <class Source>
Done rewriteInto(Output& output, TextRun& run, Source& source, const std::string& lineEnd,
                 const Operation& operation) {
  return run.each(source, [&](const Text& text, bool ended) -> Done {
    const Result<Bytes> result = operation(text);
    if (!result) return result.error();
    if (Done written = output.write(*result); !written) return written;
    return ended ? output.write(lineEnd) : host::done();
  });
}

/// Rewrites all files into the output, or each into itself.
Done rewrite(const Job& job, Progress& progress, Output& output, const Encodings& encodings,
             const Operation& operation) {
  Result<TextRun> run = TextRun::in(encodings.from, job.lines, progress);
  if (!run) return run.error();
  const Result<std::string> lineEnd = job.lines ? lineEndIn(encodings.to) : std::string();
  if (!lineEnd) return lineEnd.error();
  if (!job.inPlace) return rewriteInto(output, *run, job.files, *lineEnd, operation);
  for (const std::string& file : job.files) {
    Result<std::unique_ptr<Replacement>> replacement = Replacement::begin(file, progress);
    if (!replacement) return replacement.error();
    Replacement& edited = **replacement;
    if (Done done = rewriteInto(edited.output(), *run, edited.input(), *lineEnd, operation); !done) return done;
    if (Done done = edited.commit(); !done) return done;
  }
  return host::done();
}

Done checkPad(const Job& job) {
  if (!job.padBytes) return host::done();
  if (job.form == RQ_FORM_UTF8) return Error{Error::Kind::usage, "there is no padding for utf8"};
  const bool utf16 = job.form == RQ_FORM_UTF16_BIG || job.form == RQ_FORM_UTF16_LITTLE;
  const std::uint64_t step = utf16 && job.flavour != Flavour::wide ? 2 : 4;
  if (*job.padBytes % step == 0) return host::done();
  return Error{Error::Kind::usage, "--pad must be a multiple of " + std::to_string(step) + " bytes here"};
}

}  // namespace

Done fromForm(const Job& job, Progress& progress, Output& output) {
  const Result<std::unique_ptr<Workbench>> bench = Workbench::open(job);
  if (!bench) return bench.error();
  return rewrite(job, progress, output, {host::encodingOf(job.form), (*bench)->encoding()},
                 [&](const Text& text) { return (*bench)->fromForm(job.form, text); });
}

Done toForm(const Job& job, Progress& progress, Output& output) {
  const Result<std::unique_ptr<Workbench>> bench = Workbench::open(job);
  if (!bench) return bench.error();
  if (Done possible = checkPad(job); !possible) return possible;
  return rewrite(job, progress, output, {(*bench)->encoding(), host::encodingOf(job.form)},
                 [&](const Text& text) { return (*bench)->toForm(job.form, text, job.padBytes); });
}

Done decode(const Job& job, Progress& progress, Output& output) {
  const Result<std::unique_ptr<Workbench>> bench = Workbench::openForNotations(job);
  if (!bench) return bench.error();
  return rewrite(job, progress, output, {(*bench)->encoding(), (*bench)->encoding()},
                 [&](const Text& text) { return (*bench)->decode(job.notation, text); });
}

Done encode(const Job& job, Progress& progress, Output& output) {
  const Result<std::unique_ptr<Workbench>> bench = Workbench::openForNotations(job);
  if (!bench) return bench.error();
  return rewrite(job, progress, output, {(*bench)->encoding(), (*bench)->encoding()},
                 [&](const Text& text) { return (*bench)->encode(job.notation, text); });
}

}  // namespace rq::cli
