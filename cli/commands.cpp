#include "cli/commands.h"

#include <functional>

#include "checker/checker.h"
#include "cli/explain.h"
#include "cli/json_line.h"
#include "cli/replacement.h"
#include "cli/texts.h"
#include "cli/workbench.h"

namespace rq::cli {
namespace {

/// What becomes of one text.
using Operation = std::function<Result<Bytes>(const Text&)>;

/// Texts in, texts out: line ends are written in the result's encoding and are no part of the texts.
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

/// All files into the output, or each into itself.
Done rewrite(const Options& options, Progress& progress, Output& output, const host::Encoding& from,
             const host::Encoding& to, const Operation& operation) {
  Result<TextRun> run = TextRun::in(from, options.lines, progress);
  if (!run) return run.error();
  const Result<std::string> lineEnd = options.lines ? lineEndIn(to) : std::string();
  if (!lineEnd) return lineEnd.error();
  if (!options.inPlace) return rewriteInto(output, *run, options.files, *lineEnd, operation);
  for (const std::string& file : options.files) {
    Result<std::unique_ptr<Replacement>> replacement = Replacement::begin(file, progress);
    if (!replacement) return replacement.error();
    Replacement& edited = **replacement;
    if (Done done = rewriteInto(edited.output(), *run, edited.input(), *lineEnd, operation); !done) return done;
    if (Done done = edited.commit(); !done) return done;
  }
  return host::done();
}

Notation notationNamed(const std::string& name) {
  if (name == "ncr") return Notation::ncr;
  if (name == "uesc") return Notation::uesc;
  return name == "uparen" ? Notation::uparen : Notation::uparenAscii;
}

/// The name for a column or member, empty when one file needs none.
std::string column(const Options& options, std::string_view file) {
  return options.files.size() > 1 ? std::string(file) : "";
}

Done explainAll(Workbench& bench, const Options& options, Progress& progress, Output& output) {
  const Notation notation = notationNamed(options.subject);
  // A library without the decoder has nothing that could be explained.
  if (const Result<Bytes> probe = bench.decode(notation, {}); !probe) {
    return probe.error();
  }
  if (!options.json) {
    if (Done written = output.write(explanationHead(options.files.size() > 1)); !written) return written;
  }
  Result<TextRun> run = TextRun::in(bench.encoding(), options.lines, progress);
  if (!run) return run.error();
  return run->each(options.files, [&](const Text& text, bool) -> Done {
    return explain(bench, notation, text, column(options, text.file), options.json, output);
  });
}

Done measureAll(Workbench& bench, const Options& options, Progress& progress, Output& output) {
  const bool length = options.command == Command::length;
  const auto measure = length ? host::TextWork::Measure::length : host::TextWork::Measure::width;
  Result<TextRun> run = TextRun::in(bench.encoding(), options.lines, progress);
  if (!run) return run.error();
  return run->each(options.files, [&](const Text& text, bool) -> Done {
    const Result<std::int64_t> count = bench.measure(measure, text);
    if (!count) return count.error();
    const std::string name = column(options, text.file);
    if (options.json) {
      std::vector<JsonMember> row = {{"file", std::string(text.file)}};
      if (options.lines) row.push_back({"line", text.start.line});
      row.push_back({length ? "length" : "width", *count});
      return output.write(jsonLine(row));
    }
    return output.write((name.empty() ? "" : name + "\t") +
                        (options.lines ? std::to_string(text.start.line) + "\t" : "") + std::to_string(*count) +
                        "\n");
  });
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

Done showInfo(Workbench& bench, const Options& options, Output& output) {
  const auto version = [&bench](auto slot) {
    std::uint64_t major = 0;
    std::uint64_t minor = 0;
    std::uint64_t patch = 0;
    slot(bench.object(), &major, &minor, &patch);
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
  };
  RQVersionRecord record;
  bench.library().rqvercn1(&record);
  const std::vector<JsonMember> rows = {
      {"library", bench.library().path()},
      {"library version", version(bench.object()->getVersion)},
      {"host interface required", version(bench.object()->getReqVersion)},
      {"extension interface", "9.1"},
      {"version stamp", record.version},
      {"stream", record.stream},
      {"build time", std::to_string(record.buildTime)},
      {"build date", record.buildDate},
      {"build machine", record.machine},
      {"prefix", record.prefix},
      {"component", record.component},
      {"group", record.group},
      {"build identifier", record.buildId},
      {"second build identifier", record.secondBuildId},
      {"hot fix", trimmed(record.hotFix)},
      {"image description", trimmed(record.imageDescription)},
  };
  if (options.json) return output.write(jsonLine(rows));
  std::string text;
  for (const auto& [name, value] : rows) text.append(name).append(": ").append(std::get<std::string>(value)) += '\n';
  return output.write(text);
}

Done listEncodings(const Options& options, Output& output) {
  for (const host::Encoding& encoding : host::encodings()) {
    std::string line;
    if (options.json) {
      line = jsonLine({{"identifier", std::uint64_t{encoding.identifier}},
                       {"name", encoding.name},
                       {"aliases", encoding.aliases}});
    } else {
      line = std::to_string(encoding.identifier) + "\t" + encoding.name + "\t";
      for (const std::string& alias : encoding.aliases) line += (line.back() == '\t' ? "" : " ") + alias;
      line += "\n";
    }
    if (Done written = output.write(line); !written) return written;
  }
  return host::done();
}

Done checkHost(const Options& options, Output& output) {
  const Result<host::Library> library = openLibrary(options);
  if (!library) return library.error();
  const auto rows = checker::checkHost(options.host, *library, options.threads);
  if (!rows) return rows.error();
  std::string text = options.json ? "" : "rule\tverdict\twhat it says\twhat was seen\n";
  std::string brokenRules;
  for (const auto& [name, statement, finding] : *rows) {
    const std::string_view verdict = checker::nameOf(finding.verdict);
    if (finding.verdict == checker::Verdict::broken)
      brokenRules += (brokenRules.empty() ? "" : ", ") + std::string(name);
    if (options.json) {
      text += jsonLine({{"rule", std::string(name)},
                        {"verdict", std::string(verdict)},
                        {"statement", std::string(statement)},
                        {"seen", finding.seen}});
    } else {
      for (const std::string_view part : {name, verdict, statement}) text += std::string(part) + "\t";
      text += finding.seen + "\n";
    }
  }
  if (Done written = output.write(text); !written) return written;
  if (brokenRules.empty()) return host::done();
  return Error{Error::Kind::data, options.host + " breaks " + brokenRules};
}

Done transformAll(Workbench& bench, const Options& options, Progress& progress, Output& output) {
  const RQForm form = formNamed(options.subject);
  if (options.command == Command::from) {
    return rewrite(options, progress, output, host::encodingOf(form), bench.encoding(),
                   [&](const Text& text) { return bench.fromForm(form, text); });
  }
  if (options.pad) {
    const std::uint64_t blank = form == RQ_FORM_UTF16_BIG || form == RQ_FORM_UTF16_LITTLE ? 2 : 4;
    const std::uint64_t step = bench.wide() ? 4 : blank;
    if (form == RQ_FORM_UTF8) return Error{Error::Kind::usage, "there is no padding for utf8"};
    if (*options.pad % step != 0) {
      return Error{Error::Kind::usage, "--pad must be a multiple of " + std::to_string(step) + " bytes here"};
    }
  }
  return rewrite(options, progress, output, bench.encoding(), host::encodingOf(form),
                 [&](const Text& text) { return bench.toForm(form, text, options.pad); });
}

Done codecAll(Workbench& bench, const Options& options, Progress& progress, Output& output) {
  if (Done possible = bench.needNotations(); !possible) return possible;
  if (options.explain) return explainAll(bench, options, progress, output);
  const Notation notation = notationNamed(options.subject);
  const bool decode = options.command == Command::decode;
  return rewrite(options, progress, output, bench.encoding(), bench.encoding(), [&](const Text& text) {
    return decode ? bench.decode(notation, text) : bench.encode(notation, text);
  });
}

}  // namespace

Done run(const Options& options, Progress& progress, Output& output) {
  if (options.command == Command::encodings) return listEncodings(options, output);
  if (options.command == Command::checkHost) return checkHost(options, output);
  Result<std::unique_ptr<Workbench>> opened = Workbench::open(options);
  if (!opened) return opened.error();
  Workbench& bench = **opened;
  switch (options.command) {
    case Command::from:
    case Command::to:
      return transformAll(bench, options, progress, output);
    case Command::decode:
    case Command::encode:
      return codecAll(bench, options, progress, output);
    case Command::length:
    case Command::width:
      return measureAll(bench, options, progress, output);
    case Command::info:
      return showInfo(bench, options, output);
    case Command::encodings:
    case Command::checkHost:
    case Command::completion:
      break;
  }
  return host::done();
}

}  // namespace rq::cli
