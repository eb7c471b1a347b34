// Runs an operation over the texts of a job.
#ifndef RQUNI_CLI_TEXT_COMMANDS_H
#define RQUNI_CLI_TEXT_COMMANDS_H

#include "cli/files.h"
#include "cli/job.h"
#include "cli/text_operation.h"

namespace rq::cli {

/// Text for which threads are not worth their start, which costs as much time as one or two million bytes take.
inline constexpr std::size_t littleText = std::size_t{2} << 20;

/// Writes the results of all texts to the output, or those of each file into that file.
Done runOverTexts(const Job& job, const TextOperation& operation, Progress& progress, Output& output,
                  std::size_t worthwhile = littleText);

}  // namespace rq::cli

#endif
