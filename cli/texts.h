// The texts of a job: whole files, or their lines.
#ifndef RQUNI_CLI_TEXTS_H
#define RQUNI_CLI_TEXTS_H

#include <functional>
#include <string>
#include <vector>

#include "cli/cuts.h"
#include "cli/files.h"
#include "cli/job.h"
#include "host/encodings.h"
#include "host/text.h"

namespace rq::cli {

/// A text, or a piece of one, and where it stands.
struct Text {
  Bytes bytes;
  host::Position start;  // in its file
  std::string_view file = "-";
  bool first = true, last = true;  // pieces of its text
  bool ended = false;              // a line end follows
  bool reversed = false;           // its file is little-endian, these bytes are big-endian
};

/// The error with the file's name before it: "NAME: WHAT".
Error inFile(std::string_view file, Error error);

/// What rows say of a text's file: its name where the job has several files, else nothing.
std::string fileColumn(const Job& job, const Text& text);

/// The line feed as an encoding writes it, for --lines.
Result<std::string> lineEndIn(const host::Encoding& encoding);
/// The carriage return as an encoding writes it; empty where there is none.
std::string carriageReturnIn(const host::Encoding& encoding);

/// Cuts files into texts.
class TextRun {
 public:
  using Take = std::function<Done(const Text& text)>;

  /// Takes each line for a text if `lines`, else each file in the pieces that `cut` makes of it, or as a whole
  /// without a cut. `encoding` is that of the files.
  static Result<TextRun> in(const host::Encoding& encoding, bool lines, Cut cut, Progress& progress,
                            ExpectedMark mark = {});

  /// Hands every text of the files to `take`, in order, until one fails. Calls `pause` before it waits for input.
  Done each(const std::vector<std::string>& files, const Take& take, const Pause& pause);
  /// The same with the texts of one file that is open.
  Done each(Input& input, const Take& take);

 private:
  TextRun(const host::Encoding& encoding, std::string lineEnd, Cut cut, Progress& progress, ExpectedMark mark)
      : encoding_(&encoding),
        lineEnd_(std::move(lineEnd)),
        cut_(std::move(cut)),
        progress_(&progress),
        mark_(std::move(mark)) {}
  Done wholeFile(Input& input, const Take& take);
  Done eachPiece(Input& input, const Take& take) const;
  Done eachLine(Input& input, const Take& take) const;

  const host::Encoding* encoding_;
  std::string lineEnd_;  // empty for whole files
  Cut cut_;
  Progress* progress_;
  ExpectedMark mark_;
  Buffer buffer_;
};

}  // namespace rq::cli

#endif
