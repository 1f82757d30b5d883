#include "virtual/usbip_port.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace qvx::bench {
namespace {

constexpr std::chrono::milliseconds kAcceptPause{100};  // after running out of descriptors
constexpr std::size_t kMostListings = 64;               // connections beside those that have a device

}  // namespace

class UsbipPort::Connection final : public EventHandler {
 public:
  Connection(UsbipPort& owner, Descriptor socket)
      : owner_(owner), socket_(std::move(socket)), session_(owner.exports_, owner.log_) {
    owner_.loop_.add(socket_.get(), interest_, *this);
  }
  ~Connection() override { owner_.loop_.remove(socket_.get()); }

  UsbipSession& session() { return session_; }
  bool over() const { return over_ || session_.done(); }
  void end() { over_ = true; }

  void ready(std::uint32_t events, TimePoint now) override {
    owner_.touch();
    if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) {
      read(now);
    }
  }

  // Writes once; the rest, if any, when the socket is writable again, so that no client holds up another.
  void flush() {
    const ByteView bytes = session_.output();
    if (!bytes.empty() && !over_) {
      const auto count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count >= 0) {
        session_.written(static_cast<std::size_t>(count));
      } else if (errno != EAGAIN && errno != EINTR) {
        over_ = true;
      }
    }
    const std::uint32_t interest = (session_.wantsInput() ? std::uint32_t{EPOLLIN} : 0U) |
                                   (session_.output().empty() ? 0U : std::uint32_t{EPOLLOUT});
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
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      over_ = true;
    }
  }

  UsbipPort& owner_;
  Descriptor socket_;
  UsbipSession session_;
  std::uint32_t interest_ = EPOLLIN;
  bool over_ = false;
};

UsbipPort::UsbipPort(EventLoop& loop, const Log& log, const Endpoint& endpoint, const std::vector<Device*>& devices)
    : loop_(loop), log_(log), listener_(endpoint), back_at_(devices.size(), kNever) {
  for (std::size_t i = 0; i < devices.size(); ++i) {
    exports_.push_back({*devices[i], "1-" + std::to_string(i + 1), static_cast<std::uint32_t>(i + 1),
                        UsbFunction(devices[i]->board())});
  }
  loop_.add(listener_.socket.get(), EPOLLIN, *this);
}

UsbipPort::~UsbipPort() {
  connections_.clear();
  loop_.remove(listener_.socket.get());
}

std::vector<std::string> UsbipPort::places() const {
  std::vector<std::string> places;
  for (const UsbipExport& device : exports_) {
    places.push_back(listener_.name + " " + device.bus_id);
  }
  return places;
}

void UsbipPort::ready(std::uint32_t, TimePoint now) {
  touch();
  for (;;) {
    Descriptor socket(accept4(listener_.socket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket) {
      if (errno == EMFILE || errno == ENFILE) {
        paused_until_ = now + kAcceptPause;
        loop_.change(listener_.socket.get(), 0, *this);
      }
      return;
    }
    if (connections_.size() < exports_.size() + kMostListings) {
      setSocketOption(socket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
      connections_.push_back(std::make_unique<Connection>(*this, std::move(socket)));
    }
  }
}

void UsbipPort::service(TimePoint now) {
  touched_ = false;
  if (paused_until_ <= now) {
    paused_until_ = kNever;
    loop_.change(listener_.socket.get(), EPOLLIN, *this);
  }
  for (const UsbipExport& device : exports_) {
    device.device.tick(now);
  }
  for (const auto& connection : connections_) {
    connection->session().advance(now);
    connection->flush();
  }
  restartDevices(now);
  connections_.remove_if([&](const auto& connection) {
    const UsbipExport* const device = connection->session().imported();
    if (connection->over() && device != nullptr) {
      log_.event(device->bus_id, "released");
    }
    return connection->over();
  });
  due_ = paused_until_;
  for (std::size_t i = 0; i < exports_.size(); ++i) {
    due_ = std::min({due_, exports_[i].device.due(now), back_at_[i]});
  }
  for (const auto& connection : connections_) {
    due_ = std::min(due_, connection->session().due());
  }
}

// The reply to the reboot goes out, then the device is unplugged for a while.
void UsbipPort::restartDevices(TimePoint now) {
  for (std::size_t i = 0; i < exports_.size(); ++i) {
    UsbipExport& device = exports_[i];
    if (device.device.rebootPending() && back_at_[i] == kNever) {
      log_.event(device.bus_id, "reboots");
      back_at_[i] = now + kRebootTime;
    }
    if (back_at_[i] > now) {
      continue;
    }
    back_at_[i] = kNever;
    device.device.rebooted();
    for (const auto& connection : connections_) {
      if (connection->session().imported() == &device) {
        connection->end();
      }
    }
  }
}

}  // namespace qvx::bench
