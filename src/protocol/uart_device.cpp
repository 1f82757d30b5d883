#include "protocol/uart_device.h"

#include "core/constants.h"
#include "transport/tcp.h"
#include "transport/uart.h"

#include <limits>

namespace qvx {

UARTDevice::UARTDevice(ProductId product, bool verbose, const Argument& baudrate)
    : Device({.product = product,
              .verbose = verbose,
              .handle_name = "UARTDevice",
              .connection_error = ErrorId::UARTConnectionError}),
      baudrate_(
          checkedRange(baudrate, "baudrate", 1, std::numeric_limits<int>::max(), ErrorId::UARTBaudRateNotSupportError)),
      command_(add({.thread_name = "qvx-recv-cmd",
                    .read_size = UART_PKT_LENGTH_MAX,
                    .client = commandSlot(),
                    .file = fileInPools()})) {
  setClientCmd(std::make_shared<UARTClient>());
  sayOpened();
}

UARTDevice::~UARTDevice() {
  close();
}

bool UARTDevice::connect(const Argument& port) {
  const std::string name = checkedText(port, "port");
  open({.identifier = name, .open = [name, place = tcpPlace(name), baudrate = baudrate_, slot = commandSlot()] {
          if (place) {
            const auto client = std::make_shared<TCPClient>();
            slot->set(client);
            client->connect(place->ip, place->port);
            return;
          }
          auto client = slot->get();
          if (std::dynamic_pointer_cast<TCPClient>(client)) {
            client = std::make_shared<UARTClient>();
            slot->set(client);
          }
          if (!client) {
            fail(ErrorId::UARTConnectionError, "This device has no transport to connect.");
          }
          client->connect(name, baudrate);
        }});
  return true;
}

}  // namespace qvx
