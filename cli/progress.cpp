#include "cli/progress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "cli/signals.h"

namespace rq::cli {

Progress::Progress(std::optional<bool> wished)
    : terminal_(::isatty(STDERR_FILENO) == 1), closingLine_(wished.value_or(false)) {
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

std::string Progress::report(double seconds) const {
  char text[128];
  std::snprintf(text, sizeof text, "rqtext: %llu bytes read, %llu bytes written, %.1f s",
                static_cast<unsigned long long>(read_.load(std::memory_order_relaxed)),
                static_cast<unsigned long long>(written_.load(std::memory_order_relaxed)), seconds);
  return text;
}

void Progress::run() {
  const auto begin = std::chrono::steady_clock::now();
  const auto elapsed = [begin] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  constexpr const char* clearLine = "\r\033[K";
  bool shown = false;
  std::unique_lock lock(mutex_);
  for (auto wait = std::chrono::milliseconds(1000); !changed_.wait_for(lock, wait, [this] { return stopped_; });
       wait = std::chrono::milliseconds(terminal_ ? 250 : 1000)) {
    std::fprintf(stderr, terminal_ ? "%s%s" : "%s%s\n", terminal_ ? clearLine : "", report(elapsed()).c_str());
    shown = true;
  }
  if (shown && terminal_) std::fputs(clearLine, stderr);
  if (closingLine_) std::fprintf(stderr, "%s\n", report(elapsed()).c_str());
}

}  // namespace rq::cli
