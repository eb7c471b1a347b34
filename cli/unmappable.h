// Decoding for those who do not want notations to stay.
#ifndef RQUNI_CLI_UNMAPPABLE_H
#define RQUNI_CLI_UNMAPPABLE_H

#include <memory>
#include <string>
#include <vector>

#include "cli/job.h"
#include "cli/workbench.h"

namespace rq::cli {

/// Decodes as the library does, but for characters that the session encoding lacks: instead of keeping their notation
/// it fails, or writes the encoding's substitution character. For session text of bytes.
class StrictDecoder {
 public:
  static Result<StrictDecoder> open(std::shared_ptr<Workbench> bench, Notation notation, Unmappable unmappable);
  Result<Bytes> operator()(const Text& text);

 private:
  StrictDecoder(std::shared_ptr<Workbench> bench, Notation notation, std::string substitute)
      : bench_(std::move(bench)), notation_(notation), substitute_(std::move(substitute)) {}
  void append(Bytes bytes) { result_.insert(result_.end(), bytes.begin(), bytes.end()); }
  Error lacks(const Text& text, std::size_t offset, std::size_t length, RQChar character) const;

  std::shared_ptr<Workbench> bench_;
  Notation notation_;
  std::string substitute_;  // empty: to fail
  std::vector<std::byte> result_;
};

}  // namespace rq::cli

#endif
