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

namespace rq::checker {
namespace {

/// A finding on its way through the pipe. It is smaller than a pipe's buffer, so writing it never waits.
struct Report {
  Verdict verdict;
  std::size_t length;
  std::array<char, 2048> seen;
};

Report reportOf(const Finding& finding) {
  Report report{finding.verdict, std::min(finding.seen.size(), sizeof report.seen), {}};
  finding.seen.copy(report.seen.data(), report.length);
  return report;
}

Finding found(const std::function<Finding()>& check) {
  try {
    return check();
  } catch (const std::exception& error) {
    return broken(std::string("it threw an exception: ") + error.what());
  }
}

[[noreturn]] void runChild(const std::function<Finding()>& check, int reportEnd) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  const Report report = reportOf(found(check));
  ::_exit(::write(reportEnd, &report, sizeof report) == sizeof report ? 0 : 1);
}

/// False when the child did not end in time; it is killed then.
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
  Report report;
  const bool reported = ended && WIFEXITED(status) && ::read(ends[0], &report, sizeof report) == sizeof report;
  ::close(ends[0]);
  if (!ended) return {Verdict::broken, "it did not return in time", Finding::End::hung};
  if (WIFSIGNALED(status)) {
    const int number = WTERMSIG(status);
    return {Verdict::broken, "it crashed with signal " + std::to_string(number) + ", " + strsignal(number),
            Finding::End::crashed};
  }
  if (!reported) return broken("it ended the process with exit code " + std::to_string(WEXITSTATUS(status)));
  return {report.verdict, std::string(report.seen.data(), report.length), Finding::End::returned};
}

}  // namespace rq::checker
