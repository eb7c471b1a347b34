// The operations on texts: what each command makes of a text, piece by piece.
#ifndef RQUNI_CLI_TEXT_OPERATION_H
#define RQUNI_CLI_TEXT_OPERATION_H

#include <functional>

#include "cli/cuts.h"
#include "cli/job.h"
#include "cli/texts.h"

namespace rq::cli {

/// The result for a text or a piece of it, valid until the next call. One thread at a time.
using Work = std::function<Result<Bytes>(const Text&)>;
using Write = std::function<Done(Bytes)>;

struct TextOperation {
  const host::Encoding* texts;     // what they are in
  const host::Encoding* lineEnds;  // what a line end between two results is in; null where there is none
  Cut cut;
  Work work = {};
  /// Makes work for another thread, which does other pieces at the same time. Call it while no thread works. Empty
  /// where one work must do all pieces in their order.
  std::function<Result<Work>()> another = {};
  /// Writes what comes of the results of pieces, in their order. Empty where the results are written as they are.
  std::function<Done(const Text& text, Bytes result, const Write& write)> gather = {};
  /// The position behind a piece at the beginning of a file. Empty for host::positionBehind.
  std::function<host::Position(Bytes piece)> behind = {};
  ExpectedMark mark = {};                    // in front of each file
  std::string outputMark = {};               // before the results
  std::size_t pieceBytes = cli::pieceBytes;  // so much makes a piece where it can be cut
};

Result<TextOperation> fromForm(const Job& job);
Result<TextOperation> toForm(const Job& job);
Result<TextOperation> decode(const Job& job);
Result<TextOperation> encode(const Job& job);
Result<TextOperation> measureLength(const Job& job);
Result<TextOperation> measureWidth(const Job& job);

}  // namespace rq::cli

#endif
