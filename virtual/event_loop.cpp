#include "virtual/event_loop.h"

#include <cerrno>
#include <system_error>

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace qvx::bench {
namespace {

constexpr int kEventsAtOnce = 64;

int checked(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

}  // namespace

void Descriptor::close() {
  if (fd_ >= 0) {
    ::close(fd_);
    fd_ = -1;
  }
}

EventLoop::EventLoop()
    : epoll_(checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      timer_(checked(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create")) {
  control(EPOLL_CTL_ADD, timer_.get(), EPOLLIN, nullptr);
}

void EventLoop::add(int fd, std::uint32_t events, EventHandler& handler) {
  control(EPOLL_CTL_ADD, fd, events, &handler);
}

void EventLoop::change(int fd, std::uint32_t events, EventHandler& handler) {
  control(EPOLL_CTL_MOD, fd, events, &handler);
}

void EventLoop::remove(int fd) {
  control(EPOLL_CTL_DEL, fd, 0, nullptr);
}

void EventLoop::control(int operation, int fd, std::uint32_t events, EventHandler* handler) {
  epoll_event event{};
  event.events = events;
  event.data.ptr = handler;
  checked(epoll_ctl(epoll_.get(), operation, fd, &event), "epoll_ctl");
}

// steady_clock is CLOCK_MONOTONIC, so its time points are the timer's.
void EventLoop::armTimer(TimePoint until) {
  if (until == armed_) {
    return;
  }
  armed_ = until;
  itimerspec spec{};
  if (until != kNever) {
    const auto since_boot = std::max<std::chrono::nanoseconds>(until.time_since_epoch(), std::chrono::nanoseconds(1));
    spec.it_value.tv_sec = since_boot / std::chrono::seconds(1);
    spec.it_value.tv_nsec = (since_boot % std::chrono::seconds(1)).count();
  }
  checked(timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &spec, nullptr), "timerfd_settime");
}

void EventLoop::wait(TimePoint until) {
  const bool late = until <= steady_clock::now();
  if (!late) {
    armTimer(until);
  }
  epoll_event events[kEventsAtOnce];
  const int count = epoll_wait(epoll_.get(), events, kEventsAtOnce, late ? 0 : -1);
  if (count < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "epoll_wait");
  }
  const TimePoint now = steady_clock::now();
  for (int i = 0; i < count; ++i) {
    if (auto* handler = static_cast<EventHandler*>(events[i].data.ptr)) {
      handler->ready(events[i].events, now);
      continue;
    }
    std::uint64_t expirations = 0;
    if (read(timer_.get(), &expirations, sizeof expirations) > 0) {
      armed_ = kNever;
    }
  }
}

}  // namespace qvx::bench
