// Says which of the rules of frame/host_tables.h a host breaks.
#ifndef RQUNI_CHECKER_CHECKER_H
#define RQUNI_CHECKER_CHECKER_H

#include <functional>
#include <string>

#include "checker/rule.h"
#include "host/library.h"
#include "host/result.h"

namespace rq::checker {

/// A rule and what its check found.
struct Row {
  std::string_view name, statement;
  Finding finding;
};

/// For each rule, loads the shared object at `path` in a child process and enters it by rquni_host. Hands each row to
/// `report` as soon as it is found, in a fixed order, and stops at an error of it. An error as well when the file is
/// no such host. `threads`: see Subject.
host::Done checkHost(const std::string& path, const host::Library& library, bool threads,
                     const std::function<host::Done(const Row&)>& report);

/// "ok", "broken" or "not checked", which blocked rules are too.
std::string_view nameOf(Verdict verdict);

}  // namespace rq::checker

#endif
