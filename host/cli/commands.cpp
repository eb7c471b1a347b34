#include "host/cli/commands.h"

#include <functional>
#include <nlohmann/json.hpp>

#include "host/cli/explain.h"
#include "host/cli/workbench.h"

namespace rq::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string jsonLine(const Json &object) {
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// The line feed as an encoding writes it.
Result<std::string> lineEndIn(const host::Encoding &encoding) {
  const host::Codec &codec = *host::codecOf(encoding.identifier);
  const std::byte lineFeed{'\n'};
  std::optional<std::string> bytes;
  if (!codec.stateful()) bytes = host::convertAll(*host::codecOf(RQ_ENCODING_UTF8), codec, {&lineFeed, 1});
  if (bytes) return *bytes;
  return Error{Error::Kind::usage, "--lines cannot cut " + encoding.name + " text into lines"};
}

/// Every text of the run in order: whole files, or their lines.
class TextRun {
 public:
  /// `line` is 0 for a whole file; `ended` tells whether a line end follows.
  using Take = std::function<Done(const std::string &file, const Text &text, bool ended)>;

  TextRun(const Options &options, Progress &progress) : options_(options), progress_(progress) {}

  Done each(const host::Encoding &encoding, const Take &take) {
    std::string lineEnd;
    if (options_.lines) {
      Result<std::string> found = lineEndIn(encoding);
      if (!found) return found.error();
      lineEnd = *found;
    }
    for (const std::string &file : options_.files) {
      Result<Input> input = Input::open(file, progress_);
      if (!input) return input.error();
      Done done = options_.lines ? eachLine(*input, lineEnd, take) : wholeFile(*input, take);
      if (!done) {
        // Trouble with a text says which; trouble with reading and writing names its file already.
        if (done.error().kind == Error::Kind::data) {
          done.error().text = (file == "-" ? "standard input" : file) + ": " + done.error().text;
        }
        return done;
      }
    }
    return host::done();
  }

 private:
  Done wholeFile(Input &input, const Take &take) {
    const Result<Bytes> bytes = input.readAll(buffer_);
    if (!bytes) return bytes.error();
    return take(input.name(), {*bytes, {}}, false);
  }

  static Done eachLine(Input &input, const std::string &lineEnd, const Take &take) {
    LineReader reader(input, lineEnd);
    host::Position start;
    for (;;) {
      const auto line = reader.next();
      if (!line) return line.error();
      if (!*line) return host::done();
      if (Done done = take(input.name(), {(*line)->text, start}, (*line)->ended); !done) return done;
      start.offset += (*line)->text.size() + lineEnd.size();
      ++start.line;
    }
  }

