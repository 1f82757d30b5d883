// Threads that take no signals: those are the main thread's, whose sleep they must end.
#pragma once

#include <pthread.h>

#include <csignal>

namespace qvx {

// While it lives, the calling thread takes no signals, and neither does ever a thread that it starts meanwhile.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace qvx
