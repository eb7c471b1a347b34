// Works on pieces of files in several threads, and hands their results out in the order of the pieces.
#ifndef RQUNI_CLI_PIPELINE_H
#define RQUNI_CLI_PIPELINE_H

#include <array>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "cli/text_operation.h"

namespace rq::cli {

/// A file, and where its results go.
struct FileRun {
  std::string_view name;
  Write write;
  std::function<Done()> end;  // comes behind all results
  bool failed = false;        // nothing more of it is needed
};

/// A piece of a file, and what becomes of it. Its memory is used again for later pieces.
struct Block {
  // The work:
  std::shared_ptr<FileRun> file;
  Buffer buffer;
  Text piece;  // in the buffer: whole lines, or a piece of a text
  Beginning beginning;

  // What a thread makes of it:
  Work work;
  Bytes result;                  // complete up to the problem
  std::vector<std::byte> lines;  // the results of lines, joined
  Done problem = host::done();
  std::exception_ptr thrown;
  bool finished = false;
};

/// One thread owns a pipeline: it reads files, hands their pieces to the others and writes the results. Where a piece
/// stands is known from the pieces before it, which other threads may still work on: each thread counts the lines of
/// its piece first.
///
/// Threads cost more than they bring for little text: they start when `worthwhile` bytes have come.
class Pipeline {
 public:
  /// Gets the first problem of a file. Its own error ends the run: nothing behind is written.
  using OnProblem = std::function<Done(FileRun& file, const Error& error)>;

  /// With `lineEnds` each line is a text, else each file.
  Pipeline(const TextOperation& operation, std::optional<LineEnds> lineEnds, Bytes lineEndOfResults, unsigned jobs,
           std::size_t worthwhile, OnProblem onProblem);
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  /// Works on all of a file. Results may come later.
  Done add(const std::shared_ptr<FileRun>& file, Input& input);
  /// A problem that comes behind those of the files before.
  Done addProblem(const std::shared_ptr<FileRun>& file, const Error& error);
  /// Waits for all results and writes them.
  Done finish();

 private:
  Block& block(std::size_t number) { return *blocks_[number % blocks_.size()]; }
  /// A block to be filled. Writes what is finished, and waits for a block if all are in use.
  Result<Block*> next();
  /// Has the block of next() worked on.
  Done submit();
  /// Makes threads and a block for each. Without threads the work is done at once.
  void startThreads();
  void runThread();
  bool firstIsFinished();
  /// Waits for the first block and writes its result.
  Done deliverFirst();
  Done deliver(const FileRun& file, const Block& block) const;
  /// Drops all blocks that are not delivered.
  void drop();

  void workOn(std::size_t number);
  /// The position behind the block if it stood at the beginning of a file.
  host::Position lengthOf(const Block& block) const;
  /// Waits for the position of the block, and tells the next one's.
  void place(std::size_t number, const host::Position& length);
  static void workOnPiece(Block& block);
  void workOnLines(Block& block) const;
  void workOnLine(Block& block, const Text& line) const;

  const TextOperation& operation_;
  const std::optional<LineEnds> lineEnds_;
  const std::vector<std::byte> lineEndOfResults_;
  const Cut cut_;
  const unsigned jobs_;
  const std::size_t worthwhile_;
  const OnProblem onProblem_;
  std::size_t came_ = 0;  // bytes
  bool triedThreads_ = false;
  Done goesOn_ = host::done();  // or the error that ended the run

  std::vector<std::unique_ptr<Block>> blocks_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable submittedMore_, workedMore_;
  // Numbers of blocks: these many were submitted and so on.
  std::size_t submitted_ = 0, taken_ = 0, placed_ = 0, delivered_ = 0;
  std::size_t working_ = 0;  // threads
  host::Position position_;  // behind the block that was placed last
  bool stopping_ = false;
};

}  // namespace rq::cli

#endif
