// The handle that reaches every device on the attached networks at once, by UDP broadcast.
#pragma once

#include "protocol/device.h"

namespace qvx {

// What arrives may come from anybody: only answers to broadcasts are filed, everything else is dropped, a program's own
// requests among it.
class BroadcastDevice : public Device {
 public:
  explicit BroadcastDevice(bool verbose = true);
  ~BroadcastDevice() override;

  // Listens for answers on UDP_RECV_PORT, on all addresses of this host, beside other programs that do. Raises
  // NetworkConnectionError.
  bool connect();

  Channel& udpChannel() { return udp_; }
  const Channel& udpChannel() const { return udp_; }

 private:
  Channel& udp_;
};

}  // namespace qvx
