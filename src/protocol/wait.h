// The one place that waits.
//
// A Condition is what a mutex-guarded thing (a pool, a queue) offers to those who wait for it to change. A thread that
// waits blocks; a fiber that waits is suspended until the loop resumes it. Only this file knows which of the two runs.
#pragma once

#include "core/host.h"
#include "protocol/fiber.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace qvx {

class Condition {
 public:
  // Waits until `ready()` holds (true), or until `deadline` has passed without it (false). `lock` holds the owner's
  // mutex, which is released while waiting; `ready` runs under it. A blocking wait on the interpreter's main thread
  // ends with what Host::checkInterrupt throws, at most 50 ms after Ctrl-C.
  template <class Ready>
  bool wait(std::unique_lock<std::mutex>& lock, const Deadline& deadline, Ready ready) {
    if (ready()) {
      return true;
    }
    return Fiber::current() != nullptr ? waitOnFiber(lock, deadline, ready) : waitOnThread(lock, deadline, ready);
  }

  // Wakes those whose wait is over. `lock` holds the owner's mutex and is released.
  void notify(std::unique_lock<std::mutex>& lock) {
    for (const auto& waiter : fibers_) {
      if (waiter.isReady(waiter.ready)) {
        waiter.scheduler->post(waiter.ticket);
      }
    }
    lock.unlock();
    threads_.notify_all();
  }

 private:
  static constexpr std::chrono::milliseconds kInterruptSlice{50};

  struct FiberWaiter {
    Scheduler* scheduler;
    std::uint64_t ticket;
    // The waiter's own `ready`, on its suspended stack. A fiber is not resumed only to find that it has to wait on.
    bool (*isReady)(void* ready);
    void* ready;
  };

  // Keeps a fiber registered for the length of one suspension, however that ends.
  class Registration {
   public:
    template <class Ready>
    Registration(Condition& condition, std::unique_lock<std::mutex>& lock, Fiber& fiber, Ready& ready)
        : condition_(condition), lock_(lock), ticket_(fiber.newTicket()) {
      condition_.fibers_.push_back({fiber.scheduler().get(), ticket_,
                                    [](void* condition_met) { return bool((*static_cast<Ready*>(condition_met))()); },
                                    &ready});
      lock_.unlock();
    }
    ~Registration() {
      lock_.lock();
      std::erase_if(condition_.fibers_, [this](const FiberWaiter& waiter) { return waiter.ticket == ticket_; });
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

   private:
    Condition& condition_;
    std::unique_lock<std::mutex>& lock_;
    std::uint64_t ticket_;
  };

  template <class Ready>
  bool waitOnFiber(std::unique_lock<std::mutex>& lock, const Deadline& deadline, Ready& ready) {
    Fiber& fiber = *Fiber::current();
    while (!ready()) {
      if (deadline && Clock::now() >= *deadline) {
        return false;
      }
      const Registration registration(*this, lock, fiber, ready);
      fiber.suspend(deadline);
    }
    return true;
  }

  template <class Ready>
  bool waitOnThread(std::unique_lock<std::mutex>& lock, const Deadline& deadline, Ready& ready) {
    if (!host().interruptible()) {
      if (!deadline) {
        threads_.wait(lock, ready);
        return true;
      }
      return threads_.wait_until(lock, *deadline, ready);
    }
    while (true) {
      const auto slice_end = Clock::now() + kInterruptSlice;
      const bool last = deadline && *deadline <= slice_end;
      if (threads_.wait_until(lock, last ? *deadline : slice_end, ready)) {
        return true;
      }
      if (last) {
        return false;
      }
      lock.unlock();
      host().checkInterrupt();
      lock.lock();
    }
  }

  std::condition_variable threads_;
  std::vector<FiberWaiter> fibers_;  // guarded by the owner's mutex
};

// Lets time pass, on whichever form runs.
inline void pauseUntil(const Deadline& deadline) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  Condition().wait(lock, deadline, [] { return false; });
}

}  // namespace qvx
