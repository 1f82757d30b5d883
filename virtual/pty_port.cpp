#include "virtual/pty_port.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <termios.h>
#include <unistd.h>

namespace qvx::bench {
namespace {

int checked(int result, const std::string& what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

Descriptor openMaster() {
  Descriptor master(checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "a pseudo-terminal"));
  checked(grantpt(master.get()), "grantpt");
  checked(unlockpt(master.get()), "unlockpt");
  return master;
}

std::string nameOf(const Descriptor& master) {
  char name[64];
  if (const int error = ptsname_r(master.get(), name, sizeof name); error != 0) {
    throw std::system_error(error, std::generic_category(), "ptsname");
  }
  return name;
}

// Raw from the start, so that programs that set nothing see the device's bytes too, and don't get theirs back.
void makeRaw(const std::string& name) {
  const Descriptor slave(checked(open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), name));
  termios line{};
  checked(tcgetattr(slave.get(), &line), name);
  cfmakeraw(&line);
  checked(tcsetattr(slave.get(), TCSANOW, &line), name);
}

Descriptor watchOpening(const std::string& name) {
  Descriptor notices(checked(inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify"));
  checked(inotify_add_watch(notices.get(), name.c_str(), IN_OPEN), name);
  return notices;
}

}  // namespace

PtyPort::PtyPort(EventLoop& loop, Device& device, const Log& log)
    : loop_(loop), device_(device), log_(log), master_(openMaster()) {
  name_ = nameOf(master_);
  makeRaw(name_);
  notices_ = watchOpening(name_);
  session_ = std::make_unique<Session>(device_, log_, name_);
  loop_.add(notices_.get(), EPOLLIN, watch_);
}

PtyPort::~PtyPort() {
  if (present_) {
    loop_.remove(master_.get());
  }
  loop_.remove(notices_.get());
}

void PtyPort::Watch::ready(std::uint32_t, TimePoint) {
  alignas(inotify_event) char events[1024];
  while (::read(owner_.notices_.get(), events, sizeof events) > 0) {
  }
  if (!owner_.present_ && owner_.isOpen()) {
    owner_.opened();
  }
}

bool PtyPort::isOpen() const {
  pollfd line{master_.get(), POLLOUT, 0};
  return ::poll(&line, 1, 0) >= 0 && (line.revents & POLLHUP) == 0;
}

void PtyPort::opened() {
  log_.event(name_, "opened");
  present_ = true;
  interest_ = EPOLLIN;
  loop_.add(master_.get(), interest_, *this);
  touch();
}

void PtyPort::closed() {
  present_ = false;
  loop_.remove(master_.get());
  session_ = std::make_unique<Session>(device_, log_, name_);
  forgetUnread();
  log_.event(name_, "closed");
}

// What nobody has read would be there for whoever opens the line next. Only the terminal's own side can drop all of it,
// and opening that is noticed like any other opening.
void PtyPort::forgetUnread() {
  tcflush(master_.get(), TCOFLUSH);
  const Descriptor slave(open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (slave.get() >= 0) {
    tcflush(slave.get(), TCIFLUSH);
  }
}

void PtyPort::ready(std::uint32_t events, TimePoint now) {
  touch();
  if ((events & EPOLLIN) != 0) {
    read(now);
  } else if ((events & EPOLLHUP) != 0) {
    closed();
  }
}

void PtyPort::read(TimePoint now) {
  const auto count = ::read(master_.get(), input_.data(), input_.size());
  if (count > 0 && back_at_ == kNever) {  // a device that restarts hears nothing
    session_->receive(ByteView(input_).first(static_cast<std::size_t>(count)), now);
  }
}

// Writes once, so that no client holds up another; the rest when the line takes more.
void PtyPort::write() {
  const ByteView bytes = session_->output();
  if (!bytes.empty() && present_) {
    const auto count = ::write(master_.get(), bytes.data(), bytes.size());
    if (count > 0) {
      session_->written(static_cast<std::size_t>(count));
    }
  }
  if (session_->resetDue()) {
    session_ = std::make_unique<Session>(device_, log_, name_);
  }
  const std::uint32_t interest = (session_->wantsInput() || back_at_ != kNever ? std::uint32_t{EPOLLIN} : 0U) |
                                 (session_->output().empty() ? 0U : std::uint32_t{EPOLLOUT});
  if (present_ && interest != interest_) {
    interest_ = interest;
    loop_.change(master_.get(), interest, *this);
  }
}

void PtyPort::service(TimePoint now) {
  touched_ = false;
  device_.tick(now);
  session_->advance(now);
  if (device_.rebootPending() && back_at_ == kNever) {
    log_.event(name_, "reboots");
    back_at_ = now + kRebootTime;
    session_->finish();
  }
  if (back_at_ <= now) {
    back_at_ = kNever;
    session_ = std::make_unique<Session>(device_, log_, name_);
    device_.rebooted();
  }
  write();
  due_ = std::min({device_.due(now), session_->due(), back_at_});
}

}  // namespace qvx::bench
