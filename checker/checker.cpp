#include "checker/checker.h"

#include <algorithm>
#include <iterator>

#include "checker/sandbox.h"
#include "host/host_file.h"

namespace rq::checker {
namespace {

Finding enter(const std::string& path, RQKernel*& kernel, RQContext*& context) {
  const host::Result<host::HostEntry> entry = host::loadHost(path);
  if (!entry) return notChecked(entry.error().text);
  const host::Result<host::HostTables> tables = host::enterHost(*entry);
  if (!tables) return broken(tables.error().text);
  kernel = tables->kernel;
  context = tables->context;
  return ok();
}

std::vector<Rule> allRules() {
  std::vector<Rule> rules;
  for (auto* list : {poolRules, sessionRules, transcoderRules, characterRules, serviceRules, objectRules}) {
    std::ranges::move(list(), std::back_inserter(rules));
  }
  return rules;
}

bool blocks(const Row& row) {
  return row.finding.verdict == Verdict::broken || row.finding.verdict == Verdict::blocked;
}

/// The first row that keeps a rule from being checked, or null. All rules need the entry.
const Row* obstacle(const Rule& rule, const std::vector<Row>& rows) {
  if (blocks(rows.front())) return &rows.front();
  for (const std::string_view need : rule.needs) {
    const auto row = std::ranges::find(rows, need, &Row::name);
    if (blocks(*row)) return &*row;
  }
  return nullptr;
}

using std::chrono::milliseconds;

/// So long all checks together may hang.
constexpr milliseconds longestHang = std::chrono::seconds(19);

Finding tried(const Rule& rule, const std::string& path, const host::Library& library, bool threads,
              milliseconds patience) {
  Finding finding = apart(
      [&] {
        Subject subject{nullptr, nullptr, library, threads};
        const Finding entered = enter(path, subject.kernel, subject.context);
        return entered.verdict == Verdict::ok ? rule.check(subject) : entered;
      },
      patience);
  if (finding.end == Finding::End::crashed && !rule.crash.empty()) finding.seen += ": " + std::string(rule.crash);
  return finding;
}

}  // namespace

std::string_view nameOf(Verdict verdict) {
  if (verdict == Verdict::ok) return "ok";
  return verdict == Verdict::broken ? "broken" : "not checked";
}

host::Result<std::vector<Row>> checkHost(const std::string& path, const host::Library& library, bool threads) {
  RQKernel* kernel = nullptr;
  RQContext* context = nullptr;
  const Finding entered = apart([&] { return enter(path, kernel, context); });
  if (entered.verdict == Verdict::notChecked) {
    return host::Error{host::Error::Kind::system, "cannot load the host " + path + ": " + entered.seen};
  }
  std::vector<Row> rows = {{"entry", "rquni_host stores a kernel and a context and returns 0", entered}};
  milliseconds allowance = longestHang;
  for (const Rule& rule : allRules()) {
    const Row* obstructing = obstacle(rule, rows);
    const milliseconds patience = std::min(allowance, longestPatience);
    const Finding finding = obstructing                        ? blockedBy(obstructing->name)
                            : patience == milliseconds::zero() ? notChecked("other checks hung")
                                                               : tried(rule, path, library, threads, patience);
    if (finding.end == Finding::End::hung) allowance -= patience;
    rows.push_back({rule.name, rule.statement, finding});
  }
  return rows;
}

}  // namespace rq::checker
