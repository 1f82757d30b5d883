#include "transport/udp.h"

#include "core/constants.h"
#include "core/errors.h"
#include "runtime/thread.h"
#include "transport/splitter.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

namespace qvx {
namespace {

// How long a broadcast waits for the addresses of this host's name; its interfaces have nearly always the same ones.
constexpr double kNameLimitS = 2;
// A hundred devices answer every one of several requests within milliseconds. The system may allow less.
constexpr int kReceiveBuffer = 1 << 20;
// Every program on this machine that listens on all addresses, and nobody else.
constexpr in_addr_t kWithinThisHost = 0x7FFFFFFF;  // 127.255.255.255

// `address` in network order.
sockaddr_in endpoint(in_addr_t address, int port) {
  sockaddr_in end{};
  end.sin_family = AF_INET;
  end.sin_port = htons(static_cast<std::uint16_t>(port));
  end.sin_addr.s_addr = address;
  return end;
}

const sockaddr* general(const sockaddr_in& end) {
  return reinterpret_cast<const sockaddr*>(&end);
}

sockaddr_in localEnd(int fd) {
  sockaddr_in end{};
  socklen_t size = sizeof end;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&end), &size);
  return end;
}

sockaddr_in checkedEnd(const std::string& ip, int port) {
  if (port < 0 || port > 65535) {
    fail(ErrorId::InputDataNotInRangeError, "UDP port " + std::to_string(port) + " is not in 0..65535");
  }
  in_addr address{INADDR_ANY};
  if (ip.find('\0') != std::string::npos || (!ip.empty() && ::inet_pton(AF_INET, ip.c_str(), &address) != 1)) {
    failToConnect("\"" + ip + "\"", "not an IPv4 address in dotted form");
  }
  return endpoint(address.s_addr, port);
}

bool setOption(int fd, int level, int name, int value) {
  return ::setsockopt(fd, level, name, &value, sizeof value) == 0;
}

// A socket that may broadcast, bound to a port of its own at `address`; none, with errno set, when that fails.
Descriptor broadcastingFrom(in_addr_t address) {
  Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const sockaddr_in end = endpoint(address, 0);
  if (!socket.isOpen() || !setOption(socket.get(), SOL_SOCKET, SO_BROADCAST, 1) ||
      ::bind(socket.get(), general(end), sizeof end) != 0) {
    return Descriptor();
  }
  return socket;
}

bool sendTo(int fd, ByteView bytes, const sockaddr_in& target) {
  return ::sendto(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL, general(target), sizeof target) >= 0;
}

std::string textOf(in_addr_t address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  const in_addr binary{address};
  return ::inet_ntop(AF_INET, &binary, text.data(), text.size());
}

std::vector<in_addr_t> addressesOfOwnName() {
  std::array<char, 256> name{};
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  std::vector<in_addr_t> addresses;
  // A host without a name, or with one that nobody knows, still has its interfaces.
  if (::gethostname(name.data(), name.size() - 1) == 0 && ::getaddrinfo(name.data(), nullptr, &hints, &found) == 0) {
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
      addresses.push_back(reinterpret_cast<const sockaddr_in*>(entry->ai_addr)->sin_addr.s_addr);
    }
    ::freeaddrinfo(found);
  }
  return addresses;
}

std::vector<in_addr_t> addressesOfInterfaces() {
  ifaddrs* found = nullptr;
  std::vector<in_addr_t> addresses;
  if (::getifaddrs(&found) == 0) {
    for (const ifaddrs* entry = found; entry != nullptr; entry = entry->ifa_next) {
      if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
        addresses.push_back(reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr);
      }
    }
    ::freeifaddrs(found);
  }
  return addresses;
}

}  // namespace

bool UDPClient::bind(const std::string& ip, int port) {
  const sockaddr_in end = checkedEnd(ip, port);
  const std::string target = (ip.empty() ? "all addresses" : ip) + ", UDP port " + std::to_string(port);
  std::shared_ptr<Link> link;
  try {
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen()) {
      failToConnect(target, describeErrno(errno));
    }
    link = prepare(std::move(socket));
  } catch (const std::system_error& error) {
    failToConnect(target, error.what());
  }
  // SO_REUSEADDR lets in every program that sets it, SO_REUSEPORT those of this user that set only that.
  setOption(link->fd(), SOL_SOCKET, SO_RCVBUF, kReceiveBuffer);
  if (!setOption(link->fd(), SOL_SOCKET, SO_REUSEADDR, 1) || !setOption(link->fd(), SOL_SOCKET, SO_REUSEPORT, 1) ||
      !setOption(link->fd(), IPPROTO_IP, IP_PKTINFO, 1) || ::bind(link->fd(), general(end), sizeof end) != 0) {
    const std::string reason = describeErrno(errno);
    abandon(link);
    failToConnect(target, reason);
  }
  try {
    lookUpOwnName();
  } catch (...) {
    abandon(link);
    throw;
  }
  setTimeout(kReadTimeoutS);
  if (!open(link)) {
    failToConnect(target, "ended by disconnect");
  }
  return true;
}

