// The roads whose far end is a file descriptor of the test: Ethernet, both channels of Wi-Fi, serial lines.
#include "protocol/network_device.h"
#include "protocol/uart_device.h"
#include "protocol/wifi_device.h"
#include "tests/cpp/links/road.h"
#include "tests/cpp/transport/loopback.h"
#include "tests/cpp/transport/serial_line.h"
#include "transport/tcp.h"
#include "transport/uart.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kImpatient = 300ms;
constexpr int kPatienceMs = 20'000;

// Writes all of it; false when the other side is gone. Of a serial line nobody else would tell: its buffer fills up.
bool writeAll(int fd, ByteView bytes) {
  while (!bytes.empty()) {
    auto count = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno == ENOTSOCK) {
      count = ::write(fd, bytes.data(), bytes.size());
    }
    pollfd writable{fd, POLLOUT, 0};
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EAGAIN || ::poll(&writable, 1, -1) < 0 || (writable.revents & POLLHUP) != 0) {
      return false;
    }
  }
  return true;
}

Bytes readSome(int fd) {
  pollfd readable{fd, POLLIN, 0};
  if (::poll(&readable, 1, kPatienceMs) != 1) {
    return {};
  }
  Bytes bytes(65536);
  const auto count = ::read(fd, bytes.data(), bytes.size());
  bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return bytes;
}

bool cutSocket(Peer& peer, Cut how) {
  switch (how) {
    case Cut::Closed:
      peer.close();
      return true;
    case Cut::Reset:
      peer.reset();
      return true;
    case Cut::HalfClosed:
      return ::shutdown(peer.fd(), SHUT_WR) == 0;
  }
  return false;
}

// A listener whose queue is full, so that the kernel leaves further requests without an answer.
struct DeafListener {
  Listener listener{0};
  std::vector<Descriptor> queued;
  DeafListener() {
    for (int i = 0; i < 4; ++i) {
      queued.push_back(listener.knock());
    }
  }
};

int closedPort() {
  Listener listener;
  return listener.port();
}

// Connects that no network device gets, as a function of address and port.
template <class Connect>
std::vector<std::function<void()>> hopeless(const Connect& connect) {
  return {
      [=] { connect("127.0.0.1", closedPort()); },
      [=] { connect("255.255.255.255", 7); },  // the kernel has no way there for a connection
      [=] { connect("localhost", 7); },
  };
}

class EthernetRoad : public Road {
 public:
  Device& device() override { return handle_; }
  Channel& channel() override { return handle_.commandChannel(); }
  ErrorId connectionError() const override { return ErrorId::NetworkConnectionError; }
  ErrorId lostError() const override { return ErrorId::NetworkConnectionLostError; }
  void connect() override {
    handle_.connect(kLoopback, listener_.port());
    peer_ = listener_.accept();
  }
  std::vector<std::function<void()>> hopelessConnects() override {
    return hopeless([this](const std::string& address, int port) { handle_.connect(address, port); });
  }
  std::function<void()> longConnect() override {
    return [this] { handle_.connect(kLoopback, deaf_.listener.port()); };
  }
  bool becomeImpatient() override {
    handle_.setClientCmd(std::make_shared<TCPClient>(kImpatient));
    return true;
  }
  bool cut(Cut how) override { return cutSocket(peer_, how); }
  bool send(ByteView bytes) override { return writeAll(peer_.fd(), bytes); }
  Bytes receive() override { return readSome(peer_.fd()); }

 private:
  Listener listener_{64, 4096};
  DeafListener deaf_;
  Peer peer_{-1};
  NetworkDevice handle_{ProductId::None, false};
};

class WifiRoad : public Road {
 public:
  explicit WifiRoad(bool on_data) : on_data_(on_data) {}
  Device& device() override { return handle_; }
  Channel& channel() override { return on_data_ ? handle_.dataChannel() : handle_.commandChannel(); }
  ErrorId connectionError() const override { return ErrorId::NetworkConnectionError; }
  ErrorId lostError() const override { return ErrorId::NetworkConnectionLostError; }
  void connect() override {
    handle_.connect(kLoopback, data_.port(), commands_.port());
    command_peer_ = commands_.accept();
    data_peer_ = data_.accept();
  }
  void disconnect() override { handle_.disconnect({}); }
  std::vector<std::function<void()>> hopelessConnects() override {
    return hopeless([this](const std::string& address, int port) {
      if (!on_data_ || address != kLoopback) {
        handle_.connect(address, data_.port(), port);
        return;
      }
      const bool connected = channel().connected();
      try {
        handle_.connect(address, port, commands_.port());
      } catch (...) {
        EXPECT_TRUE(connected || commands_.accept().receive().empty());  // put away again
        throw;
      }
    });
  }
  std::function<void()> longConnect() override {
    return [this] {
      const int command_port = on_data_ ? commands_.port() : deaf_.listener.port();
      handle_.connect(kLoopback, deaf_.listener.port(), command_port);
    };
  }
  bool becomeImpatient() override {
    handle_.setClientCmd(std::make_shared<TCPClient>(kImpatient));
    return !on_data_;
  }
  bool cut(Cut how) override { return cutSocket(on_data_ ? data_peer_ : command_peer_, how); }
  bool send(ByteView bytes) override { return writeAll((on_data_ ? data_peer_ : command_peer_).fd(), bytes); }
  Bytes receive() override { return readSome(command_peer_.fd()); }

 private:
  const bool on_data_;
  Listener commands_{64, 4096};
  Listener data_;
  DeafListener deaf_;
  Peer command_peer_{-1};
  Peer data_peer_{-1};
  WifiDevice handle_{ProductId::None, false};
};

class SerialRoad : public Road {
 public:
  Device& device() override { return handle_; }
  Channel& channel() override { return handle_.commandChannel(); }
  ErrorId connectionError() const override { return ErrorId::UARTConnectionError; }
  ErrorId lostError() const override { return ErrorId::UARTConnectionError; }
  void connect() override {
    line_.emplace();
    EXPECT_EQ(::fcntl(line_->fd(), F_SETFL, O_NONBLOCK), 0);
    handle_.connect(line_->name());
  }
  std::vector<std::function<void()>> hopelessConnects() override {
    return {
        [this] { handle_.connect("/dev/no such port"); },
        [this] { handle_.connect("/dev/null"); },
        [this] { handle_.connect("/dev"); },
        [this] {
          const SerialLine line;
          UARTClient other;
          other.connect(line.name(), 115'200);
          handle_.connect(line.name());
        },
    };
  }
  bool becomeImpatient() override {
    handle_.setClientCmd(std::make_shared<UARTClient>(kImpatient));
    return true;
  }
  bool cut(Cut how) override {
    if (how != Cut::Closed) {
      return false;
    }
    line_->unplug();
    return true;
  }
  bool send(ByteView bytes) override { return writeAll(line_->fd(), bytes); }
  Bytes receive() override { return readSome(line_->fd()); }

 private:
  std::optional<SerialLine> line_;
  UARTDevice handle_{ProductId::None, false};
};

}  // namespace

std::vector<RoadChoice> roads() {
  return {
      {"Ethernet", [] { return std::make_unique<EthernetRoad>(); }},
      {"WifiCommands", [] { return std::make_unique<WifiRoad>(false); }},
      {"WifiData", [] { return std::make_unique<WifiRoad>(true); }},
      {"Serial", [] { return std::make_unique<SerialRoad>(); }},
  };
}

}  // namespace qvx::test
