#include "virtual/discovery_port.h"

#include "virtual/frame_reader.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/epoll.h>
#include <sys/socket.h>

namespace qvx::bench {
namespace {

// Datagrams taken before others have their turn.
constexpr int kDatagramsAtOnce = 16;
constexpr char kLoopbackInterface[] = "lo";

// A broadcast reaches only sockets that are bound to no address; the interface keeps other machines out.
Descriptor openSocket(std::uint16_t port, bool loopback_only) {
  const Endpoint everywhere{0, port};
  Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const sockaddr_in address = socketAddress(everywhere);
  if (socket) {
    setSocketOption(socket.get(), SOL_SOCKET, SO_REUSEADDR, 1);  // for other benches on this machine
  }
  if (!socket ||
      (loopback_only &&
       setsockopt(socket.get(), SOL_SOCKET, SO_BINDTODEVICE, kLoopbackInterface, sizeof kLoopbackInterface) < 0) ||
      bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
    throw std::system_error(errno, std::generic_category(), "UDP port " + std::to_string(port));
  }
  return socket;
}

}  // namespace

DiscoveryPort::DiscoveryPort(EventLoop& loop, const Log& log, UdpPorts ports, std::vector<Member> members)
    : loop_(loop),
      log_(log),
      answers_to_(ports.answers),
      members_(std::move(members)),
      socket_(openSocket(ports.requests, std::all_of(members_.begin(), members_.end(), [](const Member& member) {
                           return member.endpoint.loopback();
                         }))) {
  sockaddr_in bound{};
  socklen_t size = sizeof bound;
  if (getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&bound), &size) == 0) {
    endpoint_ = endpointOf(bound);
  }
  loop_.add(socket_.get(), EPOLLIN, *this);
}

void DiscoveryPort::ready(std::uint32_t, TimePoint now) {
  touch();
  for (int taken = 0; taken < kDatagramsAtOnce; ++taken) {
    sockaddr_in source{};
    socklen_t size = sizeof source;
    const auto count =
        recvfrom(socket_.get(), input_.data(), input_.size(), 0, reinterpret_cast<sockaddr*>(&source), &size);
    if (count < 0) {
      return;
    }
    // A datagram holds one request; what else is in it is garbage.
    FrameReader reader;
    reader.feed(ByteView(input_).first(static_cast<std::size_t>(count)), now);
    const auto request = reader.next(now);
    const Endpoint asker = endpointOf(source);
    for (Member& member : members_) {
      if (request && (asker.loopback() || !member.endpoint.loopback())) {
        ask(member, *request, {asker.address, answers_to_}, now);
      }
    }
  }
}

void DiscoveryPort::ask(Member& member, const Frame& request, const Endpoint& asker, TimePoint now) {
  const auto rings = member.device.board().rings;
  const auto answer = member.device.answerBroadcast(request, now);
  if (!answer) {
    return;
  }
  const std::string name = member.endpoint.text();
  log_.frame(name, "<- broadcast", request.code, request.payload);
  log_.frame(name, "-> " + asker.text(), request.code, *answer);
  if (member.device.board().rings != rings) {
    log_.event(name, "rings");
  }
  for (Bytes& frame : member.device.faults().pass(buildFrame(request.code, *answer))) {
    if (waiting_.size() < kMostWaiting) {
      waiting_.push_back({now + member.device.faults().options().delay, asker, std::move(frame)});
    }
  }
  member.port.touch();
}

void DiscoveryPort::service(TimePoint now) {
  touched_ = false;
  // The delay is the same for all devices, so the first is always due first.
  while (!waiting_.empty() && waiting_.front().due <= now) {
    const Answer& answer = waiting_.front();
    const sockaddr_in to = socketAddress(answer.asker);
    // What cannot be sent is lost, as it might be on any network.
    sendto(socket_.get(), answer.frame.data(), answer.frame.size(), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&to), sizeof to);
    waiting_.pop_front();
  }
  due_ = waiting_.empty() ? kNever : waiting_.front().due;
}

}  // namespace qvx::bench
