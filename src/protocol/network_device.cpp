#include "protocol/network_device.h"

#include "core/constants.h"
#include "transport/tcp.h"

namespace qvx {

NetworkDevice::NetworkDevice(ProductId product, bool verbose, const char* handle_name)
    : Device({.product = product, .verbose = verbose, .handle_name = handle_name}),
      command_(add({.thread_name = "qvx-recv-cmd",
                    .read_size = TCP_PKT_LENGTH_MAX,
                    .client = commandSlot(),
                    .file = fileInPools()})) {
  setClientCmd(std::make_shared<TCPClient>());
  sayOpened();
}

NetworkDevice::~NetworkDevice() {
  close();
}

bool NetworkDevice::connect(const Argument& ip_addr, const Argument& port) {
  const std::string& address = checkedText(ip_addr, "ip_addr");
  const int number = checkedRange(port, "port", 1, 65535);
  open({.identifier = address, .open = connecting(commandSlot(), address, number)});
  return true;
}

std::function<void()> NetworkDevice::connecting(std::shared_ptr<TransportSlot> slot, const std::string& address,
                                                int port) {
  return [slot = std::move(slot), address, port] {
    const auto client = slot->get();
    if (!client) {
      fail(ErrorId::NetworkConnectionError, "This device has no transport to connect.");
    }
    client->connect(address, port);
  };
}

}  // namespace qvx
