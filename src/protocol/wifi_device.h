// The handle of the Wi-Fi products: commands over one TCP connection, bulk data over another one.
#pragma once

#include "protocol/network_device.h"

namespace qvx {

// The two channels are one connection, lost when either is lost, and both file into the same pools. Which of them a
// packet takes is the device's choice.
class WifiDevice : public NetworkDevice {
 public:
  explicit WifiDevice(ProductId product = ProductId::None, bool verbose = true);
  ~WifiDevice() override;

  // Opens the command channel on `cmd_port` and the data channel on `port`, within CONNECTION_TIMEOUT seconds each.
  // Blocks. Raises NetworkConnectionError. `verbose`, where given, overrules the handle's own for the messages about
  // this connection.
  bool connect(const Argument& ip_addr, const Argument& port, const Argument& cmd_port,
               std::optional<bool> verbose = {});
  // Closes both. Ends a connect in progress. Safe to repeat.
  void disconnect(std::optional<bool> verbose = {});

  // Where bulk data comes from; nullptr until there is a transport.
  std::shared_ptr<Transport> clientData() const { return data_slot_->get(); }
  void setClientData(std::shared_ptr<Transport> client) { data_slot_->set(std::move(client)); }

  Channel& dataChannel() { return data_; }
  const Channel& dataChannel() const { return data_; }

 private:
  const std::shared_ptr<TransportSlot> data_slot_;
  Channel& data_;
};

}  // namespace qvx
