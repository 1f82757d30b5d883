#include "runtime/descriptor.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace qvx {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

// Linux releases the descriptor whatever close returns, and on sockets and eventfds it has no failure to report.
Descriptor::~Descriptor() {
  if (isOpen()) {
    ::close(fd_);
  }
}

int Descriptor::release() {
  return std::exchange(fd_, -1);
}

WakeUp::WakeUp() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_.isOpen()) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
}

// Fails only where the counter is full, that is, already signalled.
void WakeUp::signal() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(event_.get(), &one, sizeof one);
}

// Fails only where there was no signal.
void WakeUp::drain() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = ::read(event_.get(), &count, sizeof count);
}

Alarm::Alarm() : timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (!timer_.isOpen()) {
    throw std::system_error(errno, std::generic_category(), "timerfd_create");
  }
}

// A time of 0 would turn it off.
void Alarm::set(std::chrono::milliseconds from_now) {
  const auto ms = std::max<std::chrono::milliseconds::rep>(from_now.count(), 1);
  itimerspec due{};
  due.it_value = {static_cast<std::time_t>(ms / 1000), static_cast<long>(ms % 1000 * 1'000'000)};
  ::timerfd_settime(timer_.get(), 0, &due, nullptr);
}

// Fails only where it was not due.
void Alarm::drain() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = ::read(timer_.get(), &count, sizeof count);
}

}  // namespace qvx
