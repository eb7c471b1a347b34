// Says which of the rules of frame/host_tables.h a host breaks.
#ifndef RQUNI_CHECKER_CHECKER_H
#define RQUNI_CHECKER_CHECKER_H

#include <string>
#include <vector>

#include "checker/rule.h"
#include "host/library.h"
#include "host/result.h"

namespace rq::check {

/// What became of a rule.
struct Row {
  std::string_view name, statement;
  Finding finding;
};

/// Loads the shared object at `path` in a child process for each rule and enters it by rquni_host. A row per rule, in
/// a fixed order; an error when the file is no such host. `threads`: see Subject.
host::Result<std::vector<Row>> checkHost(const std::string& path, const host::Library& library, bool threads);

/// "ok", "broken" or "not checked".
std::string_view nameOf(Verdict verdict);

}  // namespace rq::check

#endif
