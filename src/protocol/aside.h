// A blocking call in a coroutine, for the one thing that has no wake-up of its own: opening a medium.
#pragma once

#include "protocol/wait.h"

#include <exception>
#include <thread>

namespace qvx {

// On a fiber, runs `call` on a thread of its own while the fiber is suspended; on a plain stack, right here. What it
// throws comes back. When the fiber is cancelled, `abort` is to end the call soon; it runs, and the call's end is
// awaited, on the driving thread's stack. `undo` takes back a call that succeeded nevertheless.
template <class Call, class Abort, class Undo>
void runAside(Call call, Abort abort, Undo undo) {
  if (Fiber::current() == nullptr) {
    call();
    return;
  }
  struct Aside {
    std::mutex mutex;  // guards done
    Condition changed;
    bool done = false;
    std::exception_ptr failure;
    std::thread thread;
  } aside;
  struct Ending {
    Aside& aside;
    Abort& abort;
    Undo& undo;
    bool cancelled = true;
    ~Ending() {
      Fiber::outside([this] {
        const auto quietly = [](auto& step) {
          try {
            step();
          } catch (const std::exception&) {
            // The one who cancelled is told of the cancellation; nobody waits for this.
          }
        };
        if (cancelled) {
          quietly(abort);
        }
        aside.thread.join();
        if (cancelled && !aside.failure) {
          quietly(undo);
        }
      });
    }
  };
  aside.thread = std::thread([&] {
    try {
      call();
    } catch (...) {
      aside.failure = std::current_exception();
    }
    std::unique_lock lock(aside.mutex);
    aside.done = true;
    aside.changed.notify(lock);
  });
  {
    Ending ending{aside, abort, undo};
    std::unique_lock lock(aside.mutex);
    aside.changed.wait(lock, std::nullopt, [&] { return aside.done; });
    ending.cancelled = false;
  }
  if (aside.failure) {
    std::rethrow_exception(aside.failure);
  }
}

}  // namespace qvx
