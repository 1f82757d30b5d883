// Where on the network something of the bench listens.
#pragma once

#include "virtual/event_loop.h"

#include <cstdint>
#include <optional>
#include <string>

#include <netinet/in.h>

namespace qvx::bench {

struct Endpoint {
  std::uint32_t address = 0;  // IPv4, host byte order
  std::uint16_t port = 0;     // 0: any free one

  bool loopback() const { return address >> 24 == 127; }
  std::string text() const;  // "127.0.0.1:7"
  // Where the data port of a command port is: 1336 beside port 7, the next one beside others; nothing when there is
  // none.
  std::optional<Endpoint> data() const;
};

sockaddr_in socketAddress(const Endpoint& endpoint);
Endpoint endpointOf(const sockaddr_in& address);
void setSocketOption(int fd, int level, int option, int value);

// A TCP socket that listens, and where.
struct Listener {
  Listener() = default;
  // Throws std::system_error.
  explicit Listener(const Endpoint& wanted);
  Descriptor socket;
  Endpoint endpoint;
  std::string name;
};

}  // namespace qvx::bench
