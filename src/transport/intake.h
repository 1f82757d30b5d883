// Where the frames of one channel go, whoever reads them.
#pragma once

#include "core/frame.h"
#include "transport/descriptor.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace qvx {

// Shared by a channel and the event loops that read its connection beside its receive thread. Reading bytes, cutting
// frames out of them and filing those is one step under a mutex, so that they keep their order whoever reads. Any
// thread.
//
// The lease keeps the receive thread from racing a loop for every reply: a coroutine renews it when it asks for
// something, and until it ends the receive thread leaves what arrives to the loop. It says who is to read, not who may:
// what a loop has not read by then the receive thread does.
class Intake {
 public:
  // Long enough for the reply of a device nearby; too short for a loop busy with something else to be noticed.
  static constexpr std::chrono::milliseconds kLease{5};

  Intake(std::size_t read_size, std::function<void(Frame)> file) : read_size_(read_size), file_(std::move(file)) {}
  std::size_t readSize() const { return read_size_; }

  // Takes a step: files what `read()` returns, which must not wait.
  template <class Read>
  void step(Read read) {
    const std::lock_guard lock(mutex_);
    file(read());
  }
  // The same, unless a step is being taken.
  template <class Read>
  void tryStep(Read read) {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock) {
      file(read());
    }
  }
  // Returns when no step is being taken.
  void settle() { const std::lock_guard lock(mutex_); }
  // Nothing is filed once this has returned.
  void end() {
    const std::lock_guard lock(mutex_);
    file_ = nullptr;
  }

  void renewLease() { leased_until_ = (Clock::now() + kLease).time_since_epoch().count(); }
  // True when there was one.
  bool endLease() { return leased_until_ != 0 && leased_until_.exchange(0) > Clock::now().time_since_epoch().count(); }
  Clock::time_point leasedUntil() const { return Clock::time_point(Clock::duration(leased_until_.load())); }

 private:
  void file(std::vector<Frame> frames) {
    for (Frame& frame : frames) {
      if (file_) {
        file_(std::move(frame));
      }
    }
  }

  const std::size_t read_size_;
  std::mutex mutex_;  // guards file_ and the step; the pools' may be taken under it
  std::function<void(Frame)> file_;
  std::atomic<Clock::rep> leased_until_ = 0;
};

}  // namespace qvx
