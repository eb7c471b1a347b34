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

/// One thread owns a pipeline: it hands in the files and writes the results, in their order, and works as the others
/// do. A thread that is free reads the next piece itself: a text that another processor has read would have to come
/// from its cache. What pauses is read by the owner alone, which writes what is finished before it waits.
///
/// Where a piece stands is known from the pieces before it, which other threads may still work on: each thread counts
/// the lines of its piece first.
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
  /// A file that is being read, by one thread at a time.
  struct Source {
    /// Waits for the thread that reads it.
    ~Source();

    Pipeline& pipeline;
    const std::shared_ptr<FileRun>& file;
    Input& input;
    PieceReader reader;
    const bool shared;  // any thread may read it
    Beginning beginning = {};
    bool first = true, ended = false;
  };
  using Lock = std::unique_lock<std::mutex>;

  Block& block(std::size_t number) { return *blocks_[number % blocks_.size()]; }
  bool hasWork() const { return taken_ < submitted_; }
  bool hasFreeBlock() const { return submitted_ - delivered_ < blocks_.size(); }
  bool mayRead() const { return source_ != nullptr && !reading_ && !source_->ended && hasFreeBlock(); }

  /// Makes blocks and threads for all jobs but the first, which is the owner's. Without threads the owner does all.
  void startThreads();
  void runThread();
  void fill(Block& block, Source& source);
  Done handOut(Block& block) const;
  Done write(const FileRun& file, const Block& block) const;

  // All that take a lock have it before and after, and release it while they read, work or write.
  /// What the owner does next for the source: writes, reads, works or waits.
  Done advance(Lock& lock);
  /// Fills the next block from the source.
  void read(Lock& lock);
  /// Has the next block worked on.
  void submit(Block& block);
  /// Works on the first block that no thread has taken.
  void work(Lock& lock);
  /// Writes the result of the first block, which is finished.
  Done deliver(Lock& lock);
  /// Works until the first block is finished, and writes its result.
  Done finishFirst(Lock& lock);
  Done finishAll(Lock& lock);

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
  std::condition_variable moreToDo_, moreDone_;
  Source* source_ = nullptr;
  bool reading_ = false;  // a thread fills the next block
  // Numbers of blocks: these many were submitted and so on.
  std::size_t submitted_ = 0, taken_ = 0, placed_ = 0, delivered_ = 0;
  host::Position position_;  // behind the block that was placed last
  bool stopping_ = false;
};

}  // namespace rq::cli

#endif
