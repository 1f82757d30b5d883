#include "protocol/usb_device.h"

#include "core/constants.h"
#include "transport/tcp.h"
#include "transport/usb.h"
#include "transport/usb_bus.h"

namespace qvx {

USBDevice::USBDevice(ProductId product, bool verbose)
    : Device({.product = product,
              .verbose = verbose,
              .handle_name = "USBDevice",
              .connection_error = ErrorId::USBConnectionError}),
      command_(add(
          {.thread_name = "qvx-recv-cmd", .read_size = USB_PKT_SIZE, .client = commandSlot(), .file = fileInPools()})) {
  sayOpened();
}

USBDevice::~USBDevice() {
  close();
}

bool USBDevice::connect(const Argument& serial_num) {
  const std::string serial = checkedText(serial_num, "serial_num");
  refuseForked(ErrorId::USBConnectionError);
  const auto place = tcpPlace(serial);
  if (!place) {
    Fiber::outside([] { getLibUSB1(); });  // its warning is the caller's
  }
  open({.identifier = serial, .open = [serial, place, slot = commandSlot()] {
          if (place) {
            const auto client = std::make_shared<TCPClient>();
            slot->set(client);
            client->connect(place->ip, place->port);
          } else {
            slot->set(std::make_shared<USBClient>(serial));
          }
        }});
  return true;
}

}  // namespace qvx
