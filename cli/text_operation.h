// The operations on texts: what each command makes of a text, piece by piece.
#ifndef RQUNI_CLI_TEXT_OPERATION_H
#define RQUNI_CLI_TEXT_OPERATION_H

#include <functional>

#include "cli/cuts.h"
#include "cli/job.h"
#include "cli/texts.h"

namespace rq::cli {

struct TextOperation {
  const host::Encoding* texts;     // what they are in
  const host::Encoding* lineEnds;  // what a line end between two results is in; null where there is none
  Cut cut;
  /// The result for a text or a piece of it, valid until the next call. Pieces come in order.
  std::function<Result<Bytes>(const Text&)> result;
  ExpectedMark mark = {};       // in front of each file
  std::string outputMark = {};  // before the results
};

Result<TextOperation> fromForm(const Job& job);
Result<TextOperation> toForm(const Job& job);
Result<TextOperation> decode(const Job& job);
Result<TextOperation> encode(const Job& job);
Result<TextOperation> measureLength(const Job& job);
Result<TextOperation> measureWidth(const Job& job);

}  // namespace rq::cli

#endif
