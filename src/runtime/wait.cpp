#include "runtime/wait.h"

#include "core/host.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

namespace qvx {
namespace {

constexpr std::chrono::milliseconds kStretch{50};

}  // namespace

Stretches::Stretches(const Deadline& deadline) : deadline_(deadline), interruptible_(host().interruptible()) {}

Deadline Stretches::next(Clock::time_point now) {
  if (!interruptible_) {
    last_ = true;
    return deadline_;
  }
  const auto end = now + kStretch;
  last_ = deadline_ && *deadline_ <= end;
  return last_ ? deadline_ : end;
}

void Stretches::listen() const {
  if (interruptible_) {
    host().checkInterrupt();
  }
}

void pauseUntil(const Deadline& deadline) {
  Mutex mutex;
  Lock lock(mutex);
  Condition().wait(lock, deadline, [] { return false; });
}

bool waitReady(std::span<pollfd> fds, const Deadline& deadline) {
  Stretches stretches(deadline);
  for (;;) {
    const auto now = Clock::now();
    const Deadline end = stretches.next(now);
    timespec limit{};
    if (end) {
      const auto left = std::max(*end - now, Clock::duration::zero());
      const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
      limit = {static_cast<std::time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
    }
    const int ready = ::ppoll(fds.data(), fds.size(), end ? &limit : nullptr, nullptr);
    if (ready < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "ppoll");
    }
    if (ready > 0) {
      return true;
    }
    if (ready == 0 && stretches.over()) {
      return false;
    }
    stretches.listen();
  }
}

}  // namespace qvx
