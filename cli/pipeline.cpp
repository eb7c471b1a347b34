#include "cli/pipeline.h"

#include <malloc.h>

#include <algorithm>

#include "cli/signals.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

/// The position behind a piece that begins at `start`, from the one behind the same piece at the beginning of a file.
host::Position moved(const host::Position& start, const host::Position& behind) {
  return {start.offset + behind.offset, start.line + behind.line - 1,
          behind.line > 1 ? behind.column : start.column + behind.column - 1};
}

/// Threads share a heap: one for each would keep what it once held. Pages stay when a piece is done, because the next
/// one needs as many.
void shareHeap() {
  constexpr int keptBytes = 8 << 20;
  ::mallopt(M_ARENA_MAX, 1);
  ::mallopt(M_MMAP_THRESHOLD, keptBytes);
  ::mallopt(M_TRIM_THRESHOLD, keptBytes);
}

}  // namespace

Pipeline::Pipeline(const TextOperation& operation, std::optional<LineEnds> lineEnds, Bytes lineEndOfResults,
                   unsigned jobs, std::size_t worthwhile, OnProblem onProblem)
    : operation_(operation),
      lineEnds_(std::move(lineEnds)),
      lineEndOfResults_(lineEndOfResults.begin(), lineEndOfResults.end()),
      cut_(lineEnds_ ? [this](Bytes text) { return lineEnds_->wholeLines(text); } : operation.cut),
      jobs_(operation.another ? jobs : 1),
      worthwhile_(worthwhile),
      onProblem_(std::move(onProblem)) {
  blocks_.push_back(std::make_unique<Block>());
  blocks_.back()->work = operation.work;
}

Pipeline::~Pipeline() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    moreToDo_.notify_all();
  }
  for (std::thread& thread : threads_) thread.join();
}

void Pipeline::startThreads() {
  // Each thread has one block to work on and one to go on with while others are written.
  const std::size_t wanted = 2 * std::size_t{jobs_};
  const SignalsBlocked blocked;  // they are the main thread's business
  shareHeap();
  try {
    while (blocks_.size() < wanted) {
      Result<Work> work = operation_.another();
      if (!work) break;
      auto block = std::make_unique<Block>();
      block->work = std::move(*work);
      blocks_.push_back(std::move(block));
    }
    while (threads_.size() + 1 < std::min<std::size_t>(jobs_, blocks_.size()))
      threads_.emplace_back(&Pipeline::runThread, this);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch)
    // Without memory for more, the threads that there are do the work, or this one.
  }
}

void Pipeline::runThread() {
  Lock lock(mutex_);
  for (;;) {
    moreToDo_.wait(lock, [this] { return stopping_ || hasWork() || (mayRead() && source_->shared); });
    if (stopping_) return;
    if (!hasWork()) read(lock);
    work(lock);
  }
}

Done Pipeline::add(const std::shared_ptr<FileRun>& file, Input& input) {
  if (!operation_.mark.bytes.empty()) input.expectMark(operation_.mark);
  Source source{*this, file, input, PieceReader(input, cut_, operation_.pieceBytes), !input.mayPause()};
  Lock lock(mutex_);
  // cppcheck-suppress danglingLifetime // the source takes itself out at its end
  source_ = &source;
  while (reading_ || !source.ended) {
    if (Done done = advance(lock); !done) return done;
    if (file->failed) return host::done();
  }
  return threads_.empty() ? finishAll(lock) : host::done();
}

Done Pipeline::addProblem(const std::shared_ptr<FileRun>& file, const Error& error) {
  Lock lock(mutex_);
  while (!hasFreeBlock())
    if (Done done = finishFirst(lock); !done) return done;
  Block& free = block(submitted_);
  free.file = file;
  free.piece = {};
  free.problem = error;
  submit(free);
  return threads_.empty() ? finishAll(lock) : host::done();
}

Done Pipeline::finish() {
  Lock lock(mutex_);
  return finishAll(lock);
}

Pipeline::Source::~Source() {
  Lock lock(pipeline.mutex_);
  pipeline.source_ = nullptr;
  pipeline.moreDone_.wait(lock, [this] { return !pipeline.reading_; });
}

Done Pipeline::advance(Lock& lock) {
  if (jobs_ > 1 && came_ >= worthwhile_ && delivered_ == submitted_ && !triedThreads_) {
    triedThreads_ = true;
    startThreads();
  }
  if (delivered_ < submitted_ && block(delivered_).finished) return deliver(lock);
  if (mayRead()) {
    read(lock);
    // Also what writing in a pause has thrown: nothing can be written behind it.
    if (block(submitted_ - 1).thrown) std::rethrow_exception(block(submitted_ - 1).thrown);
    // The last piece is for another thread: this one goes on with the next file.
    if (source_->shared && !source_->ended) work(lock);
    return goesOn_;
  }
  hasWork() ? work(lock) : moreDone_.wait(lock);
  return host::done();
}

void Pipeline::read(Lock& lock) {
  Source& source = *source_;
  Block& block = this->block(submitted_);
  reading_ = true;
  lock.unlock();
  block.file = source.file;
  block.piece = {};
  block.problem = host::done();
  try {
    fill(block, source);
  } catch (...) {
    block.thrown = std::current_exception();
    source.ended = true;
  }
  lock.lock();
  reading_ = false;
  came_ += block.piece.bytes.size();
  submit(block);
  moreDone_.notify_all();
}

