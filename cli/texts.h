// The texts of a job: whole files, or their lines.
#ifndef RQUNI_CLI_TEXTS_H
#define RQUNI_CLI_TEXTS_H

#include <functional>
#include <string>
#include <vector>

#include "cli/files.h"
#include "cli/job.h"
#include "host/encodings.h"
#include "host/text.h"

namespace rq::cli {

/// A text and where it stands.
struct Text {
  Bytes bytes;
  host::Position start;  // in its file
  std::string_view file = "-";
};

/// The error with the file's name before it: "NAME: WHAT".
Error inFile(std::string_view file, Error error);

/// What rows say of a text's file: its name where the job has several files, else nothing.
std::string fileColumn(const Job& job, const Text& text);

/// The line feed as an encoding writes it, for --lines.
Result<std::string> lineEndIn(const host::Encoding& encoding);

/// Cuts files into texts.
class TextRun {
 public:
  /// `ended`: a line end follows the text.
  using Take = std::function<Done(const Text& text, bool ended)>;

  /// Takes each line for a text if `lines`, else each file. `encoding` is that of the files.
  static Result<TextRun> in(const host::Encoding& encoding, bool lines, Progress& progress);

  /// Hands every text of the files to `take`, in order, until one fails.
  Done each(const std::vector<std::string>& files, const Take& take);
  /// The same for one open file.
  Done each(Input& input, const Take& take);

 private:
  TextRun(std::string lineEnd, Progress& progress) : lineEnd_(std::move(lineEnd)), progress_(&progress) {}
  Done wholeFile(Input& input, const Take& take);
  Done eachLine(Input& input, const Take& take) const;

  std::string lineEnd_;  // empty for whole files
  Progress* progress_;
  Buffer buffer_;
};

}  // namespace rq::cli

#endif
