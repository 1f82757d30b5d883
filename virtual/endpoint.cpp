#include "virtual/endpoint.h"

#include "core/address.h"
#include "core/constants.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace qvx::bench {
namespace {

Descriptor openListener(const Endpoint& endpoint) {
  Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const sockaddr_in address = socketAddress(endpoint);
  if (listener) {
    setSocketOption(listener.get(), SOL_SOCKET, SO_REUSEADDR, 1);
  }
  if (!listener || bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0 ||
      listen(listener.get(), SOMAXCONN) < 0) {
    throw std::system_error(errno, std::generic_category(), endpoint.text());
  }
  return listener;
}

}  // namespace

std::string Endpoint::text() const {
  return showIPv4(address) + ":" + std::to_string(port);
}

std::optional<Endpoint> Endpoint::data() const {
  if (port == TCP_CMD_PORT) {
    return Endpoint{address, TCP_DATA_PORT};
  }
  if (port == UINT16_MAX) {
    return std::nullopt;
  }
  return Endpoint{address, static_cast<std::uint16_t>(port + 1)};
}

sockaddr_in socketAddress(const Endpoint& endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(endpoint.address);
  address.sin_port = htons(endpoint.port);
  return address;
}

Endpoint endpointOf(const sockaddr_in& address) {
  return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

void setSocketOption(int fd, int level, int option, int value) {
  setsockopt(fd, level, option, &value, sizeof value);
}

Listener::Listener(const Endpoint& wanted) : socket(openListener(wanted)), endpoint(wanted) {
  sockaddr_in bound{};
  socklen_t size = sizeof bound;
  if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&bound), &size) == 0) {
    endpoint.port = endpointOf(bound).port;
  }
  name = endpoint.text();
}

}  // namespace qvx::bench