void Pipeline::fill(Block& block, Source& source) {
  const Result<PieceReader::Piece> piece = source.reader.next(block.buffer);
  source.ended = !piece || piece->last;
  if (!piece) {
    block.problem = piece.error();
    return;
  }
  source.beginning.add(piece->text);
  block.beginning = source.beginning;
  // The first text of a file begins behind its mark.
  block.piece = {piece->text, {source.input.markBytes()}, source.file->name,      source.first, piece->last,
                 false,       source.input.reversed(),    block.beginning.bytes()};
  source.first = false;
}

void Pipeline::submit(Block& block) {
  block.finished = false;
  ++submitted_;
  moreToDo_.notify_one();
}

void Pipeline::work(Lock& lock) {
  const std::size_t number = taken_++;
  lock.unlock();
  workOn(number);
  lock.lock();
  block(number).finished = true;
  moreDone_.notify_all();
}

Done Pipeline::deliver(Lock& lock) {
  Block& first = block(delivered_);
  if (first.thrown) std::rethrow_exception(first.thrown);
  lock.unlock();
  goesOn_ = handOut(first);
  lock.lock();
  ++delivered_;
  moreToDo_.notify_one();
  return goesOn_;
}

Done Pipeline::finishFirst(Lock& lock) {
  while (!block(delivered_).finished) hasWork() ? work(lock) : moreDone_.wait(lock);
  return deliver(lock);
}

Done Pipeline::finishAll(Lock& lock) {
  while (goesOn_ && delivered_ < submitted_) static_cast<void>(finishFirst(lock));
  return goesOn_;
}

Done Pipeline::handOut(Block& block) const {
  const std::shared_ptr<FileRun> file = std::move(block.file);
  if (file->failed) return host::done();
  Done written = write(*file, block);
  if (written) return written;
  file->failed = true;
  return onProblem_(*file, written.error());
}

Done Pipeline::write(const FileRun& file, const Block& block) const {
  Done written = host::done();
  if (operation_.gather && block.problem) {
    written = operation_.gather(block.piece, block.result, file.write);
  } else if (!block.result.empty()) {
    written = file.write(block.result);
  }
  if (!written) return written;
  return block.problem && block.piece.last ? file.end() : block.problem;
}

host::Position Pipeline::lengthOf(const Block& block) const {
  if (block.piece.last) return {};  // nothing comes behind it
  if (lineEnds_) return {block.piece.bytes.size(), 1 + lineEnds_->count(block.piece.bytes), 1};
  if (operation_.behind) return operation_.behind(block.piece.bytes);
  return host::positionBehind(*operation_.texts, block.piece.bytes, {});
}

void Pipeline::place(std::size_t number, const host::Position& length) {
  Lock lock(mutex_);
  moreDone_.wait(lock, [this, number] { return placed_ == number; });
  Block& placed = block(number);
  if (!placed.piece.first) placed.piece.start = position_;
  position_ = moved(placed.piece.start, length);
  ++placed_;
  moreDone_.notify_all();
}

void Pipeline::workOn(std::size_t number) {
  Block& block = this->block(number);
  block.result = {};
  host::Position length;
  try {
    length = lengthOf(block);
  } catch (...) {
    block.thrown = std::current_exception();
  }
  place(number, length);
  try {
    if (block.problem && !block.thrown) lineEnds_ ? workOnLines(block) : workOnPiece(block);
  } catch (...) {
    block.thrown = std::current_exception();
  }
}

void Pipeline::workOnPiece(Block& block) {
  const Result<Bytes> result = block.work(block.piece);
  if (result) {
    block.result = *result;
  } else {
    block.problem = result.error();
  }
}

void Pipeline::workOnLines(Block& block) const {
  block.lines.clear();
  block.lines.reserve(block.piece.bytes.size());
  Text line = block.piece;
  line.first = line.last = true;
  for (std::size_t at = 0; at < block.piece.bytes.size() && block.problem;) {
    const std::size_t end = lineEnds_->next(block.piece.bytes, at);
    line.bytes = block.piece.bytes.subspan(at, end - at);
    line.ended = end < block.piece.bytes.size();
    workOnLine(block, line);
    at = line.ended ? end + lineEnds_->length() : end;
    line.start.offset += line.bytes.size() + lineEnds_->length();
    ++line.start.line;
  }
  block.result = block.lines;
}

void Pipeline::workOnLine(Block& block, const Text& line) const {
  if (line.bytes.size() > LineEnds::longestLine) {
    block.problem =
        inFile(line.file, {Error::Kind::data, atBeginning(line.start,
                                                          "a line is longer than 64 MiB; without --lines there "
                                                          "is no limit")});
    return;
  }
  const Result<Bytes> result = block.work(line);
  if (!result) {
    block.problem = result.error();
    return;
  }
  block.lines.insert(block.lines.end(), result->begin(), result->end());
  if (line.ended) block.lines.insert(block.lines.end(), lineEndOfResults_.begin(), lineEndOfResults_.end());
}

}  // namespace rq::cli