  const Options &options_;
  Progress &progress_;
  Buffer buffer_;
};

/// Texts in, texts out: line ends are written in the result's encoding and are no part of the texts.
Done rewrite(const Options &options, Progress &progress, Output &output, const host::Encoding &from,
             const host::Encoding &to, const std::function<Result<Bytes>(const Text &)> &operation) {
  std::string lineEnd;
  if (options.lines) {
    const Result<std::string> found = lineEndIn(to);
    if (!found) return found.error();
    lineEnd = *found;
  }
  return TextRun(options, progress).each(from, [&](const std::string &, const Text &text, bool ended) -> Done {
    const Result<Bytes> result = operation(text);
    if (!result) return result.error();
    if (Done written = output.write(*result); !written) return written;
    return ended ? output.write(lineEnd) : host::done();
  });
}

Notation notationNamed(const std::string &name) {
  if (name == "ncr") return Notation::ncr;
  if (name == "uesc") return Notation::uesc;
  return name == "uparen" ? Notation::uparen : Notation::uparenAscii;
}

RQCodec decoderOf(const RQOperations &operations, Notation notation) {
  switch (notation) {
    case Notation::ncr:
      return operations.getNCR;
    case Notation::uesc:
      return operations.getUEsc;
    case Notation::uparen:
      return operations.getUParen;
    case Notation::uparenAscii:
      break;
  }
  return operations.getUParenP;
}

RQCodec encoderOf(const RQOperations &operations, Notation notation) {
  if (notation == Notation::ncr) return operations.putNCR;
  return notation == Notation::uesc ? operations.putUEsc : operations.putUParen;
}

/// The name for a column or member, empty when one file needs none.
std::string column(const Options &options, const std::string &file) {
  return options.files.size() > 1 ? file : "";
}

Done explainAll(Workbench &bench, const Options &options, Progress &progress, Output &output) {
  const Notation notation = notationNamed(options.subject);
  // A library without the decoder has nothing that could be explained.
  if (const Result<Bytes> probe = bench.decode(decoderOf(bench.operations(), notation), {{}, {}}); !probe) {
    return probe.error();
  }
  if (!options.json) {
    if (Done written = output.write(explanationHead(options.files.size() > 1)); !written) return written;
  }
  return TextRun(options, progress)
      .each(bench.encoding(), [&](const std::string &file, const Text &text, bool) -> Done {
        return explain(bench, notation, text, column(options, file), options.json, output);
      });
}

Done measureAll(Workbench &bench, const Options &options, Progress &progress, Output &output) {
  const bool length = options.command == Command::length;
  const RQMeasure measure = length ? bench.operations().getUnicodeLength : bench.operations().getUnicodeWidth;
  return TextRun(options, progress)
      .each(bench.encoding(), [&](const std::string &file, const Text &text, bool) -> Done {
        const Result<std::int64_t> count = bench.measure(measure, text);
        if (!count) return count.error();
        const std::string name = column(options, file);
        if (options.json) {
          Json object;
          object["file"] = file;
          if (options.lines) object["line"] = text.start.line;
          object[length ? "length" : "width"] = *count;
          return output.write(jsonLine(object));
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

Done showInfo(Workbench &bench, const Options &options, Output &output) {
  const auto version = [&bench](auto slot) {
    std::uint64_t major = 0;
    std::uint64_t minor = 0;
    std::uint64_t patch = 0;
    slot(bench.object(), &major, &minor, &patch);
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
  };
  RQVersionRecord record;
  bench.library().rqvercn1(&record);
  Json info;
  info["library"] = bench.library().path();
  info["library version"] = version(bench.object()->getVersion);
  info["host interface required"] = version(bench.object()->getReqVersion);
  info["extension interface"] = "9.1";
  info["version stamp"] = record.version;
  info["stream"] = record.stream;
  info["build time"] = std::to_string(record.buildTime);
  info["build date"] = record.buildDate;
  info["build machine"] = record.machine;
  info["prefix"] = record.prefix;
  info["component"] = record.component;
  info["group"] = record.group;
  info["build identifier"] = record.buildId;
  info["second build identifier"] = record.secondBuildId;
  info["hot fix"] = trimmed(record.hotFix);
  info["image description"] = trimmed(record.imageDescription);
  if (options.json) return output.write(jsonLine(info));
  std::string text;
  for (const auto &[key, value] : info.items()) text += key + ": " + value.get<std::string>() + "\n";
  return output.write(text);
}

Done listEncodings(const Options &options, Output &output) {
  for (const host::Encoding &encoding : host::encodings()) {
    std::string line;
    if (options.json) {
      line = jsonLine({{"identifier", encoding.identifier}, {"name", encoding.name}, {"aliases", encoding.aliases}});
    } else {
      line = std::to_string(encoding.identifier) + "\t" + encoding.name + "\t";
      for (const std::string &alias : encoding.aliases) line += (line.back() == '\t' ? "" : " ") + alias;
      line += "\n";
    }
    if (Done written = output.write(line); !written) return written;
  }
  return host::done();
}

Done transformAll(Workbench &bench, const Options &options, Progress &progress, Output &output) {
  const RQForm form = formNamed(options.subject);
  if (options.command == Command::from) {
    return rewrite(options, progress, output, encodingOf(form), bench.encoding(),
                   [&](const Text &text) { return bench.fromForm(form, text); });
  }
  if (options.pad) {
    const std::uint64_t blank = form == RQ_FORM_UTF16_BIG || form == RQ_FORM_UTF16_LITTLE ? 2 : 4;
    const std::uint64_t step = bench.wide() ? 4 : blank;
    if (form == RQ_FORM_UTF8) return Error{Error::Kind::usage, "there is no padding for utf8"};
    if (*options.pad % step != 0) {
      return Error{Error::Kind::usage, "--pad must be a multiple of " + std::to_string(step) + " bytes here"};
    }
  }
  return rewrite(options, progress, output, bench.encoding(), encodingOf(form),
                 [&](const Text &text) { return bench.toForm(form, text, options.pad); });
}

Done codecAll(Workbench &bench, const Options &options, Progress &progress, Output &output) {
  if (Done possible = bench.needNotations(); !possible) return possible;
  if (options.explain) return explainAll(bench, options, progress, output);
  const Notation notation = notationNamed(options.subject);
  const bool decode = options.command == Command::decode;
  const RQCodec codec = decode ? decoderOf(bench.operations(), notation) : encoderOf(bench.operations(), notation);
  return rewrite(options, progress, output, bench.encoding(), bench.encoding(),
                 [&](const Text &text) { return decode ? bench.decode(codec, text) : bench.encode(codec, text); });
}

}  // namespace

Done run(const Options &options, Progress &progress, Output &output) {
  if (options.command == Command::encodings) return listEncodings(options, output);
  Result<std::unique_ptr<Workbench>> opened = Workbench::open(options);
  if (!opened) return opened.error();
  Workbench &bench = **opened;
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
    case Command::completion:
      break;
  }
  return host::done();
}

}  // namespace rq::cli
