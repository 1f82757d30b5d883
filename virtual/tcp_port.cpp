#include "virtual/tcp_port.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace qvx::bench {
namespace {

constexpr std::chrono::milliseconds kAcceptPause{100};  // after running out of descriptors
constexpr std::size_t kMostConnections = 64;
constexpr int kFreePairAttempts = 50;

}  // namespace

class TcpPort::Connection final : public EventHandler {
 public:
  Connection(TcpPort& owner, const Listener& listener, Descriptor socket, std::uint32_t peer)
      : owner_(owner),
        for_data_(&listener == &owner.data_),
        peer_(peer),
        name_(listener.name),
        socket_(std::move(socket)),
        session_(owner.device_, owner.log_, name_) {
    if (owner_.data_.socket) {
      session_.streamOver(nullptr);
    }
    owner_.loop_.add(socket_.get(), interest_, *this);
  }
  ~Connection() override { owner_.loop_.remove(socket_.get()); }

  Session& session() { return session_; }
  const std::string& name() const { return name_; }
  bool over() const { return over_ || session_.done(); }

  // Whether it is a data connection that has not been asked before.
  bool newForData() { return for_data_ && std::exchange(new_, false); }
  // Whether the data connection `data` may belong to this one.
  bool fits(const Connection& data) const { return !for_data_ && partner_ == nullptr && peer_ == data.peer_; }
  void pair(Connection& data) {
    partner_ = &data;
    data.partner_ = this;
    session_.streamOver(&data.session_);
  }
  void part() {
    if (partner_ != nullptr) {
      Connection& command = for_data_ ? *partner_ : *this;
      command.session_.streamOver(nullptr);
      owner_.device_.forget(command.partner_->session_);
      partner_->partner_ = nullptr;
      partner_ = nullptr;
    }
  }

  void ready(std::uint32_t events, TimePoint now) override {
    owner_.touch();
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
      if (!for_data_) {  // a device takes no requests where it sends data
        session_.receive(ByteView(buffer).first(static_cast<std::size_t>(count)), now);
      }
    } else if (count == 0) {
      session_.finish();  // the client may still be reading
    } else if (errno != EAGAIN && errno != EINTR) {
      over_ = true;
    }
  }

  TcpPort& owner_;
  const bool for_data_;
  const std::uint32_t peer_;  // IPv4 address
  const std::string name_;
  Descriptor socket_;
  Session session_;
  bool new_ = true;
  Connection* partner_ = nullptr;  // the other one of a client's two
  std::uint32_t interest_ = EPOLLIN;
  bool writable_ = true;
  bool over_ = false;
};

// Both ports, or none. When any port will do, one is chosen whose data port is free too.
TcpPort::Listeners TcpPort::openListeners(const Endpoint& endpoint, bool with_data) {
  for (int attempts = 1;; ++attempts) {
    Listeners listeners{Listener(endpoint), {}};
    if (!with_data) {
      return listeners;
    }
    const auto data = listeners.command.endpoint.data();
    try {
      if (!data) {
        throw std::system_error(EADDRNOTAVAIL, std::generic_category(), "the data port after " + endpoint.text());
      }
      listeners.data = Listener(*data);
      return listeners;
    } catch (const std::system_error&) {
      if (endpoint.port != 0 || attempts == kFreePairAttempts) {
        throw;
      }
    }
  }
}

TcpPort::TcpPort(EventLoop& loop, Device& device, const Log& log, const Endpoint& endpoint)
    : loop_(loop), device_(device), log_(log) {
  listen(openListeners(endpoint, device.board().wireless));
}

TcpPort::~TcpPort() {
  connections_.clear();
  for (const Listener* listener : {&command_, &data_}) {
    if (listener->socket) {
      loop_.remove(listener->socket.get());
    }
  }
}

std::vector<std::string> TcpPort::places() const {
  return {command_.name + (data_.socket ? " " + data_.name : "")};
}

