#include "protocol/network_device.h"

#include "core/constants.h"
#include "transport/tcp.h"

namespace qvx {

NetworkDevice::NetworkDevice(ProductId product, bool verbose)
    : Device(product, verbose),
      receiver_(
          "qvx-recv-cmd", TCP_PKT_LENGTH_MAX, [this] { return clientCmd(); },
          [this](Frame frame) { putToDataPool(frame.code, std::move(frame.payload)); }, killed) {
  setClientCmd(std::make_shared<TCPClient>());
  say("Opened handle (" + deviceName() + ")");
}

NetworkDevice::~NetworkDevice() {
  close();
}

bool NetworkDevice::connect(const Argument& ip_addr, const Argument& port) {
  const std::string& address = checkedText(ip_addr, "ip_addr");
  const int number = checkedRange(port, "port", 1, 65535);
  if (connectionLost()) {
    disconnect();
  }
  {
    const std::lock_guard lock(connect_mutex_);
    if (killed) {
      fail(ErrorId::NetworkConnectionError, "This device is closed; construct a new one to connect again.");
    }
    if (connectStatusCmd()) {
      fail(ErrorId::NetworkConnectionError, "Already connected to " + ipAddr() + "; call disconnect() first.");
    }
    const auto client = clientCmd();
    connecting_ = true;
    try {
      client->connect(address, number);
    } catch (...) {
      connecting_ = false;
      throw;
    }
    connecting_ = false;
    // The receive thread is woken when it must look up; it has no reason to tick.
    client->setTimeout(std::nullopt);
    {
      const std::lock_guard name_lock(name_mutex_);
      ip_addr_ = address;
    }
    receiver_.start();
  }
  say("Connected to " + address + " (" + deviceName() + ")");
  return true;
}

void NetworkDevice::disconnect() {
  if (connecting_) {
    clientCmd()->disconnect();
  }
  {
    const std::lock_guard lock(connect_mutex_);
    if (!connectStatusCmd()) {
      return;
    }
    receiver_.stop();
  }
  say("Disconnected from " + ipAddr() + " (" + deviceName() + ")");
}

std::string NetworkDevice::connectedTo() const {
  return connectStatusCmd() ? ipAddr() : "";
}

std::string NetworkDevice::ipAddr() const {
  const std::lock_guard lock(name_mutex_);
  return ip_addr_;
}

}  // namespace qvx
