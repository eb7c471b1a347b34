#include "cli/apart.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace rq::cli {
namespace {

Error notStarted() {
  return {Error::Kind::system, std::string("cannot start a process for the host: ") + std::strerror(errno)};
}

[[noreturn]] void runChild(const std::function<int(Descriptor output)>& work, int reportEnd, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) ::_exit(1);
  Descriptor output(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  const int code = work(std::move(output));
  std::fflush(nullptr);  // what the host printed
  ::_exit(::write(reportEnd, &code, sizeof code) == sizeof code ? 0 : 1);
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

Result<int> workApart(const std::function<int(Descriptor output)>& work) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return notStarted();
  const Descriptor readEnd(ends[0]);
  Descriptor writeEnd(ends[1]);
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child < 0) return notStarted();
  if (child == 0) runChild(work, writeEnd.number(), parent);
  { const Descriptor closed(std::move(writeEnd)); }
  const int status = waitFor(child);
  int code = 0;
  const bool reported = ::read(readEnd.number(), &code, sizeof code) == sizeof code;
  if (reported) return code;
  const int number = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  return Error{Error::Kind::system,
               number != 0 ? "the host crashed with signal " + std::to_string(number) + ", " + ::strsignal(number)
                           : "the host ended the process with exit code " + std::to_string(WEXITSTATUS(status))};
}

}  // namespace rq::cli
