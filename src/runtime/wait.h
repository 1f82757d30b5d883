// The one place that waits, and the one that listens for Ctrl-C.
//
// A Condition is what a mutex-guarded thing (a pool, a queue) offers to those who wait for it to change. A thread that
// waits blocks; a fiber that waits is suspended until the loop resumes it. Only this file knows which of the two runs.
// What waits for a descriptor is a thread always, and calls waitReady.
#pragma once

#include "runtime/clock.h"
#include "runtime/fiber.h"
#include "runtime/mutex.h"

#include <poll.h>

#include <condition_variable>
#include <cstdint>
#include <span>
#include <vector>

namespace qvx {

// A blocking wait, in stretches so short that Ctrl-C ends it within 50 ms where it must: on the interpreter's main
// thread. Elsewhere the wait is one stretch.
class Stretches {
 public:
  explicit Stretches(const Deadline& deadline);
  // When the stretch that begins `now` ends.
  Deadline next(Clock::time_point now = Clock::now());
  // Whether that was the last.
  bool over() const { return last_; }
  // Between two stretches: passes on what the host throws at Ctrl-C. With no mutex held.
  void listen() const;

 private:
  const Deadline deadline_;
  const bool interruptible_;
  bool last_ = false;
};

class Condition {
 public:
  // Waits until `ready()` holds (true), or until `deadline` has passed without it (false). `lock` holds the owner's
  // mutex, which is released while waiting; `ready` runs under it. Ctrl-C ends it with what the host throws; the mutex
  // is held again then.
  template <class Ready>
  bool wait(Lock& lock, const Deadline& deadline, Ready ready) QVX_UNCHECKED {
    if (ready()) {
      return true;
    }
    return Fiber::current() != nullptr ? waitOnFiber(lock, deadline, ready) : waitOnThread(lock, deadline, ready);
  }

  // The same for a thread that must not be disturbed: nothing else ends it. For what cannot take long.
  template <class Ready>
  bool waitUndisturbed(Lock& lock, const Deadline& deadline, Ready ready) QVX_UNCHECKED {
    if (!deadline) {
      threads_.wait(lock.inner(), ready);
      return true;
    }
    return threads_.wait_until(lock.inner(), *deadline, ready);
  }

  // Wakes those whose wait is over. `lock` holds the owner's mutex and is released: they need it.
  void notify(Lock& lock) QVX_UNCHECKED {
    postFibers();
    lock.unlock();
    threads_.notify_all();
  }
  // The same for an owner that may be gone as soon as its mutex is free. The mutex is held, and kept.
  void notifyHeld() {
    postFibers();
    threads_.notify_all();
  }

  // Gives the mutex up while it lives.
  class Unlocking {
   public:
    QVX_UNCHECKED explicit Unlocking(Lock& lock) : lock_(lock) { lock_.unlock(); }
    QVX_UNCHECKED ~Unlocking() { lock_.lock(); }
    Unlocking(const Unlocking&) = delete;
    Unlocking& operator=(const Unlocking&) = delete;

   private:
    Lock& lock_;
  };

 private:
  struct FiberWaiter {
    Scheduler* scheduler;
    std::uint64_t ticket;
    // The waiter's own `ready`, on its suspended stack. A fiber is not resumed only to find that it has to wait on.
    bool (*isReady)(void* ready);
    void* ready;
  };

  void postFibers() {
    for (const auto& waiter : fibers_) {
      if (waiter.isReady(waiter.ready)) {
        waiter.scheduler->post(waiter.ticket);
      }
    }
  }

  // Keeps a fiber registered for the length of one suspension, however that ends.
  class Registration {
   public:
    template <class Ready>
    QVX_UNCHECKED Registration(Condition& condition, Lock& lock, Fiber& fiber, Ready& ready)
        : condition_(condition), lock_(lock), ticket_(fiber.newTicket()) {
      condition_.fibers_.push_back({fiber.scheduler().get(), ticket_, &isReady<Ready>, &ready});
      lock_.unlock();
    }
    QVX_UNCHECKED ~Registration() {
      lock_.lock();
      std::erase_if(condition_.fibers_, [this](const FiberWaiter& waiter) { return waiter.ticket == ticket_; });
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

   private:
    template <class Ready>
    static bool isReady(void* ready) QVX_UNCHECKED {
      return (*static_cast<Ready*>(ready))();
    }

    Condition& condition_;
    Lock& lock_;
    std::uint64_t ticket_;
  };

  template <class Ready>
  bool waitOnFiber(Lock& lock, const Deadline& deadline, Ready& ready) QVX_UNCHECKED {
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
  bool waitOnThread(Lock& lock, const Deadline& deadline, Ready& ready) QVX_UNCHECKED {
    Stretches stretches(deadline);
    while (true) {
      const Deadline end = stretches.next();
      if (!end) {
        threads_.wait(lock.inner(), ready);
        return true;
      }
      if (threads_.wait_until(lock.inner(), *end, ready)) {
        return true;
      }
      if (stretches.over()) {
        return false;
      }
      Unlocking unlocked(lock);
      stretches.listen();
    }
  }

  std::condition_variable threads_;
  std::vector<FiberWaiter> fibers_;  // guarded by the owner's mutex
};

// Lets time pass, on whichever form runs.
void pauseUntil(const Deadline& deadline);

// Sleeps until one of `fds` is ready (true, with their revents set) or the deadline has passed (false). Ctrl-C ends it
// as it does Condition::wait: call it with no mutex held. Raises std::system_error where the system cannot wait.
bool waitReady(std::span<pollfd> fds, const Deadline& deadline);

}  // namespace qvx
