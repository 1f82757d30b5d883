#include "protocol/usb_device.h"

#include "core/constants.h"
#include "transport/tcp.h"
#include "transport/usb.h"

namespace qvx {

USBDevice::USBDevice(ProductId product, bool verbose)
    : Device(product, verbose, "USBDevice"),
      command_(*this, {.thread_name = "qvx-recv-cmd",
                       .read_size = USB_PKT_SIZE,
                       .connection_error = ErrorId::USBConnectionError,
                       .client = [engine = engine()] { return engine->clientCmd(); },
                       .file = fileInPools()}) {
  add(command_);
  sayOpened();
}

USBDevice::~USBDevice() {
  close();
}

bool USBDevice::connect(const Argument& serial_num) {
  const std::string& serial = checkedText(serial_num, "serial_num");
  command_.connect(serial, [&] {
    if (const auto place = tcpPlace(serial)) {
      const auto client = std::make_shared<TCPClient>();
      setClientCmd(client);
      client->connect(place->ip, place->port);
    } else {
      setClientCmd(std::make_shared<USBClient>(serial));
    }
  });
  return true;
}

}  // namespace qvx
