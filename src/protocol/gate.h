// A lock that its owner holds while a function is closed; the function's thread passes through it on every round.
// Not a data lock: whoever acquires it closes the gate, and any thread may release it.
#pragma once

#include "protocol/wait.h"

#include <mutex>
#include <utility>

namespace qvx {

// Any thread may call anything.
class Gate {
 public:
  // A gate is made closed.
  explicit Gate(bool closed = true) : closed_(closed) {}

  // Closes the gate. False when it stayed closed by another holder until `deadline`.
  bool acquire(const Deadline& deadline = std::nullopt) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait(lock, deadline, [this] { return !closed_; })) {
      return false;
    }
    closed_ = true;
    return true;
  }

  // Closes the gate if it is open; never waits.
  bool tryAcquire() {
    const std::lock_guard lock(mutex_);
    return !std::exchange(closed_, true);
  }

  // Opens the gate. False when it was open.
  bool release() {
    std::unique_lock lock(mutex_);
    const bool was_closed = std::exchange(closed_, false);
    changed_.notify(lock);
    return was_closed;
  }

  bool locked() const {
    const std::lock_guard lock(mutex_);
    return closed_;
  }

  // The thread's side: returns once the gate is open.
  void pass() {
    std::unique_lock lock(mutex_);
    if (!closed_) {
      return;
    }
    ++parked_;
    parked_changed_.notify_all();
    changed_.wait(lock, std::nullopt, [this] { return !closed_; });
    --parked_;
  }

  // Waits until the thread stands at the closed gate; false when it did not by `deadline`.
  bool waitParked(Clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    return parked_changed_.wait_until(lock, deadline, [this] { return parked_ > 0; });
  }

 private:
  mutable std::mutex mutex_;  // guards all below
  bool closed_;
  int parked_ = 0;
  Condition changed_;
  std::condition_variable parked_changed_;
};

}  // namespace qvx
