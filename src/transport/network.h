// What the TCP and UDP clients share: a socket.
#pragma once

#include "transport/descriptor_client.h"

namespace qvx {

// Raises NetworkConnectionError from a connect that fails, NetworkConnectionLostError from everything else.
class NetworkClient : public DescriptorClient {
 public:
  explicit NetworkClient(std::chrono::milliseconds send_limit = kSendLimit) : DescriptorClient(kSocket, send_limit) {}

 private:
  static const Medium kSocket;
};

}  // namespace qvx
