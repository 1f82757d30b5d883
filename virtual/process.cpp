#include "virtual/process.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qvx::bench {

StopRequests::StopRequests(EventLoop& loop, int parent) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  if (sigprocmask(SIG_BLOCK, &set, nullptr) < 0) {
    throw std::system_error(errno, std::generic_category(), "sigprocmask");
  }
  signals_ = Descriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!signals_) {
    throw std::system_error(errno, std::generic_category(), "signalfd");
  }
  loop.add(signals_.get(), EPOLLIN, *this);
  if (parent == 0) {
    return;
  }
  // PR_SET_PDEATHSIG fires when the parent's thread ends, which a test's worker thread may do early; a descriptor of
  // the process does not. Kernels before 5.3 have only the former.
  parent_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, parent, 0)));
  if (parent_) {
    loop.add(parent_.get(), EPOLLIN, *this);
  } else if (prctl(PR_SET_PDEATHSIG, SIGTERM) < 0) {
    throw std::system_error(errno, std::generic_category(), "prctl");
  }
  stopped_ = getppid() != parent;
}

void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);  // a refusal shows when a socket is opened
  }
}

}  // namespace qvx::bench
