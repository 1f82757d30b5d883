// Handles that reach a device over TCP.
#pragma once

#include "protocol/device.h"

namespace qvx {

class NetworkDevice : public Device {
 public:
  explicit NetworkDevice(ProductId product = ProductId::None, bool verbose = true);
  ~NetworkDevice() override;

  // Opens the command channel, within CONNECTION_TIMEOUT seconds; a lost connection is put away first. Blocks. Raises
  // NetworkConnectionError.
  bool connect(const Argument& ip_addr, const Argument& port);
  void disconnect() override;
  std::string connectedTo() const override;
  bool connectionLost() const override { return receiver_.state() == Receiver::State::Lost; }
  // Whether a connection stands: connect() has succeeded, disconnect() was not called since.
  bool connectStatusCmd() const { return receiver_.state() != Receiver::State::Disconnected; }
  std::string ipAddr() const;

  Receiver& receiver() { return receiver_; }

 protected:
  void closeHandle() override { receiver_.end(); }
  const char* handleName() const override { return "NetworkDevice"; }

 private:
  // Orders connect and disconnect. Held while the medium is opened, so nobody who holds the interpreter's lock may wait
  // for it.
  std::mutex connect_mutex_;
  std::atomic<bool> connecting_{false};
  mutable std::mutex name_mutex_;  // guards ip_addr_
  std::string ip_addr_;
  Receiver receiver_;
};

// The handle of the Ethernet products.
class ETHDevice : public NetworkDevice {
 public:
  using NetworkDevice::NetworkDevice;

 protected:
  const char* handleName() const override { return "ETHDevice"; }
};

}  // namespace qvx
