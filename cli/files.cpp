#include "cli/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace rq::cli {
namespace {

Error readFailure(const std::string& name, int number) {
  return {Error::Kind::system, "cannot read " + shownName(name) + ": " + std::strerror(number)};
}

/// \xNN for control characters but those of `allowed`.
std::string controlsEscaped(const std::string& text, std::string_view allowed) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte >= 0x20 && byte != 0x7F) || allowed.find(c) != std::string_view::npos) {
      shown += c;
      continue;
    }
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02X", byte);
    shown += escape.data();
  }
  return shown;
}

std::optional<struct stat> statusOf(const std::string& file) {
  struct stat status {};
  const int failed = file == "-" ? ::fstat(STDIN_FILENO, &status) : ::stat(file.c_str(), &status);
  return failed == 0 ? std::optional(status) : std::nullopt;
}

}  // namespace

std::string shownName(const std::string& file) {
  return file == "-" ? "standard input" : controlsEscaped(file, "");
}

std::string withoutControls(const std::string& text) {
  return controlsEscaped(text, "\n");
}

Descriptor::~Descriptor() {
  if (number_ > STDERR_FILENO) ::close(number_);
}

Input::Input(std::string name, Descriptor descriptor, Progress& progress, Pause pause)
    : name_(std::move(name)), descriptor_(std::move(descriptor)), progress_(&progress), pause_(std::move(pause)) {
  struct stat status {};
  regularFile_ = ::fstat(descriptor_.number(), &status) == 0 && S_ISREG(status.st_mode);
  if (::isatty(descriptor_.number()) == 1) progress.leaveTerminal();
}

