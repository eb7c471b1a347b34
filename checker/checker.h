// Says which of the rules of frame/host_tables.h a host breaks.
#ifndef RQUNI_CHECKER_CHECKER_H
#define RQUNI_CHECKER_CHECKER_H

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "checker/rule.h"
#include "checker/sandbox.h"
#include "host/library.h"
#include "host/result.h"

namespace rq::checker {

/// A rule and what its check found.
struct Row {
  std::string_view name, statement;
  Finding finding;
};

/// Stores a host's tables in the subject. Not checked: there is no host.
using Entry = std::function<Finding(Subject& subject)>;

/// Loads the shared object at `path` and enters it by rquni_host.
Entry entryOf(const std::string& path);

/// For each rule, enters the host in a child process. Hands each row to `report` as soon as it is found, in a fixed
/// order, and stops at an error of it. An error as well when there is no host. `threads`: see Subject. A check that
/// does not return in time breaks its rule; all together may hang for half as long again.
host::Done checkHost(const Entry& enter, const host::Library& library, bool threads,
                     const std::function<host::Done(const Row&)>& report,
                     std::chrono::milliseconds patience = longestPatience);

/// Each after those that it needs.
std::vector<Rule> allRules();

/// What the check of one rule finds, in a child process.
Finding tried(const Rule& rule, const Entry& enter, const host::Library& library, bool threads,
              std::chrono::milliseconds patience = longestPatience);

/// "ok", "broken" or "not checked", which blocked rules are too.
std::string_view nameOf(Verdict verdict);

}  // namespace rq::checker

#endif
