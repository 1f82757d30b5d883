// Handles that reach a device over TCP.
#pragma once

#include "core/argument.h"
#include "protocol/device.h"

namespace qvx {

class NetworkDevice : public Device {
 public:
  explicit NetworkDevice(ProductId product = ProductId::None, bool verbose = true,
                         const char* handle_name = "NetworkDevice");
  ~NetworkDevice() override;

  // Opens the command channel, within CONNECTION_TIMEOUT seconds. Blocks. Raises NetworkConnectionError.
  bool connect(const Argument& ip_addr, const Argument& port);

  Channel& commandChannel() { return command_; }
  const Channel& commandChannel() const { return command_; }

 protected:
  // What connects the transport that is in the slot when it is called; raises NetworkConnectionError also where there
  // is none.
  static std::function<void()> connecting(std::shared_ptr<TransportSlot> slot, const std::string& address, int port);

 private:
  Channel& command_;
};

// The handle of the Ethernet products.
class ETHDevice : public NetworkDevice {
 public:
  explicit ETHDevice(ProductId product = ProductId::None, bool verbose = true)
      : NetworkDevice(product, verbose, "ETHDevice") {}
};

}  // namespace qvx
