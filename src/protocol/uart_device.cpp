#include "protocol/uart_device.h"

#include "core/constants.h"
#include "transport/tcp.h"
#include "transport/uart.h"

#include <limits>

namespace qvx {

UARTDevice::UARTDevice(ProductId product, bool verbose, const Argument& baudrate)
    : Device(product, verbose, "UARTDevice"),
      baudrate_(
          checkedRange(baudrate, "baudrate", 1, std::numeric_limits<int>::max(), ErrorId::UARTBaudRateNotSupportError)),
      command_(*this, {.thread_name = "qvx-recv-cmd",
                       .read_size = UART_PKT_LENGTH_MAX,
                       .connection_error = ErrorId::UARTConnectionError,
                       .client = [engine = engine()] { return engine->clientCmd(); },
                       .file = fileInPools()}) {
  setClientCmd(std::make_shared<UARTClient>());
  add(command_);
  sayOpened();
}

UARTDevice::~UARTDevice() {
  close();
}

bool UARTDevice::connect(const Argument& port) {
  const std::string& name = checkedText(port, "port");
  command_.connect(name, [&] {
    if (const auto place = tcpPlace(name)) {
      const auto client = std::make_shared<TCPClient>();
      setClientCmd(client);
      client->connect(place->ip, place->port);
      return;
    }
    auto client = clientCmd();
    if (std::dynamic_pointer_cast<TCPClient>(client)) {
      client = std::make_shared<UARTClient>();
      setClientCmd(client);
    }
    if (!client) {
      fail(ErrorId::UARTConnectionError, "This device has no transport to connect.");
    }
    client->connect(name, baudrate_);
  });
  return true;
}

}  // namespace qvx
