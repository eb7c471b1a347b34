// Reports on standard error of how far the work is.
#ifndef RQUNI_CLI_PROGRESS_H
#define RQUNI_CLI_PROGRESS_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace rq::cli {

/// After a second of work, shows a line, keeps it up to date and removes it at the end. It has a thread of its own,
/// because one call of the library may take long. On a terminal it writes only while the tool is in the foreground
/// there.
class Progress {
 public:
  /// Without a wish, shows progress if standard error is a terminal. If the user asks for progress, a last line with
  /// the sums stays, and without a terminal each report is a line. `total` is the size of all input, where it is
  /// known.
  explicit Progress(std::optional<bool> wished, std::optional<std::uint64_t> total = {});
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void addRead(std::size_t bytes) { read_.fetch_add(bytes, std::memory_order_relaxed); }
  void addWritten(std::size_t bytes) { written_.fetch_add(bytes, std::memory_order_relaxed); }
  /// Removes the line and shows none from now on: somebody types or reads on a terminal.
  void leaveTerminal();
  /// Ends the reports for good. Call it before any other line goes to standard error.
  void stop();

 private:
  void run();
  void show(const std::string& line);
  void erase();
  std::string report() const;

  const bool terminal_, closingLine_;
  const std::optional<std::uint64_t> total_;
  /// When the work began. The thread may begin later.
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::atomic<std::uint64_t> read_ = 0, written_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stopped_ = false, left_ = false;
  bool shown_ = false;  // a line stands on the terminal
  std::thread thread_;
};

}  // namespace rq::cli

#endif
