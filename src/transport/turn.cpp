#include "transport/turn.h"

#include "core/host.h"
#include "transport/descriptor.h"

#include <algorithm>

namespace qvx {

bool Turn::take(Clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  while (taken_) {
    const auto now = Clock::now();
    if (now >= deadline) {
      return false;
    }
    lock.unlock();
    const bool interruptible = host().interruptible();
    if (interruptible) {
      host().checkInterrupt();
    }
    lock.lock();
    free_.wait_until(lock, interruptible ? std::min(deadline, now + kInterruptInterval) : deadline,
                     [this] { return !taken_; });
  }
  taken_ = true;
  return true;
}

// Wakes all: one that has just run into its deadline would swallow a single notice.
void Turn::give() {
  {
    const std::lock_guard lock(mutex_);
    taken_ = false;
  }
  free_.notify_all();
}

}  // namespace qvx
