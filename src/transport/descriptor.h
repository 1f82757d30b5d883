// File descriptors: their ownership, waking a thread that waits on one, and the wait itself.
#pragma once

#include <poll.h>

#include <chrono>
#include <optional>
#include <span>

namespace qvx {

using Clock = std::chrono::steady_clock;
// How often a wait that Ctrl-C must end asks the host.
inline constexpr std::chrono::milliseconds kInterruptInterval{50};
// Nothing: without limit.
using Deadline = std::optional<Clock::time_point>;

// The moment `seconds` from now. So far ahead that the clock cannot express it, infinity included: no limit.
Deadline deadlineIn(double seconds);

// Owns a file descriptor, or -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();

  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  int release();

 private:
  int fd_;
};

// An eventfd to poll beside a medium. Any thread may signal; a signal lasts until the reader drains it.
class WakeUp {
 public:
  // Raises std::system_error when no descriptor is left.
  WakeUp();
  void signal();
  void drain();
  int fd() const { return event_.get(); }

 private:
  Descriptor event_;
};

// Sleeps until one of `fds` is ready (true, with their revents set) or the deadline has passed (false). On a thread
// that Ctrl-C must reach, asks the host every 50 ms and passes on what it throws: call it with no mutex held.
bool waitReady(std::span<pollfd> fds, Deadline deadline);

}  // namespace qvx
