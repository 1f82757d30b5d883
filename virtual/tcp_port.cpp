#include "virtual/tcp_port.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace qvx::bench {
namespace {

constexpr std::chrono::milliseconds kRebootTime{200};
constexpr std::chrono::milliseconds kAcceptPause{100};  // after running out of descriptors
constexpr std::size_t kMostConnections = 64;

sockaddr_in socketAddress(const Endpoint& endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(endpoint.address);
  address.sin_port = htons(endpoint.port);
  return address;
}

void setOption(int fd, int level, int option, int value) {
  setsockopt(fd, level, option, &value, sizeof value);
}

Descriptor openListener(const Endpoint& endpoint) {
  Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const sockaddr_in address = socketAddress(endpoint);
  if (listener) {
    setOption(listener.get(), SOL_SOCKET, SO_REUSEADDR, 1);
  }
  if (!listener || bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0 ||
      listen(listener.get(), SOMAXCONN) < 0) {
    throw std::system_error(errno, std::generic_category(), endpoint.text());
  }
  return listener;
}

}  // namespace

std::string Endpoint::text() const {
  std::string out;
  for (int shift = 24; shift >= 0; shift -= 8) {
    out += std::to_string((address >> shift) & 0xFFU) + (shift > 0 ? "." : ":");
  }
  return out + std::to_string(port);
}

class TcpPort::Connection final : public EventHandler {
 public:
  Connection(TcpPort& owner, Descriptor socket)
      : owner_(owner), socket_(std::move(socket)), session_(owner.device_, owner.log_, owner.name_) {
    owner_.loop_.add(socket_.get(), interest_, *this);
  }
  ~Connection() override { owner_.loop_.remove(socket_.get()); }

  Session& session() { return session_; }
  bool over() const { return over_ || session_.done(); }

  void ready(std::uint32_t events, TimePoint now) override {
    owner_.touched_ = true;
    if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) {
      read(now);
    }
    writable_ = writable_ || (events & EPOLLOUT) != 0;
  }

  // Writes once; the rest, if any, when the socket is writable again, so that no client holds up another.
  void flush() {
    const ByteView bytes = session_.output();
    if (!bytes.empty() && writable_ && !over_) {
      const auto count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count >= 0) {
        session_.written(static_cast<std::size_t>(count));
      } else if (errno != EAGAIN && errno != EINTR) {
        over_ = true;
      }
    }
    writable_ = session_.output().empty();
    if (session_.resetDue()) {
      const linger abort{.l_onoff = 1, .l_linger = 0};
      setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
      over_ = true;
    }
    const std::uint32_t interest =
        (session_.wantsInput() ? std::uint32_t{EPOLLIN} : 0U) | (writable_ ? 0U : std::uint32_t{EPOLLOUT});
    if (interest != interest_) {
      interest_ = interest;
      owner_.loop_.change(socket_.get(), interest, *this);
    }
  }

 private:
  void read(TimePoint now) {
    auto& buffer = owner_.input_;
    const auto count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (count > 0) {
      session_.receive(ByteView(buffer).first(static_cast<std::size_t>(count)), now);
    } else if (count == 0) {
      session_.finish();  // the client may still be reading
    } else if (errno != EAGAIN && errno != EINTR) {
      over_ = true;
    }
  }

  TcpPort& owner_;
  Descriptor socket_;
  Session session_;
  std::uint32_t interest_ = EPOLLIN;
  bool writable_ = true;
  bool over_ = false;
};

TcpPort::TcpPort(EventLoop& loop, Device& device, const Log& log, const Endpoint& endpoint)
    : loop_(loop), device_(device), log_(log), endpoint_(endpoint), listener_(openListener(endpoint)) {
  sockaddr_in bound{};
  socklen_t size = sizeof bound;
  if (getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&bound), &size) == 0) {
    endpoint_.port = ntohs(bound.sin_port);
  }
  name_ = endpoint_.text();
  loop_.add(listener_.get(), EPOLLIN, *this);
}

TcpPort::~TcpPort() {
  connections_.clear();
  loop_.remove(listener_.get());
}

void TcpPort::ready(std::uint32_t, TimePoint now) {
  touched_ = true;
  if (paused_until_ == kNever) {
    accept();
    if (errno == EMFILE || errno == ENFILE) {
      pause(now + kAcceptPause);
    }
  }
}

void TcpPort::accept() {
  for (;;) {
    errno = 0;
    Descriptor socket(accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket) {
      return;
    }
    if (connections_.size() >= kMostConnections) {
      log_.event(name_, "refuses a connection: " + std::to_string(kMostConnections) + " are open");
      continue;
    }
    setOption(socket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    connections_.push_back(std::make_unique<Connection>(*this, std::move(socket)));
    log_.event(name_, "connected");
  }
}

void TcpPort::pause(TimePoint until) {
  loop_.change(listener_.get(), 0, *this);
  paused_until_ = until;
}

void TcpPort::reboot(TimePoint now) {
  log_.event(name_, "reboots");
  rebooting_ = true;
  pause(now + kRebootTime);
  for (const auto& connection : connections_) {
    connection->session().finish();
  }
}

void TcpPort::service(TimePoint now) {
  touched_ = false;
  device_.tick(now);
  for (const auto& connection : connections_) {
    connection->session().advance(now);
  }
  if (device_.rebootPending() && !rebooting_) {
    reboot(now);
  }
  for (const auto& connection : connections_) {
    connection->flush();
  }
  const bool resumes = paused_until_ <= now;
  // Whoever has not read the reply to the reboot by then is cut off.
  connections_.remove_if([&](const auto& connection) {
    const bool gone = connection->over() || (resumes && rebooting_);
    if (gone) {
      log_.event(name_, "disconnected");
    }
    return gone;
  });
  if (resumes) {
    paused_until_ = kNever;
    rebooting_ = false;
    device_.rebooted();
    loop_.change(listener_.get(), EPOLLIN, *this);
  }
  due_ = std::min(device_.due(now), paused_until_);
  for (const auto& connection : connections_) {
    due_ = std::min(due_, connection->session().due());
  }
}

}  // namespace qvx::bench
