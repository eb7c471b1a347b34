#include "checker/checker.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>

#include "checker/sandbox.h"

namespace rq::check {
namespace {

using Entry = RQStatus (*)(RQKernel** kernel, RQContext** context);
constexpr const char* entryName = "rquni_host";

std::string loaderMessage() {
  const char* message = ::dlerror();
  return message == nullptr ? "no reason given" : message;
}

/// The entry point, or null and why.
Entry load(const std::string& path, std::string& why) {
  void* handle =
      ::dlopen(path.find('/') == std::string::npos ? ("./" + path).c_str() : path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* address = handle == nullptr ? nullptr : ::dlsym(handle, entryName);
  if (address == nullptr) why = loaderMessage();
  return reinterpret_cast<Entry>(address);
}

Finding enter(const std::string& path, RQKernel*& kernel, RQContext*& context) {
  std::string why;
  const Entry entry = load(path, why);
  if (entry == nullptr) return notChecked(why);
  kernel = nullptr;
  context = nullptr;
  const RQStatus status = entry(&kernel, &context);
  if (status != RQ_SUCCESS) return broken("it returns status " + std::to_string(status));
  if (kernel == nullptr || context == nullptr)
    return broken(kernel == nullptr ? "no kernel is stored" : "no context is stored");
  return ok();
}

std::vector<Rule> allRules() {
  std::vector<Rule> rules;
  for (auto* list : {poolRules, sessionRules, transcoderRules, serviceRules, objectRules}) {
    std::ranges::move(list(), std::back_inserter(rules));
  }
  return rules;
}

/// The first row that a rule needs and that is not ok; a rule that could not be checked is no hindrance.
const Row* hindrance(const Rule& rule, const std::vector<Row>& rows) {
  for (const std::string_view need : rule.needs) {
    const auto row = std::ranges::find(rows, need, &Row::name);
    if (row->finding.verdict == Verdict::broken || row->finding.seen.starts_with("see ")) return &*row;
  }
  return nullptr;
}

Finding tried(const Rule& rule, const std::string& path, const host::Library& library, bool threads) {
  Finding finding = apart([&] {
    Subject subject{nullptr, nullptr, library, threads};
    const Finding entered = enter(path, subject.kernel, subject.context);
    return entered.verdict == Verdict::ok ? rule.check(subject) : entered;
  });
  if (finding.seen.starts_with(crashed) && !rule.crash.empty()) finding.seen += ": " + std::string(rule.crash);
  return finding;
}

}  // namespace

std::string_view nameOf(Verdict verdict) {
  return verdict == Verdict::ok ? "ok" : verdict == Verdict::broken ? "broken" : "not checked";
}

host::Result<std::vector<Row>> checkHost(const std::string& path, const host::Library& library, bool threads) {
  RQKernel* kernel = nullptr;
  RQContext* context = nullptr;
  const Finding entered = apart([&] { return enter(path, kernel, context); });
  if (entered.verdict == Verdict::notChecked) {
    return host::Error{host::Error::Kind::system, "cannot load the host " + path + ": " + entered.seen};
  }
  std::vector<Row> rows = {{"entry", "rquni_host stores a kernel and a context and returns 0", entered}};
  for (const Rule& rule : allRules()) {
    const Row* missing = entered.verdict == Verdict::ok ? hindrance(rule, rows) : rows.data();
    rows.push_back(
        {rule.name, rule.statement,
         missing == nullptr ? tried(rule, path, library, threads) : notChecked("see " + std::string(missing->name))});
  }
  return rows;
}

}  // namespace rq::check
