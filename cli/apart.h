// Work in a process of its own, for somebody else's host, which may end it in any way.
#ifndef RQUNI_CLI_APART_H
#define RQUNI_CLI_APART_H

#include <functional>

#include "cli/files.h"

namespace rq::cli {

/// Runs `work` in a child process. It gets this process's standard output; what the host prints goes to standard
/// error. Returns what `work` returns, or an error when the child ends before. An ending signal ends both.
Result<int> workApart(const std::function<int(Descriptor output)>& work);

}  // namespace rq::cli

#endif
