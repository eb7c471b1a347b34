// Runs code that may do anything in a process of its own.
#ifndef RQUNI_CHECKER_SANDBOX_H
#define RQUNI_CHECKER_SANDBOX_H

#include <chrono>
#include <functional>

#include "checker/rule.h"

namespace rq::checker {

inline constexpr std::chrono::milliseconds longestPatience = std::chrono::seconds(10);

/// Runs `check` in a child process, whose standard output is this one's standard error. The rule is broken when the
/// child ends without a finding, or not within `patience`.
Finding apart(const std::function<Finding()>& check, std::chrono::milliseconds patience = longestPatience);

}  // namespace rq::checker

#endif
