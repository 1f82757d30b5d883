// A blocking call in a coroutine, for the one thing that has no wake-up of its own: opening a medium.
#pragma once

#include "protocol/wait.h"

#include <exception>
#include <thread>

namespace qvx {

// On a fiber, runs `call` on a thread of its own while the fiber is suspended; on a plain stack, right here. What it
// throws comes back. When the fiber is cancelled, `abort` must make the call end soon; it is awaited.
template <class Call, class Abort>
void runAside(Call call, Abort abort) {
  if (Fiber::current() == nullptr) {
    call();
    return;
  }
  std::mutex mutex;  // guards done
  Condition changed;
  bool done = false;
  std::exception_ptr failure;
  std::thread thread([&] {
    try {
      call();
    } catch (...) {
      failure = std::current_exception();
    }
    std::unique_lock lock(mutex);
    done = true;
    changed.notify(lock);
  });
  struct Join {
    std::thread& thread;
    ~Join() { thread.join(); }
  };
  {
    const Join join{thread};
    struct AbortUnlessDone {
      std::mutex& mutex;
      bool& done;
      Abort& abort;
      ~AbortUnlessDone() {
        std::unique_lock lock(mutex);
        if (!done) {
          lock.unlock();
          abort();
        }
      }
    };
    const AbortUnlessDone guard{mutex, done, abort};
    std::unique_lock lock(mutex);
    changed.wait(lock, std::nullopt, [&] { return done; });
  }
  if (failure) {
    std::rethrow_exception(failure);
  }
}

}  // namespace qvx
