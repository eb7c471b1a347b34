// Runs an operation over the texts of a job.
#ifndef RQUNI_CLI_TEXT_COMMANDS_H
#define RQUNI_CLI_TEXT_COMMANDS_H

#include "cli/files.h"
#include "cli/job.h"
#include "cli/text_operation.h"

namespace rq::cli {

/// Writes the results of all texts to the output, or those of each file into that file.
Done runOverTexts(const Job& job, const TextOperation& operation, Progress& progress, Output& output);

}  // namespace rq::cli

#endif
