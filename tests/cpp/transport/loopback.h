// The other end of a TCP client's connection, on the loopback interface.
#pragma once

#include "core/bytes.h"
#include "runtime/descriptor.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

namespace qvx::test {

inline const std::string kLoopback = "127.0.0.1";

class Peer {
 public:
  explicit Peer(int fd) : fd_(fd) {}
  int fd() const { return fd_.get(); }
  void send(const Bytes& bytes) const {
    EXPECT_EQ(::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  // Empty when the connection is over.
  Bytes receive(std::size_t size = 65536) const {
    Bytes bytes(size);
    const auto count = ::recv(fd(), bytes.data(), size, 0);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  void close() { fd_ = Descriptor(); }
  void reset() {
    const linger at_once{1, 0};
    EXPECT_EQ(::setsockopt(fd(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once), 0);
    close();
  }

 private:
  Descriptor fd_;
};

class Listener {
 public:
  // A small `receive_buffer` (bytes; 0: the system's) makes a peer that doesn't read felt early.
  explicit Listener(int backlog = 64, int receive_buffer = 0) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receive_buffer != 0) {
      EXPECT_EQ(::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer), 0);
    }
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    EXPECT_EQ(::bind(fd_.get(), reinterpret_cast<sockaddr*>(&address_), size), 0);
    EXPECT_EQ(::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&address_), &size), 0);
    EXPECT_EQ(::listen(fd_.get(), backlog), 0);
  }
  int port() const { return ntohs(address_.sin_port); }
  Peer accept() const {
    const int fd = ::accept4(fd_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    EXPECT_GE(fd, 0);
    return Peer(fd);
  }
  void close() { fd_ = Descriptor(); }
  // A connection request that the test itself leaves in the queue.
  Descriptor knock() const {
    Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_);
    return fd;
  }

 private:
  Descriptor fd_;
  sockaddr_in address_{};
};

}  // namespace qvx::test