Result<Input> Input::open(const std::string& name, Progress& progress, Pause pause) {
  if (name == "-") return Input(name, Descriptor(STDIN_FILENO), progress, std::move(pause));
  Descriptor descriptor(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (descriptor.number() < 0) return readFailure(name, errno);
  return Input(name, std::move(descriptor), progress, std::move(pause));
}

bool Input::waits() const {
  if (regularFile_) return false;
  pollfd question{descriptor_.number(), POLLIN, 0};
  return ::poll(&question, 1, 0) == 0;
}

Result<std::size_t> Input::read(MutableBytes room) {
  if (!marked_) return readBytes(room);
  return marked_->read(room, [this](MutableBytes rest) { return readBytes(rest); });
}

Result<std::size_t> Input::readBytes(MutableBytes room) {
  if (pause_ && waits()) {
    if (Done paused = pause_(); !paused) return paused.error();
  }
  for (;;) {
    const ssize_t count = ::read(descriptor_.number(), room.data(), room.size());
    if (count >= 0) {
      progress_->addRead(static_cast<std::size_t>(count));
      return static_cast<std::size_t>(count);
    }
    if (errno != EINTR) return readFailure(name_, errno);
  }
}

Error Input::noMemory(std::size_t bytes) const {
  return {Error::Kind::memory, "cannot read " + shownName(name_) + ": not enough memory for " +
                                   std::to_string(bytes) + " bytes that belong together"};
}

std::size_t PieceReader::pieceOf(Bytes unread) {
  const std::size_t length = cut_(unread);
  if (length > 0) {
    full_ = piece_;
    tried_ = unread.size() - length + 1;
    return length;
  }
  // A long stretch is open. Look at it again when it has grown by a part, so that the cost stays linear.
  constexpr std::size_t shortStretch = std::size_t{1} << 20;
  full_ = 2 * unread.size();
  tried_ = unread.size() + (unread.size() < shortStretch ? 1 : unread.size() / 4);
  return 0;
}

Result<MutableBytes> PieceReader::roomIn(Buffer& buffer, std::size_t bytes, std::size_t keep) const {
  try {
    return buffer.atLeast(bytes, keep);
  } catch (const std::bad_alloc&) {
    return input_.noMemory(bytes);
  }
}

Result<PieceReader::Piece> PieceReader::next(Buffer& buffer) {
  // The rest is short as a rule, and of changing length: with spare room the next one fits as well.
  constexpr std::size_t spare = 4096;
  std::size_t size = rest_.size();
  Result<MutableBytes> room = roomIn(buffer, size + spare + piece_, 0);
  if (!room) return room.error();
  std::ranges::copy(rest_, room->begin());
  while (!exhausted_) {
    if (size > 0 && size >= (input_.waits() ? tried_ : full_)) {
      const Bytes unread = room->first(size);
      if (const std::size_t length = pieceOf(unread); length > 0) {
        rest_.assign(unread.begin() + static_cast<std::ptrdiff_t>(length), unread.end());
        return Piece{unread.first(length), false};
      }
    }
    room = roomIn(buffer, size + piece_, size);
    if (!room) return room.error();
    const Result<std::size_t> count = input_.read(room->subspan(size, piece_));
    if (!count) return count.error();
    size += *count;
    exhausted_ = *count == 0;
  }
  rest_.clear();
  return Piece{room->first(size), true};
}

Error Output::failure(int number) {
  failed_ = true;
  // No message for a reader that leaves early: the user knows. The exit code says that the output is not complete.
  if (number == EPIPE) return {Error::Kind::system, ""};
  return {Error::Kind::system,
          "cannot write " + (file_ ? shownName(*file_) : "standard output") + ": " + std::strerror(number)};
}

Done Output::open() {
  if (descriptor_) return host::done();
  int number = STDOUT_FILENO;
  if (file_) number = ::open(file_->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (number < 0) return failure(errno);
  if (::isatty(number) == 1) progress_.leaveTerminal();
  descriptor_.emplace(number);
  return host::done();
}

Done Output::writeNow(Bytes bytes) {
  if (Done opened = open(); !opened) return opened;
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor_->number(), bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return failure(errno);
    if (count < 0) continue;
    progress_.addWritten(static_cast<std::size_t>(count));
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return host::done();
}

Done Output::write(Bytes bytes) {
  if (!start_.empty() && !bytes.empty()) {
    if (Done written = write(std::exchange(start_, {})); !written) return written;
  }
  const bool isLong = bytes.size() >= pieceBytes / 8;  // worth a call of its own, and no copy
  if (isLong || kept_.size() + bytes.size() > pieceBytes) {
    if (Done written = flush(); !written) return written;
  }
  if (isLong) return writeNow(bytes);
  kept_.insert(kept_.end(), bytes.begin(), bytes.end());
  return host::done();
}

Done Output::flush() {
  if (kept_.empty()) return host::done();
  if (Done written = writeNow(kept_); !written) return written;
  kept_.clear();
  return host::done();
}

Result<int> Output::flushed() {
  if (Done opened = open(); !opened) return opened.error();
  if (Done written = flush(); !written) return written.error();
  return descriptor_->number();
}

Done Output::finish() {
  if (const Result<int> file = flushed(); !file) return file.error();
  // Some file systems report a full disk only here.
  const int number = descriptor_->release();
  if (::close(number) != 0 && errno != EINTR) return failure(errno);
  return host::done();
}

std::optional<FileIdentity> identityOf(const std::string& file) {
  const std::optional<struct stat> status = statusOf(file);
  if (!status) return std::nullopt;
  return FileIdentity(status->st_dev, status->st_ino);
}

std::optional<std::uint64_t> totalSize(const std::vector<std::string>& files) {
  std::uint64_t size = 0;
  for (const std::string& file : files) {
    const std::optional<struct stat> status = statusOf(file);
    if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
    size += static_cast<std::uint64_t>(status->st_size);
  }
  return size;
}

std::optional<FileIdentity> identityOfStandardOutput() {
  struct stat status {};
  if (::fstat(STDOUT_FILENO, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) return std::nullopt;
  return FileIdentity(status.st_dev, status.st_ino);
}

}  // namespace rq::cli
