// epoll and one timer: everything the bench does happens in the callbacks of this loop, on one thread.
#pragma once

#include "virtual/clock.h"

#include <cstdint>
#include <utility>

namespace qvx::bench {

// A file descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  void close();

 private:
  int fd_ = -1;
};

class EventHandler {
 public:
  virtual ~EventHandler() = default;
  // `events` is epoll's mask. Must not destroy any handler: others of the same batch may be waiting to be called.
  virtual void ready(std::uint32_t events, TimePoint now) = 0;
};

class EventLoop {
 public:
  // Throws std::system_error.
  EventLoop();

  // `handler` must outlive the registration. Level-triggered.
  void add(int fd, std::uint32_t events, EventHandler& handler);
  void change(int fd, std::uint32_t events, EventHandler& handler);
  void remove(int fd);

  // Waits for events or `until`, and calls the handlers of one batch.
  void wait(TimePoint until);

 private:
  void control(int operation, int fd, std::uint32_t events, EventHandler* handler);
  void armTimer(TimePoint until);

  Descriptor epoll_;
  Descriptor timer_;
  TimePoint armed_ = kNever;
};

}  // namespace qvx::bench
