// Where the frames of one channel go, whoever reads them.
#pragma once

#include "core/frame.h"
#include "runtime/clock.h"
#include "runtime/mutex.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace qvx {

// Shared by a channel and those who read its connection beside its receive thread: whoever waits for a reply. Reading
// bytes, cutting frames out of them and filing those is one step under a mutex, so that they keep their order whoever
// reads. Any thread.
//
// The receive thread leaves what arrives to the others while one of them waits at the connection, and for the length of
// a lease after the last of them has asked for something, so that it doesn't race them for every reply. That says who
// is to read, not who may: what a loop has not read by then the receive thread does.
class Intake {
 public:
  // Long enough for the reply of a device nearby; too short for a loop busy with something else to be noticed.
  static constexpr std::chrono::milliseconds kLease{5};

  Intake(std::size_t read_size, std::function<void(Frame)> file) : read_size_(read_size), file_(std::move(file)) {}
  std::size_t readSize() const { return read_size_; }

  // Takes a step: files what `read(buffer)` returns, which must not wait; the buffer has room for `readSize()` bytes.
  template <class Read>
  void step(Read read) {
    const Lock lock(mutex_);
    buffer_.resize(read_size_);
    file(read(std::span(buffer_)));
  }
  // The same, unless a step is being taken.
  template <class Read>
  void tryStep(Read read) {
    if (mutex_.try_lock()) {
      const Lock lock(mutex_, std::adopt_lock);
      buffer_.resize(read_size_);
      file(read(std::span(buffer_)));
    }
  }
  // Returns when no step is being taken.
  void settle() { const Lock lock(mutex_); }
  // Nothing is filed once this has returned.
  void end() {
    const Lock lock(mutex_);
    file_ = nullptr;
  }

  // A loop has asked for something, and will read.
  void renewLease() { leased_until_ = (Clock::now() + kLease).time_since_epoch().count(); }
  // The receive thread is to read again.
  void endLease() { leased_until_ = 0; }
  Clock::time_point leasedUntil() const { return Clock::time_point(Clock::duration(leased_until_.load())); }

  // Somebody waits at the connection, until leave(). One at a time.
  void attend() { attended_ = true; }
  // True when the receive thread has to be woken: it sleeps without a limit.
  bool leave() {
    renewLease();
    attended_ = false;
    return standing_by_;
  }
  bool attended() const { return attended_; }
  // The receive thread's side: whether it may sleep until it is woken, because somebody waits at the connection. It
  // says so, and with false that it is awake.
  bool standBy(bool on) {
    standing_by_ = on;
    return on && attended_;
  }

 private:
  void file(std::vector<Frame> frames) QVX_REQUIRES(mutex_) {
    for (Frame& frame : frames) {
      if (file_) {
        file_(std::move(frame));
      }
    }
  }

  const std::size_t read_size_;
  Mutex mutex_;  // the pools' may be taken under it
  std::function<void(Frame)> file_ QVX_GUARDED_BY(mutex_);
  Bytes buffer_ QVX_GUARDED_BY(mutex_);
  std::atomic<Clock::rep> leased_until_ = 0;
  std::atomic<bool> attended_ = false;
  std::atomic<bool> standing_by_ = false;
};

}  // namespace qvx
