// What the TCP and UDP clients share: a socket.
#pragma once

#include "transport/descriptor_client.h"

#include <string>

namespace qvx {

// A read that finds nothing ends after this time.
inline constexpr double kReadTimeoutS = 1;

// Raises NetworkConnectionError: `what` could not be done, and why.
[[noreturn]] void failToConnect(const std::string& what, const std::string& reason);
// The system's text for a value of errno.
std::string describeErrno(int error);

// Raises NetworkConnectionError from a connect that fails, NetworkConnectionLostError from everything else.
class NetworkClient : public DescriptorClient {
 public:
  explicit NetworkClient(std::chrono::milliseconds send_limit = kSendLimit) : DescriptorClient(kSocket, send_limit) {}

 private:
  static const Medium kSocket;
};

}  // namespace qvx
