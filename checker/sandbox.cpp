#include "checker/sandbox.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

namespace rq::check {
namespace {

constexpr std::size_t longestReport = 2048;  // less than a pipe holds: writing it never waits

[[noreturn]] void runChild(const std::function<Finding()>& check, int reportEnd) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  std::string report;
  try {
    const Finding finding = check();
    report = static_cast<char>(finding.verdict) + finding.seen;
  } catch (const std::exception& error) {
    report = static_cast<char>(Verdict::broken) + std::string("an exception came through: ") + error.what();
  }
  report.resize(std::min(report.size(), longestReport));
  const ssize_t written = ::write(reportEnd, report.data(), report.size());
  ::_exit(written == static_cast<ssize_t>(report.size()) ? 0 : 1);
}

/// False when patience came to an end, and the child with it.
bool waitFor(pid_t child, int& status, std::chrono::milliseconds patience) {
  const auto until = std::chrono::steady_clock::now() + patience;
  for (;;) {
    const pid_t ended = ::waitpid(child, &status, WNOHANG);
    if (ended == child) return true;
    if (std::chrono::steady_clock::now() > until) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

Finding apart(const std::function<Finding()>& check, std::chrono::milliseconds patience) {
  std::array<int, 2> ends;
  if (::pipe(ends.data()) != 0) return notChecked(std::string("no pipe: ") + std::strerror(errno));
  const pid_t child = ::fork();
  if (child < 0) return notChecked(std::string("no process: ") + std::strerror(errno));
  if (child == 0) runChild(check, ends[1]);
  ::close(ends[1]);
  int status = 0;
  const bool ended = waitFor(child, status, patience);
  std::array<char, longestReport> report;
  const ssize_t length = ended && WIFEXITED(status) ? ::read(ends[0], report.data(), report.size()) : 0;
  ::close(ends[0]);
  if (!ended) return broken("it did not come back in time");
  if (WIFSIGNALED(status)) {
    return broken(std::string(crashed) + " with signal " + std::to_string(WTERMSIG(status)) + ", " +
                  strsignal(WTERMSIG(status)));
  }
  if (length <= 0) return broken("it ended the process with exit code " + std::to_string(WEXITSTATUS(status)));
  return {static_cast<Verdict>(report[0]), std::string(report.data() + 1, static_cast<std::size_t>(length) - 1)};
}

}  // namespace rq::check
