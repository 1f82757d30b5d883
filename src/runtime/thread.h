// How every thread of the driver is started.
#pragma once

#include <pthread.h>

#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace qvx {

// While it lives, the calling thread takes no signals, and neither does ever a thread that it starts meanwhile: signals
// are the main thread's, whose sleep they must end.
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

// Raises std::system_error when the system has no thread left. The system's tools show 15 characters of the name.
inline std::thread startThread(const std::string& name, std::function<void()> body) {
  const SignalsBlocked blocked;
  std::thread thread(std::move(body));
  pthread_setname_np(thread.native_handle(), name.substr(0, 15).c_str());
  return thread;
}

}  // namespace qvx
