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

constexpr Command all[] = {
    {"from", "Turn Unicode text into session text", Subject::form, takes::rewrites | takes::mark, nullptr,
     "What to do with a character that the session encoding lacks (default error; keep: as &#8364;)", true,
     "Examples:\n  $ rqtext from utf16le -s KOI8-R letter.utf16 -o letter.txt\n  $ rqtext from utf8 -s ISO-8859-1 "
     "--in-place *.txt\n",
     overTexts<fromForm>},
    {"to", "Turn session text into Unicode text", Subject::form, takes::rewrites | takes::pad | takes::mark, nullptr,
     nullptr, true,
     "Examples:\n  $ rqtext to utf16be -s KOI8-R letter.txt -o letter.utf16\n  $ rqtext to utf16be --pad 80 --lines "
     "names.txt\n",
     overTexts<toForm>},
    {"decode", "Replace a notation by its characters", Subject::decodedNotation,
     takes::rewrites | takes::explain | takes::invalid, "With --explain: a JSON object for each notation",
     "What to do with a notation of a character that the session encoding lacks (default keep)", true,
     "Examples:\n  $ rqtext decode ncr page.txt\n  $ tail -f log | rqtext decode uesc\n", decodeOrExplain},
    {"encode", "Replace characters by a notation", Subject::encodedNotation, takes::rewrites, nullptr, nullptr, true,
     "Examples:\n  $ rqtext encode uesc --in-place messages.txt\n  $ echo café | rqtext encode ncr\n",
     overTexts<encode>},
    {"length", "Count characters without blanks at the end; line ends count, but not with --lines", Subject::none,
     takes::measures, "A JSON object for each file or line", nullptr, true,
     "Examples:\n  $ rqtext length *.txt\n  $ rqtext length --lines --json names.txt\n", overTexts<measureLength>},
    {"width", "Count columns without blanks at the end; line ends count, but not with --lines", Subject::none,
     takes::measures, "A JSON object for each file or line", nullptr, true,
     "Examples:\n  $ rqtext width --lines text.txt\n  $ rqtext width -s Shift_JIS menu.txt\n",
     overTexts<measureWidth>},
    {"info", "Show the library's versions and build", Subject::none, takes::session | takes::library | takes::output,
     "As a JSON object", nullptr, true,
     "Examples:\n  $ rqtext info\n  $ rqtext info --json --library ./librquni.so.1\n", showInfo},
    {"encodings", "List the session encodings", Subject::none, takes::output, "A JSON object for each encoding",
     nullptr, true, "Examples:\n  $ rqtext encodings\n  $ rqtext encodings --json\n", listEncodings},
    {"check-host", "Say which rules of rquni/host_tables.h a host breaks", Subject::host,
     takes::threads | takes::library | takes::output, "A JSON object for each rule", nullptr, true,
     "Examples:\n  $ rqtext check-host ./myhost.so\n  $ rqtext check-host --threads --json ./myhost.so\n", checkHost},
    // For those who install.
    {"completion", "Print a shell's completions", Subject::shell, takes::output, nullptr, nullptr, false,
     "Examples:\n  $ rqtext completion bash\n  $ rqtext completion fish -o rqtext.fish\n", printCompletion},
};

}  // namespace

std::span<const Command> commands() {
  return all;
}

}  // namespace rq::cli
