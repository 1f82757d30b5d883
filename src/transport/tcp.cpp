#include "transport/tcp.h"

#include "core/errors.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <sstream>
#include <string_view>
#include <system_error>

namespace qvx {
namespace {

// A device that is switched off or cut off says nothing, so the kernel has to ask: after 2 s of silence, then every
// second, and gives up after 5 s. While a sent frame is unacknowledged it does not ask but sends again, hence the limit
// there, in ms, which Linux applies to its questions too.
struct SocketOption {
  int level;
  int name;
  int value;
};
constexpr std::array<SocketOption, 6> kOptions{{
    {IPPROTO_TCP, TCP_NODELAY, 1},
    {SOL_SOCKET, SO_KEEPALIVE, 1},
    {IPPROTO_TCP, TCP_KEEPIDLE, 2},
    {IPPROTO_TCP, TCP_KEEPINTVL, 1},
    {IPPROTO_TCP, TCP_KEEPCNT, 3},
    {IPPROTO_TCP, TCP_USER_TIMEOUT, kAcknowledgeLimit.count()},
}};

sockaddr_in addressOf(const std::string& ip, int port) {
  if (port < 1 || port > 65535) {
    fail(ErrorId::InputDataNotInRangeError, "TCP port " + std::to_string(port) + " is not in 1..65535");
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (ip.find('\0') != std::string::npos || ::inet_pton(AF_INET, ip.c_str(), &address.sin_addr) != 1) {
    failToConnect("\"" + ip + "\"", "not an IPv4 address in dotted form");
  }
  return address;
}

// Waits for the answer to the request for a connection that `fd` is making; returns why there is none, "" when there
// is.
std::string reasonOfFailure(int fd, const sockaddr_in& address, double timeout_s) {
  const Deadline deadline = deadlineAfter(timeout_s);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno != EINPROGRESS && errno != EINTR) {
      return describeErrno(errno);
    }
    std::array<pollfd, 1> answered{pollfd{fd, POLLOUT, 0}};
    if (!waitReady(answered, deadline)) {
      std::ostringstream text;
      text << "no answer within " << timeout_s << " s";
      return text.str();
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) {
      return describeErrno(error != 0 ? error : errno);
    }
  }
  for (const auto& [level, name, value] : kOptions) {
    if (::setsockopt(fd, level, name, &value, sizeof value) != 0) {
      return describeErrno(errno);
    }
  }
  return {};
}

}  // namespace

bool TCPClient::connect(const std::string& ip, int port, double timeout_s) {
  const sockaddr_in address = addressOf(ip, port);
  const std::string target = ip + ":" + std::to_string(port);
  if (std::isnan(timeout_s)) {
    fail(ErrorId::InputDataNotInRangeError, "the time to connect in is not a number");
  }
  std::shared_ptr<Link> link;
  try {
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen()) {
      failToConnect(target, describeErrno(errno));
    }
    link = prepare(std::move(socket));
  } catch (const std::system_error& error) {
    failToConnect(target, error.what());
  }
  std::string reason;
  try {
    reason = reasonOfFailure(link->fd(), address, timeout_s);
    if (reason.empty()) {
      setTimeout(kReadTimeoutS);
      if (open(link)) {
        return true;
      }
    }
  } catch (...) {
    abandon(link);
    throw;
  }
  abandon(link);
  failToConnect(target, link->isEnded() ? "ended by disconnect" : reason);
}

std::shared_ptr<const Descriptor> TCPClient::watchable() const {
  const auto link = openLink();
  return link ? std::shared_ptr<const Descriptor>(link, &link->descriptor()) : nullptr;
}

void TCPClient::receive(Intake& intake) {
  const auto link = current();
  const Deadline deadline = readDeadline();
  for (;;) {
    const auto leased_until = intake.leasedUntil();
    const bool leased = leased_until > Clock::now();
    if (leased || intake.standBy(true)) {
      const auto came = link->await(false, leased ? Deadline(leased_until) : deadline);
      intake.standBy(false);
      if (came != Link::Came::Nothing) {
        return;
      }
      continue;
    }
    intake.standBy(false);
    std::optional<std::size_t> count;
    intake.step([&](std::span<std::uint8_t> buffer) {
      count = readOnce(*link, buffer);
      return count ? appendAndSplit(buffer.first(*count), link->number()) : std::vector<Frame>();
    });
    if (count || link->await(true, deadline) != Link::Came::Data) {
      return;
    }
  }
}

bool TCPClient::receiveNow(const Descriptor& descriptor, Intake& intake) {
  const auto link = openLink();
  if (!link || &link->descriptor() != &descriptor) {
    return false;
  }
  try {
    intake.tryStep([&](std::span<std::uint8_t> buffer) {
      const auto count = readOnce(*link, buffer);
      return count ? appendAndSplit(buffer.first(*count), link->number()) : std::vector<Frame>();
    });
  } catch (const Failure&) {
    return false;  // the receive thread raises it too: what is lost reads as lost every time
  }
  return !link->isEnded();
}

std::optional<TCPPlace> tcpPlace(const std::string& identifier) {
  constexpr std::string_view kScheme = "tcp://";
  if (identifier.rfind(kScheme, 0) != 0) {
    return std::nullopt;
  }
  const std::size_t colon = identifier.rfind(':');
  TCPPlace place{colon > kScheme.size() ? identifier.substr(kScheme.size(), colon - kScheme.size()) : "", 0};
  const char* const end = identifier.data() + identifier.size();
  const auto [read, problem] = std::from_chars(identifier.data() + colon + 1, end, place.port);
  if (problem != std::errc() || read != end || place.port < 1 || place.port > 65535) {
    failToConnect("\"" + identifier + "\"", "not of the form tcp://ADDRESS:PORT");
  }
  return place;
}

}  // namespace qvx
