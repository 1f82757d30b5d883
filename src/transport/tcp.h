// TCP: the command channel of Ethernet and Wi-Fi devices, and the data channel of the latter.
#pragma once

#include "core/constants.h"
#include "transport/network.h"

#include <optional>
#include <string>

namespace qvx {

class TCPClient : public NetworkClient {
 public:
  using NetworkClient::NetworkClient;

  // Connects to `ip`, an IPv4 address in dotted form, on `port` (1..65535), and waits up to `timeout_s` seconds for the
  // answer, CONNECTION_TIMEOUT where it is not given; returns true. The stream is empty then, and reads wait up to 1 s.
  // Raises InputDataNotInRangeError when the port is not in range or the timeout is NaN, NetworkConnectionError when
  // the address has another form, when a connection is open already, and when none comes about; disconnect from another
  // thread ends the wait so. Blocks. A connection known to be lost need not be disconnected before.
  bool connect(const std::string& ip, int port, double timeout_s);
  bool connect(const std::string& ip, int port) override { return connect(ip, port, CONNECTION_TIMEOUT); }

  void receive(Intake& intake) override;
  std::shared_ptr<const Descriptor> watchable() const override;
  bool receiveNow(const Descriptor& descriptor, Intake& intake) override;
};

struct TCPPlace {
  std::string ip;
  int port;
};

// "tcp://ADDRESS:PORT", in the place of what identifies a device on another medium: such as a virtual device. Nothing
// when the text begins in another way. Raises NetworkConnectionError when no port number follows the address.
std::optional<TCPPlace> tcpPlace(const std::string& identifier);

}  // namespace qvx
