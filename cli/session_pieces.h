// Operations on session text, piece by piece.
#ifndef RQUNI_CLI_SESSION_PIECES_H
#define RQUNI_CLI_SESSION_PIECES_H

#include <functional>
#include <memory>

#include "cli/job.h"
#include "cli/text_operation.h"
#include "cli/workbench.h"

namespace rq::cli {

/// Makes the work of one thread.
using MakeWork = std::function<Result<Work>(const std::shared_ptr<Workbench>&)>;

/// The operation with its work: pieces can be worked on side by side, on a workbench for each thread.
Result<TextOperation> sideBySide(TextOperation operation, const std::shared_ptr<Workbench>& bench, MakeWork make);

/// An operation that reads session text. An encoding with shift sequences can only be read from the beginning of its
/// text: one converter reads such a text into characters, which the library then takes in place of session text. All
/// other text is taken as it stands.
Result<TextOperation> overSessionText(const Job& job, const MakeWork& make);

}  // namespace rq::cli

#endif
