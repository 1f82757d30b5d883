// The handle of the Wi-Fi products: commands over one TCP connection, bulk data over another one.
#pragma once

#include "protocol/network_device.h"

namespace qvx {

// Both channels are connected or neither is, and both file into the same pools. Which of them a packet takes is the
// device's choice. The messages of the handle speak of the two as one connection.
class WifiDevice : public NetworkDevice {
 public:
  explicit WifiDevice(ProductId product = ProductId::None, bool verbose = true);
  ~WifiDevice() override;

  // Opens the command channel on `cmd_port` and the data channel on `port`, within CONNECTION_TIMEOUT seconds each.
  // When either channel was lost, both are opened anew. Blocks. Raises NetworkConnectionError. `verbose`, where given,
  // overrules the handle's own for the messages about this connection.
  bool connect(const Argument& ip_addr, const Argument& port, const Argument& cmd_port,
               std::optional<bool> verbose = {});
  // Closes both. Ends a connect in progress. Safe to repeat.
  void disconnect(std::optional<bool> verbose = {});

  // Where bulk data comes from; nullptr until there is a transport.
  std::shared_ptr<Transport> clientData() const;
  void setClientData(std::shared_ptr<Transport> client);

  Channel& dataChannel() { return data_; }
  const Channel& dataChannel() const { return data_; }

 private:
  // One channel is connected and the other is not.
  bool halved() const;

  mutable std::mutex client_mutex_;  // guards client_data_
  std::shared_ptr<Transport> client_data_;
  std::atomic<bool> pairing_{false};  // a connect is in progress
  Channel data_;
};

}  // namespace qvx
