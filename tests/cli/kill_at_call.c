/* Runs a command and sends it a signal when it enters its N-th system call.
 *
 *   kill_at_call N SIGNAL COMMAND [ARGUMENT...]
 *
 * Ends with 0 when the command ended by itself before its N-th call, with 1 when the signal ended it, with 2 when
 * something else did or nothing could be run. */
#define _GNU_SOURCE
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ptrace.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

static int fail(const char* what) {
  perror(what);
  return 2;
}

int main(int argc, char** argv) {
  const long wanted = argc > 3 ? atol(argv[1]) : 0;
  const int signal = argc > 3 ? atoi(argv[2]) : 0;
  long entered = 0;
  int entering = 1, status;
  pid_t child;
  if (wanted <= 0 || signal <= 0) return fputs("kill_at_call N SIGNAL COMMAND [ARGUMENT...]\n", stderr), 2;

  child = fork();
  if (child < 0) return fail("fork");
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, NULL, NULL) != 0) _exit(fail("ptrace"));
    execv(argv[3], argv + 3);
    _exit(fail(argv[3]));
  }
  if (waitpid(child, &status, 0) != child) return fail("waitpid");
  if (!WIFSTOPPED(status)) return 2;
  ptrace(PTRACE_SETOPTIONS, child, NULL, (void*)(long)(PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL));

  for (;;) {
    int passed = 0; /* the signal that goes on to the child */
    if (WIFSTOPPED(status) && WSTOPSIG(status) != (SIGTRAP | 0x80) && WSTOPSIG(status) != SIGTRAP)
      passed = WSTOPSIG(status);
    /* A child that was killed is gone already, and waits to be asked how it ended. */
    if (ptrace(PTRACE_SYSCALL, child, NULL, (void*)(long)passed) != 0 && errno != ESRCH) return fail("ptrace");
    if (waitpid(child, &status, 0) != child) return fail("waitpid");
    if (WIFEXITED(status)) return WEXITSTATUS(status) == 0 ? 0 : 2;
    if (WIFSIGNALED(status)) return WTERMSIG(status) == signal ? 1 : 2;
    if (WSTOPSIG(status) != (SIGTRAP | 0x80)) continue;
    if (entering && ++entered == wanted) kill(child, signal);
    entering = !entering;
  }
}
