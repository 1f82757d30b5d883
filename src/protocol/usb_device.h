// The handle that reaches a device over USB.
#pragma once

#include "core/argument.h"
#include "protocol/device.h"

namespace qvx {

class USBDevice : public Device {
 public:
  explicit USBDevice(ProductId product = ProductId::None, bool verbose = true);
  ~USBDevice() override;

  // Makes the client, which finds and opens the device with this serial number, the first of all for "default". Blocks.
  // Raises USBConnectionError. "tcp://ADDRESS:PORT" is a device that is reached over TCP; NetworkConnectionError.
  bool connect(const Argument& serial_num);

  Channel& commandChannel() { return command_; }
  const Channel& commandChannel() const { return command_; }

 protected:
  ErrorId lostError() const override { return ErrorId::USBConnectionError; }

 private:
  Channel& command_;
};

}  // namespace qvx