Bytes UDPClient::recvPacket(std::size_t size) {
  const auto link = current();
  return readDatagram(*link, size).bytes;
}

std::vector<Frame> UDPClient::recvAndSplitPacket(std::size_t size) {
  const auto link = current();
  const Datagram datagram = readDatagram(*link, size);
  FrameSplitter splitter;
  splitter.append(datagram.bytes);
  auto frames = splitter.split();
  if (datagram.to_this_host_alone && !frames.empty()) {
    relay(*link, datagram.bytes);
  }
  return frames;
}

UDPClient::Datagram UDPClient::readDatagram(Link& link, std::size_t size) {
  Bytes bytes(std::min(size, kMostAtOnce));
  const Deadline deadline = readDeadline();
  while (!bytes.empty()) {
    sockaddr_in source{};
    iovec part{bytes.data(), bytes.size()};
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(in_pktinfo))> control{};
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto count = ::recvmsg(link.fd(), &message, MSG_DONTWAIT);
    const int error = errno;
    if (count >= 0) {
      const bool own_relay = relay_.link == link.number() && relay_.socket.isOpen() &&
                             source.sin_port == relay_.own.sin_port &&
                             source.sin_addr.s_addr == relay_.own.sin_addr.s_addr;
      if (own_relay) {
        continue;
      }
      bytes.resize(static_cast<std::size_t>(count));
      in_pktinfo info{};
      if (const cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr && header->cmsg_type == IP_PKTINFO) {
        std::memcpy(&info, CMSG_DATA(header), sizeof info);
      }
      // The local address and the one that was written to differ for broadcasts.
      return {std::move(bytes), info.ipi_addr.s_addr != 0 && info.ipi_addr.s_addr == info.ipi_spec_dst.s_addr};
    }
    if (link.isEnded()) {
      break;
    }
    if (error == EINTR) {
      continue;
    }
    if (error != EAGAIN && error != EWOULDBLOCK) {
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

// Where this fails the others do without: they would have without the attempt.
void UDPClient::relay(const Link& link, ByteView bytes) {
  if (relay_.link != link.number()) {
    const sockaddr_in bound = localEnd(link.fd());
    relay_ = Relay();
    relay_.link = link.number();
    if (bound.sin_addr.s_addr == INADDR_ANY) {
      relay_.socket = broadcastingFrom(htonl(INADDR_LOOPBACK));
      relay_.own = localEnd(relay_.socket.get());
      relay_.others = endpoint(htonl(kWithinThisHost), ntohs(bound.sin_port));
    }
  }
  if (relay_.socket.isOpen()) {
    sendTo(relay_.socket.get(), bytes, relay_.others);
  }
}

void UDPClient::sendInTurn(ByteView, const std::function<void()>&) {
  fail(ErrorId::APINotSupportError, "A discovery client has no single device to send to; it broadcasts.");
}

struct UDPClient::NameLookUp {
  const Deadline until = deadlineAfter(kNameLimitS);  // nobody waits longer
  WakeUp done;
  Mutex mutex;
  std::vector<in_addr_t> addresses QVX_GUARDED_BY(mutex);
};

// Asked once, on a thread of its own, which outlives whoever does not want to wait for the answer.
std::shared_ptr<UDPClient::NameLookUp> UDPClient::lookUpOwnName() {
  const Lock lock(name_mutex_);
  if (own_name_) {
    return own_name_;
  }
  try {
    auto look_up = std::make_shared<NameLookUp>();
    startThread("qvx-name", [look_up] {
      auto addresses = addressesOfOwnName();
      {
        const Lock done(look_up->mutex);
        look_up->addresses = std::move(addresses);
      }
      look_up->done.signal();
    }).detach();
    own_name_ = look_up;
  } catch (const std::system_error& error) {
    failToConnect("Looking up this host's name", error.what());
  }
  return own_name_;
}

void UDPClient::sendBcstPacket(ByteView frame) {
  std::vector<in_addr_t> addresses;
  const auto look_up = lookUpOwnName();
  std::array<pollfd, 1> done{pollfd{look_up->done.fd(), POLLIN, 0}};
  if (waitReady(done, look_up->until)) {
    const Lock lock(look_up->mutex);
    addresses = look_up->addresses;
  }
  for (const in_addr_t address : addressesOfInterfaces()) {
    addresses.push_back(address);
  }
  std::sort(addresses.begin(), addresses.end());
  addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
  const sockaddr_in everybody = endpoint(INADDR_BROADCAST, UDP_SEND_PORT);
  bool sent = false;
  std::string reasons;
  for (const in_addr_t address : addresses) {
    const Descriptor socket = broadcastingFrom(address);
    if (socket.isOpen() && sendTo(socket.get(), frame, everybody)) {
      sent = true;
    } else {
      reasons += (reasons.empty() ? "" : "; ") + textOf(address) + ": " + describeErrno(errno);
    }
  }
  if (!sent) {
    failToConnect("Broadcast", addresses.empty() ? "this host has no IPv4 address" : reasons);
  }
}

}  // namespace qvx
