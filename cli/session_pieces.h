// Session text as the library takes it, piece by piece.
#ifndef RQUNI_CLI_SESSION_PIECES_H
#define RQUNI_CLI_SESSION_PIECES_H

#include <memory>
#include <optional>

#include "cli/cuts.h"
#include "cli/job.h"
#include "cli/texts.h"
#include "cli/workbench.h"
#include "host/pieces.h"

namespace rq::cli {

/// An encoding with shift sequences can only be read from the beginning of its text. So one converter reads such a
/// text into characters, which the library then takes in place of session text. All other text is taken as it stands.
class SessionPieces {
 public:
  static Result<SessionPieces> open(const Job& job);

  /// The encoding of the text that is read.
  const host::Encoding& encoding() const { return *encoding_; }
  /// Works on what taken() returns.
  Workbench& bench() const { return *bench_; }
  /// Where the text may be cut.
  Cut cut() const;
  Result<Text> taken(const Text& text);

 private:
  SessionPieces(const host::Encoding& encoding, bool shifts, std::unique_ptr<Workbench> bench)
      : encoding_(&encoding), shifts_(shifts), bench_(std::move(bench)) {}

  const host::Encoding* encoding_;
  bool shifts_;
  std::unique_ptr<Workbench> bench_;
  std::optional<host::CharacterReader> reader_;
};

}  // namespace rq::cli

#endif
