#include "transport/network.h"

#include "core/errors.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>

namespace qvx {
namespace {

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

// Also ends the waits of the other users. It fails only where the peer has ended them already.
void NetworkClient::Link::lose() {
  lost_ = true;
  ::shutdown(fd(), SHUT_RDWR);
}

bool NetworkClient::Link::end() {
  ended_ = true;
  const bool done = ::shutdown(fd(), SHUT_RDWR) == 0 || errno == ENOTCONN;
  wake.signal();
  return done;
}

int NetworkClient::socket() const {
  const std::lock_guard lock(mutex_);
  return link_ ? link_->fd() : 0;
}

void NetworkClient::setTimeout(std::optional<double> timeout_s) {
  if (timeout_s && !(*timeout_s >= 0)) {
    fail(ErrorId::InputDataNotInRangeError, "a read timeout of " + std::to_string(*timeout_s) + " s is below 0");
  }
  const std::lock_guard lock(mutex_);
  timeout_s_ = timeout_s;
}

void NetworkClient::sendPacket(ByteView frame) {
  const auto link = current();
  const auto deadline = Clock::now() + send_limit_;
  if (!link->sending.take(deadline)) {
    link->lose();
    fail(ErrorId::NetworkConnectionLostError);
  }
  const auto give = [](Turn* turn) { turn->give(); };
  const std::unique_ptr<Turn, decltype(give)> turn(&link->sending, give);
  sendAll(*link, frame, deadline);
}

void NetworkClient::sendAll(Link& link, ByteView frame, Clock::time_point deadline) {
  if (link.isLost()) {
    fail(ErrorId::NetworkConnectionLostError);
  }
  std::size_t sent = 0;
  try {
    while (sent < frame.size()) {
      const auto count = ::send(link.fd(), frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
      std::array<pollfd, 1> writable{pollfd{link.fd(), POLLOUT, 0}};
      if (count >= 0) {
        sent += static_cast<std::size_t>(count);
      } else if (errno != EINTR && (!wouldBlock(errno) || !waitReady(writable, deadline))) {
        link.lose();
        fail(ErrorId::NetworkConnectionLostError);
      }
    }
  } catch (...) {
    if (sent != 0) {
      link.lose();  // the device would take the next frame for the rest of this one
    }
    throw;
  }
}

Bytes NetworkClient::recvPacket(std::size_t size) {
  const auto link = current();
  return receive(*link, size);
}

std::vector<Frame> NetworkClient::recvAndSplitPacket(std::size_t size) {
  const auto link = current();
  return appendAndSplit(receive(*link, size), link->number());
}

Bytes NetworkClient::receive(Link& link, std::size_t size) {
  Bytes bytes(size);
  Deadline deadline;
  {
    const std::lock_guard lock(mutex_);
    deadline = timeout_s_ ? deadlineIn(*timeout_s_) : std::nullopt;
  }
  while (size != 0) {
    const auto count = ::recv(link.fd(), bytes.data(), size, MSG_DONTWAIT);
    const int error = errno;
    if (count > 0) {
      bytes.resize(static_cast<std::size_t>(count));
      return bytes;
    }
    if (link.isEnded()) {
      break;
    }
    if (count < 0 && error == EINTR) {
      continue;
    }
    if (count == 0 || !wouldBlock(error)) {
      link.lose();
      fail(ErrorId::NetworkConnectionLostError);
    }
    std::array<pollfd, 2> readable{pollfd{link.fd(), POLLIN, 0}, pollfd{link.wake.fd(), POLLIN, 0}};
    if (!waitReady(readable, deadline)) {
      break;
    }
    if (readable[0].revents == 0) {
      link.wake.drain();
      break;
    }
  }
  return {};
}

void NetworkClient::disconnect() {
  std::shared_ptr<Link> link;
  std::shared_ptr<Link> connecting;
  {
    const std::lock_guard lock(mutex_);
    link.swap(link_);
    connecting.swap(connecting_);
  }
  if (connecting) {
    connecting->end();  // not connected yet, so its shutdown has nothing to report
  }
  if (link && !link->end()) {
    fail(ErrorId::NetworkConnectionLostError);
  }
}

void NetworkClient::wake() {
  std::shared_ptr<Link> link;
  {
    const std::lock_guard lock(mutex_);
    link = link_;
  }
  if (link) {
    link->wake.signal();
  }
}

std::shared_ptr<NetworkClient::Link> NetworkClient::prepare(Descriptor socket) {
  std::shared_ptr<Link> lost;
  std::shared_ptr<Link> link;
  {
    const std::lock_guard lock(mutex_);
    if (connecting_ || (link_ && !link_->isLost())) {
      fail(ErrorId::NetworkConnectionError,
           connecting_ ? "A connect is in progress already." : "Already connected: call disconnect first.");
    }
    link = std::make_shared<Link>(std::move(socket), ++links_made_);
    lost.swap(link_);
    connecting_ = link;
  }
  if (lost) {
    lost->end();  // so that a read which still waits on it returns
  }
  return link;
}

bool NetworkClient::open(const std::shared_ptr<Link>& link) {
  const std::lock_guard lock(mutex_);
  if (connecting_ != link) {
    return false;
  }
  beginStream(link->number());
  link_.swap(connecting_);
  return true;
}

void NetworkClient::abandon(const std::shared_ptr<Link>& link) {
  const std::lock_guard lock(mutex_);
  if (connecting_ == link) {
    connecting_.reset();
  }
}

std::shared_ptr<NetworkClient::Link> NetworkClient::current() const {
  const std::lock_guard lock(mutex_);
  if (!link_) {
    fail(ErrorId::NetworkConnectionLostError, "Not connected: call connect first.");
  }
  return link_;
}

}  // namespace qvx
