#include "checker/checker.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>

#include "checker/sandbox.h"

namespace rq::checker {
namespace {

using Entry = RQStatus (*)(RQKernel** kernel, RQContext** context);
constexpr const char* entryName = "rquni_host";

std::string loaderMessage() {
  const char* message = ::dlerror();
  return message ? message : "no reason given";
}

/// The entry point, or null and why.
Entry load(const std::string& path, std::string& why) {
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* address = handle ? ::dlsym(handle, entryName) : nullptr;
  if (!address) why = loaderMessage();
  return reinterpret_cast<Entry>(address);
}

Finding enter(const std::string& path, RQKernel*& kernel, RQContext*& context) {
  std::string why;
  const Entry entry = load(path, why);
  if (!entry) return notChecked(why);
  kernel = nullptr;
  context = nullptr;
  const RQStatus status = entry(&kernel, &context);
  if (status != RQ_SUCCESS) return broken("it returns status " + std::to_string(status));
  if (!kernel) return broken("no kernel is stored");
  if (!context) return broken("no context is stored");
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

/// So long all checks together may hang. The others take a few seconds: a host that always hangs ends the run
/// within 20.
constexpr milliseconds longestHang = std::chrono::seconds(15);

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

host::Done checkHost(const std::string& path, const host::Library& library, bool threads,
                     const std::function<host::Done(const Row&)>& report) {
  RQKernel* kernel = nullptr;
  RQContext* context = nullptr;
  const Finding entered = apart([&] { return enter(path, kernel, context); });
  if (entered.verdict == Verdict::notChecked) {
    return host::Error{host::Error::Kind::system, "cannot load the host " + path + ": " + entered.seen};
  }
  std::vector<Row> rows = {{"entry", "rquni_host stores a kernel and a context and returns 0", entered}};
  host::Done reported = report(rows.back());
  milliseconds allowance = longestHang;
  for (const Rule& rule : allRules()) {
    if (!reported) break;
    const Row* obstructing = obstacle(rule, rows);
    const milliseconds patience = std::min(allowance, longestPatience);
    const Finding finding = obstructing                        ? blockedBy(obstructing->name)
                            : patience == milliseconds::zero() ? notChecked("other checks hung")
                                                               : tried(rule, path, library, threads, patience);
    if (finding.end == Finding::End::hung) allowance -= patience;
    rows.push_back({rule.name, rule.statement, finding});
    reported = report(rows.back());
  }
  return reported;
}

}  // namespace rq::checker
