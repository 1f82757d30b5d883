#include "protocol/network_device.h"

#include "core/constants.h"
#include "transport/tcp.h"

namespace qvx {

NetworkDevice::NetworkDevice(ProductId product, bool verbose, const char* handle_name)
    : Device(product, verbose, handle_name),
      command_(*this, {.thread_name = "qvx-recv-cmd",
                       .read_size = TCP_PKT_LENGTH_MAX,
                       .connection_error = ErrorId::NetworkConnectionError,
                       .client = [engine = engine()] { return engine->clientCmd(); },
                       .file = fileInPools()}) {
  setClientCmd(std::make_shared<TCPClient>());
  add(command_);
  sayOpened();
}

NetworkDevice::~NetworkDevice() {
  close();
}

bool NetworkDevice::connect(const Argument& ip_addr, const Argument& port) {
  const std::string& address = checkedText(ip_addr, "ip_addr");
  const int number = checkedRange(port, "port", 1, 65535);
  open(command_, clientCmd(), address, number);
  return true;
}

void NetworkDevice::open(Channel& channel, const std::shared_ptr<Transport>& client, const std::string& address,
                         int port, std::optional<bool> verbose) {
  channel.connect(
      address,
      [&] {
        if (!client) {
          fail(ErrorId::NetworkConnectionError, "This device has no transport to connect.");
        }
        client->connect(address, port);
      },
      verbose);
}

}  // namespace qvx
