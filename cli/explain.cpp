#include "cli/explain.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "cli/json_line.h"
#include "cli/notations.h"
#include "cli/texts.h"
#include "cli/workbench.h"

namespace rq::cli {
namespace {

constexpr std::size_t shownCharacters = 48;

/// A stretch of session text as UTF-8 for people: what cannot be shown stands as \xNN, long stretches are cut.
std::string shown(const host::Codec& codec, Bytes bytes) {
  const host::Codec& utf8 = *host::codecOf(RQ_ENCODING_UTF8);
  std::string text;
  for (std::size_t at = 0, count = 0; at < bytes.size(); ++count) {
    if (count == shownCharacters) return text + "...";
    char32_t c = 0;
    const host::Step step = codec.decodeOne(bytes.subspan(at), c, true);
    const bool valid = step.produced == 1 && step.consumed > 0;
    if (valid && c >= 0x20 && c != 0x7F) {
      std::array<std::byte, 4> encoded;
      const host::Step written = utf8.encode({&c, 1}, encoded, true, true);
      text.append(reinterpret_cast<const char*>(encoded.data()), written.produced);
    } else {
      std::array<char, 8> hexadecimal;
      std::snprintf(hexadecimal.data(), hexadecimal.size(), "\\x%02X", std::to_integer<unsigned>(bytes[at]));
      text += hexadecimal.data();
    }
    at += valid ? step.consumed : 1;
  }
  return text;
}

std::string nameOf(const std::optional<RQChar>& character) {
  if (!character) return "";
  std::array<char, 16> name;
  std::snprintf(name.data(), name.size(), "U+%04X", *character);
  return name.data();
}

std::string head(bool withFile) {
  return std::string(withFile ? "file\t" : "") + "offset\tline\tcolumn\tsource\tcharacter\tfate\twhy\n";
}

/// A notation as a row shows it.
struct Row {
  const std::string& file;  // empty for none
  const host::Position& position;
  std::uint64_t bytes;
  std::string source;
  const Finding& found;

  const char* fate() const { return found.decoded ? "decoded" : "kept"; }
};

std::string jsonOf(const Row& row) {
  JsonMember character = {"character", {}};
  if (row.found.character) character.value = nameOf(row.found.character);
  std::vector<JsonMember> members = {{"offset", row.position.offset},
                                     {"line", row.position.line},
                                     {"column", row.position.column},
                                     {"bytes", row.bytes},
                                     {"source", row.source},
                                     character,
                                     {"fate", row.fate()},
                                     {"why", std::string(row.found.why)}};
  if (!row.file.empty()) members.insert(members.begin(), {"file", row.file});
  return jsonLine(members);
}

std::string tableRow(const Row& row) {
  return (row.file.empty() ? "" : row.file + "\t") + std::to_string(row.position.offset) + "\t" +
         std::to_string(row.position.line) + "\t" + std::to_string(row.position.column) + "\t" + row.source + "\t" +
         nameOf(row.found.character) + "\t" + row.fate() + "\t" + std::string(row.found.why) + "\n";
}

Done explainText(const Workbench& bench, const Job& job, const Text& text, Output& output) {
  host::PositionTracker tracker(bench.codec(), text.bytes, text.start);
  const std::string file = fileColumn(job, text);
  const std::size_t unit = bench.wide() ? sizeof(RQChar) : 1;
  Done result = host::done();
  const auto take = [&](const Finding& found) {
    if (!result) return;
    const Bytes source = text.bytes.subspan(found.offset * unit, found.length * unit);
    const Row row{file, tracker.advanceTo(found.offset * unit), source.size(), shown(bench.codec(), source), found};
    result = output.write(job.json ? jsonOf(row) : tableRow(row));
  };
  const auto carries = [&bench](RQChar character) { return bench.carries(character); };
  const std::size_t units = text.bytes.size() / unit;
  if (bench.wide()) {
    std::vector<RQChar> characters(units);
    if (units > 0) std::memcpy(characters.data(), text.bytes.data(), units * unit);
    findNotations<RQChar>(job.notation, characters, carries, take);
  } else {
    findNotations<unsigned char>(job.notation, {reinterpret_cast<const unsigned char*>(text.bytes.data()), units},
                                 carries, take);
  }
  return result;
}

}  // namespace

Done explain(const Job& job, Progress& progress, Output& output) {
  const Result<std::unique_ptr<Workbench>> opened = Workbench::openForNotations(job);
  if (!opened) return opened.error();
  Workbench& bench = **opened;
  // A library without the decoder has nothing that could be explained.
  if (const Result<Bytes> probe = bench.decode(job.notation, {}); !probe) return probe.error();
  if (!job.json) {
    if (Done written = output.write(head(job.files.size() > 1)); !written) return written;
  }
  Result<TextRun> run = TextRun::in(bench.encoding(), job.lines, {}, progress);
  if (!run) return run.error();
  return run->each(
      job.files, [&](const Text& text) { return explainText(bench, job, text, output); },
      [&output] { return output.flush(); });
}

}  // namespace rq::cli
