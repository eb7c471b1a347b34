#include "cli/commands.h"

#include "cli/command_line.h"
#include "cli/completion.h"
#include "cli/explain.h"
#include "cli/reports.h"
#include "cli/text_commands.h"

namespace rq::cli {
namespace {

template <Result<TextOperation> (*open)(const Job& job)>
Done overTexts(const Job& job, Progress& progress, Output& output) {
  const Result<TextOperation> operation = open(job);
  return operation ? runOverTexts(job, *operation, progress, output) : operation.error();
}

Done decodeOrExplain(const Job& job, Progress& progress, Output& output) {
  return job.explain ? explain(job, progress, output) : overTexts<decode>(job, progress, output);
}

Done printCompletion(const Job& job, Progress&, Output& output) {
  return output.write(completionScript(commandModel(), job.shell));
}

constexpr Command table[] = {
    {"from", "Turn Unicode text into session text", Subject::form, takes::rewrites, nullptr, true,
     overTexts<fromForm>},
    {"to", "Turn session text into Unicode text", Subject::form, takes::rewrites | takes::pad, nullptr, true,
     overTexts<toForm>},
    {"decode", "Replace a notation by its characters", Subject::decodedNotation, takes::rewrites | takes::explain,
     "With --explain: a JSON object per notation", true, decodeOrExplain},
    {"encode", "Replace characters by a notation", Subject::encodedNotation, takes::rewrites, nullptr, true,
     overTexts<encode>},
    {"length", "Count characters, without blanks at the end", Subject::none, takes::measures,
     "A JSON object per file or line", true, overTexts<measureLength>},
    {"width", "Count columns, without blanks at the end", Subject::none, takes::measures,
     "A JSON object per file or line", true, overTexts<measureWidth>},
    {"info", "Show the library's versions and build", Subject::none, takes::session | takes::library | takes::output,
     "As a JSON object", true, showInfo},
    {"encodings", "List the session encodings", Subject::none, takes::output, "A JSON object per encoding", true,
     listEncodings},
    {"check-host", "Say which rules of rquni/host_tables.h a host breaks", Subject::host,
     takes::threads | takes::library | takes::output, "A JSON object per rule", true, checkHost},
    // For those who install.
    {"completion", "Print a shell's completions", Subject::shell, takes::output, nullptr, false, printCompletion},
};

}  // namespace

std::span<const Command> commands() {
  return table;
}

}  // namespace rq::cli
