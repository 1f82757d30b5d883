// File descriptors: their ownership, and waking a thread that waits on one.
#pragma once

#include <chrono>

namespace qvx {

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

// A timerfd to poll beside a medium. Any thread may set it; once due it stays so until it is drained or set again.
class Alarm {
 public:
  // Raises std::system_error when no descriptor is left.
  Alarm();
  void set(std::chrono::milliseconds from_now);
  void drain();
  int fd() const { return timer_.get(); }

 private:
  Descriptor timer_;
};

}  // namespace qvx
