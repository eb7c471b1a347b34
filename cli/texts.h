// The texts of a job: whole files, or their lines.
#ifndef RQUNI_CLI_TEXTS_H
#define RQUNI_CLI_TEXTS_H

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "cli/files.h"
#include "cli/job.h"
#include "host/encodings.h"
#include "host/text.h"

namespace rq::cli {

/// The first bytes of a text, as far as they are read.
class Beginning {
 public:
  void add(Bytes more) {
    const Bytes taken = more.first(std::min(more.size(), bytes_.size() - length_));
    std::ranges::copy(taken, bytes_.begin() + static_cast<std::ptrdiff_t>(length_));
    length_ += taken.size();
  }
  Bytes bytes() const { return Bytes(bytes_).first(length_); }

 private:
  std::array<std::byte, 24> bytes_{};
  std::size_t length_ = 0;
};

/// A text, or a piece of one, and where it stands.
struct Text {
  Bytes bytes;
  host::Position start;  // in its file
  std::string_view file = "-";
  bool first = true, last = true;  // pieces of its text
  bool ended = false;              // a line end follows
  bool reversed = false;           // its file is little-endian, these bytes are big-endian
  Bytes beginning = {};            // of its text, up to the end of this piece
};

/// The error with the file's name before it: "NAME: WHAT".
Error inFile(std::string_view file, Error error);

/// What rows say of a text's file: its name where the job has several files, else nothing.
std::string fileColumn(const Job& job, const Text& text);

/// The line feed as an encoding writes it, for --lines.
Result<std::string> lineEndIn(const host::Encoding& encoding);
/// The carriage return as an encoding writes it; empty where there is none.
std::string carriageReturnIn(const host::Encoding& encoding);

/// Finds the line ends of a text that begins with a line. A line end stands only at a multiple of its length.
class LineEnds {
 public:
  static constexpr std::size_t longestLine = std::size_t{64} << 20;

  explicit LineEnds(std::string lineEnd) : lineEnd_(std::move(lineEnd)) {}

  std::size_t length() const { return lineEnd_.size(); }
  /// The offset of the first line end at or behind `from`, which begins a line; the size of the text if there is
  /// none.
  std::size_t next(Bytes text, std::size_t from) const;
  std::uint64_t count(Bytes text) const;
  /// The length of all whole lines. Without any, all of a text that is too long for a line, else 0.
  std::size_t wholeLines(Bytes text) const;

 private:
  bool standsAt(Bytes text, std::size_t offset) const;

  std::string lineEnd_;
};

}  // namespace rq::cli

#endif
