// Code that may do anything, kept away in a process of its own.
#ifndef RQUNI_CHECKER_SANDBOX_H
#define RQUNI_CHECKER_SANDBOX_H

#include <chrono>
#include <functional>

#include "checker/rule.h"

namespace rq::check {

/// How the report of a crash begins.
inline constexpr std::string_view crashed = "it crashed";

/// What `check` finds in a child process, whose standard output is this one's standard error. A child that ends in
/// another way, or not before patience does, is a broken rule.
Finding apart(const std::function<Finding()>& check, std::chrono::milliseconds patience = std::chrono::seconds(30));

}  // namespace rq::check

#endif
