// How far the work is, on standard error.
#ifndef RQUNI_CLI_PROGRESS_H
#define RQUNI_CLI_PROGRESS_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace rq::cli {

/// Shows a line that is kept up to date once the work has taken a second, and takes it away at the end. A thread of
/// its own does it, since one call of the library may take long.
class Progress {
 public:
  /// Without a wish, progress is shown when standard error is a terminal. Asked for explicitly, a closing line with
  /// the sums remains, and without a terminal every report is a line.
  explicit Progress(std::optional<bool> wished);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void addRead(std::size_t bytes) { read_.fetch_add(bytes, std::memory_order_relaxed); }
  void addWritten(std::size_t bytes) { written_.fetch_add(bytes, std::memory_order_relaxed); }
  /// Ends the reports; nothing is shown afterwards. Call before any other line goes to standard error.
  void stop();

 private:
  void run();
  std::string report(double seconds) const;

  const bool terminal_, closingLine_;
  std::atomic<std::uint64_t> read_ = 0, written_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace rq::cli

#endif
