#include "cli/measure.h"

#include "cli/json_line.h"
#include "cli/texts.h"
#include "cli/workbench.h"

namespace rq::cli {
namespace {

using Measure = host::TextWork::Measure;

std::string row(const Job& job, const Text& text, const char* name, std::int64_t count) {
  if (job.json) {
    std::vector<JsonMember> members = {{"file", std::string(text.file)}};
    if (job.lines) members.push_back({"line", text.start.line});
    members.push_back({name, count});
    return jsonLine(members);
  }
  const std::string file = fileColumn(job, text);
  return (file.empty() ? "" : file + "\t") + (job.lines ? std::to_string(text.start.line) + "\t" : "") +
         std::to_string(count) + "\n";
}

Done measure(const Job& job, Progress& progress, Output& output, Measure measure, const char* name) {
  const Result<std::unique_ptr<Workbench>> bench = Workbench::open(job);
  if (!bench) return bench.error();
  Result<TextRun> run = TextRun::in((*bench)->encoding(), job.lines, progress);
  if (!run) return run.error();
  return run->each(job.files, [&](const Text& text, bool) -> Done {
    const Result<std::int64_t> count = (*bench)->measure(measure, text);
    if (!count) return count.error();
    return output.write(row(job, text, name, *count));
  });
}

}  // namespace

Done measureLength(const Job& job, Progress& progress, Output& output) {
  return measure(job, progress, output, Measure::length, "length");
}

Done measureWidth(const Job& job, Progress& progress, Output& output) {
  return measure(job, progress, output, Measure::width, "width");
}

}  // namespace rq::cli
