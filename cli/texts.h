// The texts of a run: whole files, or their lines.
#ifndef RQUNI_CLI_TEXTS_H
#define RQUNI_CLI_TEXTS_H

#include <functional>
#include <string>
#include <vector>

#include "cli/files.h"
#include "host/encodings.h"
#include "host/text.h"

namespace rq::cli {

/// A text and where it stands.
struct Text {
  Bytes bytes;
  host::Position start;  // in its file
  std::string_view file = "-";
};

/// "NAME: WHAT", as messages about a text begin.
std::string about(const Text& text, const std::string& what);

/// The line feed as an encoding writes it, for --lines.
Result<std::string> lineEndIn(const host::Encoding& encoding);

/// Cuts files into texts.
class TextRun {
 public:
  /// `ended` tells whether a line end follows.
  using Take = std::function<Done(const Text& text, bool ended)>;

  /// Without `lines` a file is one text; `encoding` is what they are in.
  static Result<TextRun> in(const host::Encoding& encoding, bool lines, Progress& progress);

  /// Hands every text of the files to `take`, in order, until that fails.
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
