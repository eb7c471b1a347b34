// What helps where memory does not suffice.
#ifndef RQUNI_CLI_ADVICE_H
#define RQUNI_CLI_ADVICE_H

#include "cli/job.h"
#include "host/result.h"

namespace rq::cli {

/// An error of memory with the options that need less of it; any other error as it is.
host::Error withAdvice(const Job& job, const host::Error& error);

}  // namespace rq::cli

#endif
