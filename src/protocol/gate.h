// A lock that its owner holds while a function is closed; the function's thread passes through it on every round.
// Not a data lock: whoever acquires it closes the gate, and any thread may release it.
#pragma once

#include "runtime/wait.h"

#include <utility>

namespace qvx {

// Any thread may call anything.
class Gate {
 public:
  // A gate is made closed.
  explicit Gate(bool closed = true) : closed_(closed) {}

  // Closes the gate. False when it stayed closed by another holder until `deadline`.
  bool acquire(const Deadline& deadline = std::nullopt) {
    Lock lock(mutex_);
    if (!changed_.wait(lock, deadline, [this]() QVX_REQUIRES(mutex_) { return !closed_; })) {
      return false;
    }
    closed_ = true;
    return true;
  }

  // Closes the gate if it is open; never waits.
  bool tryAcquire() {
    const Lock lock(mutex_);
    return !std::exchange(closed_, true);
  }

  // Opens the gate. False when it was open.
  bool release() {
    Lock lock(mutex_);
    const bool was_closed = std::exchange(closed_, false);
    changed_.notify(lock);
    return was_closed;
  }

  bool locked() const {
    const Lock lock(mutex_);
    return closed_;
  }

  // The thread's side: returns once the gate is open, or there is something else for it to do.
  template <class Called>
  void pass(Called called) {
    Lock lock(mutex_);
    if (!closed_ || called()) {
      return;
    }
    ++parked_;
    changed_.notifyHeld();
    changed_.wait(lock, std::nullopt, [&]() QVX_REQUIRES(mutex_) { return !closed_ || called(); });
    --parked_;
  }
  // Has the thread at the gate look whether it is called.
  void call() {
    Lock lock(mutex_);
    changed_.notify(lock);
  }

  // Waits until the thread stands at the closed gate; false when it did not by `deadline`.
  bool waitParked(const Deadline& deadline) {
    Lock lock(mutex_);
    return changed_.wait(lock, deadline, [this]() QVX_REQUIRES(mutex_) { return parked_ > 0; });
  }

 private:
  mutable Mutex mutex_;
  bool closed_ QVX_GUARDED_BY(mutex_);
  int parked_ QVX_GUARDED_BY(mutex_) = 0;
  Condition changed_;
};

}  // namespace qvx
