#include "transport/descriptor.h"

#include "core/host.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>

namespace qvx {
namespace {

constexpr double kNoLimitS = 1e9;

}  // namespace

Deadline deadlineIn(double seconds) {
  if (seconds >= kNoLimitS) {
    return std::nullopt;
  }
  return Clock::now() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::max(seconds, 0.0)));
}

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

bool waitReady(std::span<pollfd> fds, Deadline deadline) {
  const bool interruptible = host().interruptible();
  for (;;) {
    if (interruptible) {
      host().checkInterrupt();
    }
    std::optional<Clock::duration> left;
    if (deadline) {
      left = std::max(*deadline - Clock::now(), Clock::duration::zero());
    }
    const bool last = left && (!interruptible || *left <= kInterruptInterval);
    const auto slice = interruptible && !last ? std::optional<Clock::duration>(kInterruptInterval) : left;
    timespec limit{};
    if (slice) {
      const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(*slice).count();
      limit = {static_cast<std::time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
    }
    const int ready = ::ppoll(fds.data(), fds.size(), slice ? &limit : nullptr, nullptr);
    if (ready < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "ppoll");
    }
    if (ready > 0) {
      return true;
    }
    if (ready == 0 && last) {
      return false;
    }
  }
}

}  // namespace qvx
