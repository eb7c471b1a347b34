// The signals that end the tool.
#ifndef RQUNI_CLI_SIGNALS_H
#define RQUNI_CLI_SIGNALS_H

#include <array>
#include <csignal>

namespace rq::cli {

inline constexpr std::array<int, 4> endingSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

/// While it lives, the ending signals do not reach this thread, nor threads that it starts.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : endingSignals) sigaddset(&set, signal);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace rq::cli

#endif
