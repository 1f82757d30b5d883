#include "transport/network.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace qvx {

void failToConnect(const std::string& what, const std::string& reason) {
  fail(ErrorId::NetworkConnectionError,
       std::string(errorKind(ErrorId::NetworkConnectionError).message) + " " + what + ": " + reason);
}

std::string describeErrno(int error) {
  return std::generic_category().message(error);
}

// On a socket whose peer has ended the connection, shutdown has nothing left to do.
const DescriptorClient::Medium NetworkClient::kSocket{
    .connection_error = ErrorId::NetworkConnectionError,
    .lost_error = ErrorId::NetworkConnectionLostError,
    .lost_reason = nullptr,
    .reads_to_the_end = true,
    .read = [](int fd, void* to, std::size_t size) { return ::recv(fd, to, size, MSG_DONTWAIT); },
    .write = [](int fd, const void* from,
                std::size_t size) { return ::send(fd, from, size, MSG_NOSIGNAL | MSG_DONTWAIT); },
    .drop = nullptr,
    .shutDown = [](int fd) { return ::shutdown(fd, SHUT_RDWR) == 0 || errno == ENOTCONN; },
    .unheard =
        [](int fd) {
          int owed = 0;
          tcp_info state{};
          socklen_t size = sizeof state;
          const bool known = ::ioctl(fd, SIOCOUTQ, &owed) == 0 && owed > 0 &&
                             ::getsockopt(fd, IPPROTO_TCP, TCP_INFO, &state, &size) == 0;
          const auto heard = std::min(state.tcpi_last_ack_recv, state.tcpi_last_data_recv);
          return std::chrono::milliseconds(known ? std::max(heard, 1U) : 0);
        },
};

}  // namespace qvx
