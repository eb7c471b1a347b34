// Says which of the rules of frame/host_tables.h a host breaks.
#ifndef RQUNI_CHECKER_CHECKER_H
#define RQUNI_CHECKER_CHECKER_H

#include <string>
#include <vector>

#include "checker/rule.h"
#include "host/library.h"
#include "host/result.h"

namespace rq::checker {

/// A rule and what its check found.
struct Row {
  std::string_view name, statement;
  Finding finding;
};

/// For each rule, loads the shared object at `path` in a child process and enters it by rquni_host. Returns a row per
/// rule, in a fixed order, or an error when the file is no such host. `threads`: see Subject.
host::Result<std::vector<Row>> checkHost(const std::string& path, const host::Library& library, bool threads);

/// "ok", "broken" or "not checked", which blocked rules are too.
std::string_view nameOf(Verdict verdict);

}  // namespace rq::checker

#endif
