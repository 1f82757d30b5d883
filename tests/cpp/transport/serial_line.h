// A serial line whose other end is the test: a pseudo-terminal.
#pragma once

#include "core/bytes.h"
#include "runtime/descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <string>

namespace qvx::test {

class SerialLine {
 public:
  SerialLine() : fd_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(::grantpt(fd()), 0);
    EXPECT_EQ(::unlockpt(fd()), 0);
    std::array<char, 64> name{};
    EXPECT_EQ(::ptsname_r(fd(), name.data(), name.size()), 0);
    name_ = name.data();
  }
  int fd() const { return fd_.get(); }
  // The device file of the client's end.
  const std::string& name() const { return name_; }
  void send(const Bytes& bytes) const {
    EXPECT_EQ(::write(fd(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // Exactly `size` bytes; fewer when they don't come.
  Bytes receive(std::size_t size) const {
    Bytes bytes(size);
    std::size_t got = 0;
    pollfd readable{fd(), POLLIN, 0};
    while (got < size && ::poll(&readable, 1, 20'000) == 1) {
      const auto count = ::read(fd(), bytes.data() + got, size - got);
      if (count <= 0) {
        break;
      }
      got += static_cast<std::size_t>(count);
    }
    bytes.resize(got);
    return bytes;
  }
  // The port vanishes, as when a USB adapter is pulled out.
  void unplug() { fd_ = Descriptor(); }

 private:
  Descriptor fd_;
  std::string name_;
};

}  // namespace qvx::test
