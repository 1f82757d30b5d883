// A network of a test's own, so that what is broadcast or bound in it concerns no other program.
#pragma once

#include "runtime/descriptor.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <functional>
#include <thread>

namespace qvx::test {

// Runs `body` on a thread whose network has a loopback interface, still down, and nothing else; skips the test where
// that is not permitted.
inline void inNetworkOfItsOwn(const std::function<void()>& body) {
  bool permitted = false;
  std::thread([&] {
    permitted = ::unshare(CLONE_NEWNET) == 0;
    if (permitted) {
      body();
    }
  }).join();
  if (!permitted) {
    GTEST_SKIP() << "making a network namespace takes privileges that this test run has not";
  }
}

inline void raiseLoopback() {
  const Descriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
  ifreq request{};
  std::copy_n("lo", 3, request.ifr_name);
  request.ifr_flags = IFF_UP;
  ASSERT_EQ(::ioctl(socket.get(), SIOCSIFFLAGS, &request), 0);
}

}  // namespace qvx::test
