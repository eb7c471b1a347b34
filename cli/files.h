// Bytes in and out: files, standard input and output. Every error of the system is reported.
#ifndef RQUNI_CLI_FILES_H
#define RQUNI_CLI_FILES_H

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/byte_order.h"
#include "cli/progress.h"
#include "host/buffer.h"
#include "host/codec.h"
#include "host/result.h"

namespace rq::cli {

using host::Buffer;
using host::Bytes;
using host::Done;
using host::Error;
using host::MutableBytes;
using host::Result;

/// So much is read and written at once.
inline constexpr std::size_t pieceBytes = std::size_t{256} << 10;

/// A file's name for messages: "-" is standard input, control characters stand as \xNN.
std::string shownName(const std::string& file);
/// The text of a message with \xNN for control characters but line ends.
std::string withoutControls(const std::string& text);

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  int number() const { return number_; }
  /// Gives up ownership.
  int release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

/// What is to be done before a reader waits for more input.
using Pause = std::function<Done()>;

/// A file to read, "-" being standard input.
class Input {
 public:
  static Result<Input> open(const std::string& name, Progress& progress, Pause pause);
  /// An open file; `name` is for messages. A regular file needs no pause.
  Input(std::string name, Descriptor descriptor, Progress& progress, Pause pause = {});
  const std::string& name() const { return name_; }
  int descriptor() const { return descriptor_.number(); }
  /// True if somebody writes what is read.
  bool mayPause() const { return !regularFile_; }
  /// True if a read has to wait for them.
  bool waits() const;
  /// Hands out only what follows the mark. Call it before the first read.
  void expectMark(const ExpectedMark& mark) { marked_.emplace(mark); }
  /// The file's mark, as it is known after the first read.
  std::size_t markBytes() const { return marked_ ? marked_->markBytes() : 0; }
  bool reversed() const { return marked_ && marked_->reversed(); }
  /// Reads at least one byte into `room`, which has MarkedReader::leastRoom or more, unless the file is at its end.
  /// Calls the pause first if it has to wait.
  Result<std::size_t> read(MutableBytes room);
  /// The error when the next `bytes` of the file cannot be held at once.
  Error noMemory(std::size_t bytes) const;

 private:
  Result<std::size_t> readBytes(MutableBytes room);

  std::string name_;
  Descriptor descriptor_;
  Progress* progress_;
  Pause pause_;
  bool regularFile_;
  std::optional<MarkedReader> marked_;
};

/// Cuts a file into pieces. Memory is bounded by the longest stretch in which `cut` finds no place, and some hundred
/// kilobytes.
class PieceReader {
 public:
  /// `cut` gets all that is read and not handed out, and returns how many bytes of it make a piece, or 0.
  /// Where it can be cut, `piece` bytes make a piece.
  PieceReader(Input& input, std::function<std::size_t(Bytes)> cut, std::size_t piece)
      : input_(input), cut_(std::move(cut)), piece_(piece), full_(piece) {}

  struct Piece {
    Bytes text;  // in the buffer
    bool last;
  };
  /// Reads the next piece to the beginning of `buffer`. The last one may be empty.
  Result<Piece> next(Buffer& buffer);

 private:
  /// The length of a piece of `unread`, or 0.
  std::size_t pieceOf(Bytes unread);
  Result<MutableBytes> roomIn(Buffer& buffer, std::size_t bytes, std::size_t keep) const;

  Input& input_;
  const std::function<std::size_t(Bytes)> cut_;
  std::vector<std::byte> rest_;  // what is read and not handed out
  const std::size_t piece_;
  std::size_t full_;       // so many bytes are cut while there is more to read
  std::size_t tried_ = 0;  // fewer bytes than this have no place to cut
  bool exhausted_ = false;
};

/// A file or standard output to write results to. It is opened at the first write: a run that fails before leaves an
/// existing file alone.
class Output {
 public:
  Output(std::optional<std::string> file, Progress& progress) : file_(std::move(file)), progress_(progress) {}
  /// An open file; `name` is for messages.
  Output(Descriptor descriptor, std::string name, Progress& progress)
      : file_(std::move(name)), progress_(progress), descriptor_(std::move(descriptor)) {}
  /// Writes these bytes before the first others. Without others they are not written.
  void startWith(std::string bytes) { start_ = std::move(bytes); }
  Done write(Bytes bytes);
  Done write(std::string_view text) { return write(std::as_bytes(std::span(text))); }
  /// True after an error in writing.
  bool failed() const { return failed_; }
  /// True once something was given to write.
  bool begun() const { return descriptor_ || !kept_.empty(); }
  /// Writes what is kept back.
  Done flush();
  /// Does the same and returns the open file, which the output still owns.
  Result<int> flushed();
  /// Does the same and closes the file. Only then is the output complete.
  Done finish();

 private:
  Done open();
  Done writeNow(Bytes bytes);
  Error failure(int number);

  const std::optional<std::string> file_;
  Progress& progress_;
  std::optional<Descriptor> descriptor_;
  std::string start_;
  std::vector<std::byte> kept_;
  bool failed_ = false;
};

/// Equal for two names of one file.
using FileIdentity = std::pair<std::uint64_t, std::uint64_t>;
/// Nothing if there is no such file; "-" is standard input.
std::optional<FileIdentity> identityOf(const std::string& file);
/// The size of all files together; nothing if one is no regular file.
std::optional<std::uint64_t> totalSize(const std::vector<std::string>& files);
/// Nothing unless standard output is a regular file that is not empty.
std::optional<FileIdentity> identityOfStandardOutput();

}  // namespace rq::cli

#endif
