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
    submittedMore_.notify_all();
  }
  for (std::thread& thread : threads_) thread.join();
}

void Pipeline::startThreads() {
  // While a block is read or written there is one for each thread to work on.
  const std::size_t wanted = jobs_ + 2;
  const SignalsBlocked blocked;  // they are the main thread's business
  ::mallopt(M_ARENA_MAX, 1);     // a heap for each thread would keep what it once held
  try {
    while (blocks_.size() < wanted) {
      Result<Work> work = operation_.another();
      if (!work) break;
      auto block = std::make_unique<Block>();
      block->work = std::move(*work);
      blocks_.push_back(std::move(block));
    }
    while (threads_.size() < std::min<std::size_t>(jobs_, blocks_.size()))
      threads_.emplace_back(&Pipeline::runThread, this);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch)
    // Without memory for more, the threads that there are do the work, or this one.
  }
}

Result<Block*> Pipeline::next() {
  if (threads_.empty() && jobs_ > 1 && came_ >= worthwhile_ && !triedThreads_) {
    triedThreads_ = true;
    startThreads();
  }
  while (submitted_ > delivered_ && (submitted_ - delivered_ == blocks_.size() || firstIsFinished()))
    if (Done delivered = deliverFirst(); !delivered) return delivered.error();
  return &block(submitted_);
}

Done Pipeline::submit() {
  Block& filled = block(submitted_);
  filled.piece.beginning = filled.beginning.bytes();
  came_ += filled.piece.bytes.size();
  filled.finished = false;
  {
    const std::lock_guard lock(mutex_);
    ++submitted_;
    if (threads_.empty()) ++taken_;
    submittedMore_.notify_one();
  }
  if (!threads_.empty()) return host::done();
  workOn(submitted_ - 1);
  return deliverFirst();
}

Done Pipeline::finish() {
  while (submitted_ > delivered_)
    if (Done delivered = deliverFirst(); !delivered) return delivered;
  return host::done();
}

Done Pipeline::add(const std::shared_ptr<FileRun>& file, Input& input) {
  if (!operation_.mark.bytes.empty()) input.expectMark(operation_.mark);
  PieceReader reader(input, cut_, operation_.pieceBytes);
  Beginning beginning;
  for (bool first = true, last = false; !last; first = false) {
    const Result<Block*> free = next();
    if (!free) return free.error();
    Block& block = **free;
    if (file->failed) return host::done();
    const Result<PieceReader::Piece> piece = reader.next(block.buffer);
    if (!goesOn_) return goesOn_;  // the results before a pause had a problem
    if (file->failed) return host::done();
    if (!piece) return addProblem(file, piece.error());
    last = piece->last;
    beginning.add(piece->text);
    block.file = file;
    // The first text of a file begins behind its mark.
    block.piece = {piece->text, {input.markBytes()}, file->name, first, last, false, input.reversed()};
    block.beginning = beginning;
    block.problem = host::done();
    if (Done done = submit(); !done) return done;
  }
  return host::done();
}

Done Pipeline::addProblem(const std::shared_ptr<FileRun>& file, const Error& error) {
  const Result<Block*> free = next();
  if (!free) return free.error();
  (*free)->file = file;
  (*free)->piece = {};
  (*free)->problem = error;
  return submit();
}

bool Pipeline::firstIsFinished() {
  const std::lock_guard lock(mutex_);
  return block(delivered_).finished;
}

Done Pipeline::deliverFirst() {
  Block& first = block(delivered_);
  {
    std::unique_lock lock(mutex_);
    workedMore_.wait(lock, [&first] { return first.finished; });
    ++delivered_;
  }
  if (first.thrown) {
    drop();
    std::rethrow_exception(std::exchange(first.thrown, nullptr));
  }
  const std::shared_ptr<FileRun> file = std::move(first.file);
  if (file->failed) return host::done();
  Done delivered = deliver(*file, first);
  if (delivered) return delivered;
  file->failed = true;
  goesOn_ = onProblem_(*file, delivered.error());
  if (!goesOn_) drop();
  return goesOn_;
}

Done Pipeline::deliver(const FileRun& file, const Block& block) const {
  Done written = host::done();
  if (operation_.gather && block.problem) {
    written = operation_.gather(block.piece, block.result, file.write);
  } else if (!block.result.empty()) {
    written = file.write(block.result);
  }
  if (!written) return written;
  return block.problem && block.piece.last ? file.end() : block.problem;
}

void Pipeline::drop() {
  std::unique_lock lock(mutex_);
  taken_ = submitted_;
  workedMore_.wait(lock, [this] { return working_ == 0; });
  placed_ = delivered_ = submitted_;
}

void Pipeline::runThread() {
  std::unique_lock lock(mutex_);
  for (;;) {
    submittedMore_.wait(lock, [this] { return stopping_ || taken_ < submitted_; });
    if (stopping_) return;
    const std::size_t number = taken_++;
    ++working_;
    lock.unlock();
    workOn(number);
    lock.lock();
    --working_;
    workedMore_.notify_all();
  }
}

host::Position Pipeline::lengthOf(const Block& block) const {
  if (block.piece.last) return {};  // nothing comes behind it
  if (lineEnds_) return {block.piece.bytes.size(), 1 + lineEnds_->count(block.piece.bytes), 1};
  if (operation_.behind) return operation_.behind(block.piece.bytes);
  return host::positionBehind(*operation_.texts, block.piece.bytes, {});
}

void Pipeline::place(std::size_t number, const host::Position& length) {
  std::unique_lock lock(mutex_);
  workedMore_.wait(lock, [this, number] { return placed_ == number; });
  Block& placed = block(number);
  if (!placed.piece.first) placed.piece.start = position_;
  position_ = moved(placed.piece.start, length);
  ++placed_;
  workedMore_.notify_all();
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
  const std::lock_guard lock(mutex_);
  block.finished = true;
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
