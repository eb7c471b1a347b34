#include "checker/checker.h"

#include <algorithm>
#include <iterator>

#include "host/host_file.h"

namespace rq::checker {

using std::chrono::milliseconds;

namespace {

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

}  // namespace

std::vector<Rule> allRules() {
  std::vector<Rule> rules;
  for (auto* list : {poolRules, sessionRules, transcoderRules, characterRules, serviceRules, objectRules}) {
    std::ranges::move(list(), std::back_inserter(rules));
  }
  return rules;
}

Entry entryOf(const std::string& path) {
  return [path](Subject& subject) {
    const host::Result<host::HostEntry> entry = host::loadHost(path);
    if (!entry) return notChecked("cannot load the host " + path + ": " + entry.error().text);
    const host::Result<host::HostTables> tables = host::enterHost(*entry);
    if (!tables) return broken(tables.error().text);
    subject.kernel = tables->kernel;
    subject.context = tables->context;
    return ok();
  };
}

Finding tried(const Rule& rule, const Entry& enter, const host::Library& library, bool threads,
              milliseconds patience) {
  Finding finding = apart(
      [&] {
        Subject subject{nullptr, nullptr, library, threads};
        const Finding entered = enter(subject);
        return entered.verdict == Verdict::ok ? rule.check(subject) : entered;
      },
      patience);
  if (finding.end == Finding::End::crashed && !rule.crash.empty()) finding.seen += ": " + std::string(rule.crash);
  return finding;
}

std::string_view nameOf(Verdict verdict) {
  if (verdict == Verdict::ok) return "ok";
  return verdict == Verdict::broken ? "broken" : "not checked";
}

host::Done checkHost(const Entry& enter, const host::Library& library, bool threads,
                     const std::function<host::Done(const Row&)>& report, milliseconds patience) {
  const Rule entry = {
      "entry", "rquni_host stores a kernel and a context and returns 0", {}, [](const Subject&) { return ok(); }};
  const Finding entered = tried(entry, enter, library, threads, patience);
  if (entered.verdict == Verdict::notChecked) return host::Error{host::Error::Kind::system, entered.seen};
  std::vector<Row> rows = {{entry.name, entry.statement, entered}};
  host::Done reported = report(rows.back());
  // Hanging rules share the time of one and a half: a host that hangs in all of them ends soon.
  milliseconds allowance = patience * 3 / 2;
  for (const Rule& rule : allRules()) {
    if (!reported) break;
    const Row* obstructing = obstacle(rule, rows);
    const milliseconds left = std::min(allowance, patience);
    const Finding finding = obstructing                    ? blockedBy(obstructing->name)
                            : left == milliseconds::zero() ? notChecked("other checks hung")
                                                           : tried(rule, enter, library, threads, left);
    if (finding.end == Finding::End::hung) allowance -= left;
    rows.push_back({rule.name, rule.statement, finding});
    reported = report(rows.back());
  }
  return reported;
}

}  // namespace rq::checker
