#include "cli/progress.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "cli/signals.h"

namespace rq::cli {
namespace {

/// "7 bytes", "12.3 MB".
std::string shownBytes(double bytes) {
  constexpr std::array<const char*, 4> units = {"kB", "MB", "GB", "TB"};
  constexpr double exact = 10'000;
  std::array<char, 32> text{};
  if (bytes < exact) {
    std::snprintf(text.data(), text.size(), "%.0f bytes", bytes);
    return text.data();
  }
  std::size_t unit = 0;
  bytes /= 1000;
  while (bytes >= 1000 && unit + 1 < units.size()) {
    bytes /= 1000;
    ++unit;
  }
  std::snprintf(text.data(), text.size(), "%.1f %s", bytes, units[unit]);
  return text.data();
}

/// A line of a background job would stand in what somebody types in the foreground.
bool inForeground() {
  return ::tcgetpgrp(STDERR_FILENO) == ::getpgrp();
}

}  // namespace

Progress::Progress(std::optional<bool> wished, std::optional<std::uint64_t> total)
    : terminal_(::isatty(STDERR_FILENO) == 1), closingLine_(wished.value_or(false)), total_(total) {
  const SignalsBlocked blocked;  // they are the main thread's business
  if (wished.value_or(terminal_)) thread_ = std::thread(&Progress::run, this);
}

Progress::~Progress() {
  stop();
}

void Progress::stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void Progress::leaveTerminal() {
  if (!terminal_) return;
  const std::lock_guard lock(mutex_);
  erase();
  left_ = true;
}

std::string Progress::report() const {
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
  const auto read = static_cast<double>(read_.load(std::memory_order_relaxed));
  const auto written = static_cast<double>(written_.load(std::memory_order_relaxed));
  std::string text = "rqtext: ";
  if (total_ && *total_ > 0) {
    const double share = std::min(100.0, 100 * read / static_cast<double>(*total_));
    text += std::to_string(static_cast<int>(share)) + " % of " + shownBytes(static_cast<double>(*total_)) + " read, ";
  } else {
    text += shownBytes(read) + " read, ";
  }
  std::array<char, 32> time{};
  std::snprintf(time.data(), time.size(), "%.1f s", seconds);
  return text + shownBytes(written) + " written, " + shownBytes(seconds > 0 ? read / seconds : 0) + "/s, " +
         time.data();
}

void Progress::show(const std::string& line) {
  if (!terminal_) {
    std::fprintf(stderr, "%s\n", line.c_str());
  } else if (!left_ && inForeground()) {
    std::fprintf(stderr, "\r\033[K%s", line.c_str());
    shown_ = true;
  }
}

void Progress::erase() {
  if (shown_ && inForeground()) std::fputs("\r\033[K", stderr);
  shown_ = false;
}

void Progress::run() {
  std::unique_lock lock(mutex_);
  for (auto wait = std::chrono::milliseconds(1000); !changed_.wait_for(lock, wait, [this] { return stopped_; });
       wait = std::chrono::milliseconds(terminal_ ? 250 : 1000)) {
    show(report());
  }
  erase();
  if (closingLine_) std::fprintf(stderr, "%s\n", report().c_str());
}

}  // namespace rq::cli
