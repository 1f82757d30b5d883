#include "protocol/wifi_device.h"

#include "core/constants.h"
#include "transport/tcp.h"

namespace qvx {

WifiDevice::WifiDevice(ProductId product, bool verbose)
    : NetworkDevice(product, verbose, "WifiDevice"),
      data_slot_(std::make_shared<TransportSlot>(std::make_shared<TCPClient>())),
      data_(add({.thread_name = "qvx-recv-data",
                 .read_size = TCP_DATA_LENGTH_MAX,
                 .client = data_slot_,
                 .file = fileInPools()})) {}

WifiDevice::~WifiDevice() {
  close();
}

bool WifiDevice::connect(const Argument& ip_addr, const Argument& port, const Argument& cmd_port,
                         std::optional<bool> verbose) {
  const std::string address = checkedText(ip_addr, "ip_addr");
  const int data_number = checkedRange(port, "port", 1, 65535);
  const int command_number = checkedRange(cmd_port, "cmd_port", 1, 65535);
  open({.identifier = address,
        .open =
            [slot = commandSlot(), first = connecting(commandSlot(), address, command_number),
             second = connecting(data_slot_, address, data_number)] {
              first();
              try {
                second();
              } catch (...) {
                if (const auto command = slot->get()) {
                  command->disconnect();
                }
                throw;
              }
            },
        .verbose = verbose});
  return true;
}

void WifiDevice::disconnect(std::optional<bool> verbose) {
  if (!forked()) {
    connection().disconnect(verbose);
  }
}

}  // namespace qvx
