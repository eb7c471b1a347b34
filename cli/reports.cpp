#include "cli/reports.h"

#include <algorithm>
#include <map>

#include "checker/checker.h"
#include "cli/json_line.h"
#include "cli/workbench.h"
#include "host/kernels.h"

namespace rq::cli {
namespace {

/// What another library leaves empty.
constexpr const char* absent = "missing";

std::string textOf(const char* word) {
  return word != nullptr ? word : absent;
}

std::string withoutBlanksAtTheEnd(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string versionFrom(RQInterface* object, decltype(RQInterface::getVersion) slot) {
  if (slot == nullptr) return absent;
  std::uint64_t major = 0;
  std::uint64_t minor = 0;
  std::uint64_t patch = 0;
  slot(object, &major, &minor, &patch);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

/// The kernels that a library of this version chooses on this machine.
std::string kernels() {
  const host::KernelChoice& choice = host::kernelChoice();
  std::string inUse(nameOf(choice.inUse));
  if (choice.wanted.empty()) return inUse;
  if (choice.wanted == inUse) return inUse + ", by RQUNI_KERNELS";
  const bool known =
      choice.wanted == nameOf(host::KernelSet::avx2) || choice.wanted == nameOf(host::KernelSet::avx512);
  return inUse + "; RQUNI_KERNELS asks for " + choice.wanted +
         (known ? ", which this processor lacks" : ", which is none of sse2, avx2 and avx512");
}

std::string table(const std::vector<JsonMember>& rows) {
  std::string text;
  for (const auto& [name, value] : rows) {
    const auto* number = std::get_if<std::uint64_t>(&value);
    text += name + ": " + (number != nullptr ? std::to_string(*number) : std::get<std::string>(value)) + "\n";
  }
  return text;
}

/// Names for programs have no blanks.
std::vector<JsonMember> withJsonNames(std::vector<JsonMember> members) {
  for (JsonMember& member : members) std::ranges::replace(member.name, ' ', '_');
  return members;
}

/// The rows of a checked host as they come, each complete before the next rule is tried, and their number.
class HostReport {
 public:
  HostReport(const Job& job, Output& output) : job_(job), output_(output) {}

  Done add(const checker::Row& row) {
    const std::string_view verdict = checker::nameOf(row.finding.verdict);
    ++counts_[verdict];
    if (row.finding.verdict == checker::Verdict::broken)
      brokenRules_ += (brokenRules_.empty() ? "" : ", ") + std::string(row.name);
    if (job_.json) {
      return writeNow(jsonLine({{"rule", std::string(row.name)},
                                {"verdict", std::string(verdict)},
                                {"statement", std::string(row.statement)},
                                {"seen", row.finding.seen}}));
    }
    std::string text = output_.begun() ? "" : "rule\tverdict\twhat it says\twhat was seen\n";
    for (const std::string_view part : {row.name, verdict, row.statement}) text += std::string(part) + "\t";
    return writeNow(text + row.finding.seen + "\n");
  }

  /// A report without its closing line is cut off.
  Done close() {
    const std::uint64_t kept = counts_["ok"], broken = counts_["broken"], notChecked = counts_["not checked"];
    const std::uint64_t rules = kept + broken + notChecked;
    Done written =
        job_.json ? output_.write(
                        jsonLine({{"rules", rules}, {"kept", kept}, {"broken", broken}, {"not_checked", notChecked}}))
                  : output_.write(decimal(rules) + " rules: " + decimal(kept) + " kept, " + decimal(broken) +
                                  " broken, " + decimal(notChecked) + " not checked\n");
    if (!written || brokenRules_.empty()) return written;
    return Error{Error::Kind::data, job_.host + " breaks " + brokenRules_};
  }

 private:
  Done writeNow(const std::string& text) {
    if (Done written = output_.write(text); !written) return written;
    return output_.flush();
  }
  static std::string decimal(std::uint64_t number) { return std::to_string(number); }

  const Job& job_;
  Output& output_;
  std::map<std::string_view, std::uint64_t> counts_;
  std::string brokenRules_;
};

}  // namespace

Done showInfo(const Job& job, Progress&, Output& output) {
  const Result<std::unique_ptr<Workbench>> opened = Workbench::open(job);
  if (!opened) return opened.error();
  const Workbench& bench = **opened;
  RQInterface* object = bench.object();
  RQVersionRecord record;
  bench.library().rqvercn1(&record);
  const std::vector<JsonMember> rows = {
      {"library", bench.library().path()},
      {"library version", versionFrom(object, object->getVersion)},
      {"host interface required", versionFrom(object, object->getReqVersion)},
      {"extension interface", "9.1"},
      {"version stamp", textOf(record.version)},
      {"stream", textOf(record.stream)},
      {"build time", static_cast<std::uint64_t>(record.buildTime)},
      {"build date", textOf(record.buildDate)},
      {"build machine", textOf(record.machine)},
      {"prefix", textOf(record.prefix)},
      {"component", textOf(record.component)},
      {"group", textOf(record.group)},
      {"build identifier", textOf(record.buildId)},
      {"second build identifier", textOf(record.secondBuildId)},
      {"hot fix", withoutBlanksAtTheEnd(textOf(record.hotFix))},
      {"image description", withoutBlanksAtTheEnd(textOf(record.imageDescription))},
      {"kernels", kernels()},
  };
  return output.write(job.json ? jsonLine(withJsonNames(rows)) : table(rows));
}

Done listEncodings(const Job& job, Progress&, Output& output) {
  for (const host::Encoding& encoding : host::encodings()) {
    std::string line;
    if (job.json) {
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

Done checkHost(const Job& job, Progress&, Output& output) {
  const Result<host::Library> library = openLibrary(job);
  if (!library) return library.error();
  HostReport report(job, output);
  if (Done checked = checker::checkHost(checker::entryOf(job.host), *library, job.threads,
                                        [&](const auto& row) { return report.add(row); });
      !checked)
    return checked;
  return report.close();
}

}  // namespace rq::cli