void TcpPort::listen(Listeners listeners) {
  for (const auto& [old, fresh] : {std::pair(&command_, &listeners.command), std::pair(&data_, &listeners.data)}) {
    if (old->socket) {
      loop_.remove(old->socket.get());
    }
    *old = std::move(*fresh);
    if (old->socket) {
      loop_.add(old->socket.get(), EPOLLIN, *this);
    }
  }
}

void TcpPort::watchListeners(std::uint32_t events) {
  for (const Listener* listener : {&command_, &data_}) {
    if (listener->socket) {
      loop_.change(listener->socket.get(), events, *this);
    }
  }
}

void TcpPort::ready(std::uint32_t, TimePoint now) {
  touch();
  if (paused_until_ == kNever && !accept()) {
    pause(now + kAcceptPause);
  }
}

bool TcpPort::accept() {
  if (!data_.socket) {
    return acceptFrom(command_);
  }
  // A client connects for commands first: once its data connection has been accepted, the other one is here or waiting.
  const bool all = acceptFrom(command_) && acceptFrom(data_) && acceptFrom(command_);
  pairNewDataConnections();
  return all;
}

bool TcpPort::acceptFrom(const Listener& listener) {
  for (;;) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    Descriptor socket(
        accept4(listener.socket.get(), reinterpret_cast<sockaddr*>(&peer), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket) {
      return errno != EMFILE && errno != ENFILE;
    }
    if (connections_.size() >= kMostConnections) {
      log_.event(listener.name, "refuses a connection: " + std::to_string(kMostConnections) + " are open");
      continue;
    }
    setSocketOption(socket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    connections_.push_back(std::make_unique<Connection>(*this, listener, std::move(socket), endpointOf(peer).address));
    log_.event(listener.name, "connected");
  }
}

void TcpPort::pairNewDataConnections() {
  for (const auto& data : connections_) {
    if (data->newForData()) {
      const auto command = std::find_if(connections_.rbegin(), connections_.rend(),
                                        [&](const auto& candidate) { return candidate->fits(*data); });
      if (command != connections_.rend()) {
        (*command)->pair(*data);
      }
    }
  }
}

void TcpPort::pause(TimePoint until) {
  watchListeners(0);
  paused_until_ = until;
}

void TcpPort::reboot(TimePoint now) {
  log_.event(command_.name, "reboots");
  rebooting_ = true;
  pause(now + kRebootTime);
  for (const auto& connection : connections_) {
    connection->session().finish();
  }
}

void TcpPort::comeBack() {
  paused_until_ = kNever;
  watchListeners(EPOLLIN);
  if (std::exchange(rebooting_, false)) {
    device_.rebooted();
    if (const std::uint32_t address = device_.board().addresses.ip; address != command_.endpoint.address) {
      moveTo(address);
    }
  }
}

// Only within loopback, so that nobody else on the network can be made to see the device.
void TcpPort::moveTo(std::uint32_t address) {
  const Endpoint target{address, command_.endpoint.port};
  if (!target.loopback()) {
    log_.event(command_.name, "stays here: " + target.text() + " is not a loopback address");
    return;
  }
  try {
    listen(openListeners(target, data_.socket.get() >= 0));
    log_.event(command_.name, "listens here now");
  } catch (const std::system_error& error) {
    log_.event(command_.name, std::string("stays here: ") + error.what());
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
  for (const auto& connection : connections_) {
    if (connection->over()) {
      connection->part();
    }
  }
  const bool resumes = paused_until_ <= now;
  // Whoever has not read the reply to the reboot by then is cut off.
  connections_.remove_if([&](const auto& connection) {
    const bool gone = connection->over() || (resumes && rebooting_);
    if (gone) {
      log_.event(connection->name(), "disconnected");
    }
    return gone;
  });
  if (resumes) {
    comeBack();
  }
  due_ = std::min(device_.due(now), paused_until_);
  for (const auto& connection : connections_) {
    due_ = std::min(due_, connection->session().due());
  }
}

}  // namespace qvx::bench
