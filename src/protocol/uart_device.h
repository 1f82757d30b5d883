// The handle that reaches a device over a serial line.
#pragma once

#include "core/argument.h"
#include "protocol/device.h"

namespace qvx {

inline constexpr int kDefaultBaudrate = 115200;

class UARTDevice : public Device {
 public:
  // `baudrate` (1..2147483647 bit/s) is the rate of every connection. Raises InputTypeNotCorrectError when it is no
  // int, UARTBaudRateNotSupportError when it is not in range.
  explicit UARTDevice(ProductId product = ProductId::None, bool verbose = true,
                      const Argument& baudrate = kDefaultBaudrate);
  ~UARTDevice() override;

  // Opens the serial device file `port`, such as "/dev/ttyUSB0", for this handle alone. Raises UARTConnectionError.
  // "tcp://ADDRESS:PORT" is a device that is reached over TCP; NetworkConnectionError.
  bool connect(const Argument& port);

  int baudrate() const { return baudrate_; }
  Channel& commandChannel() { return command_; }
  const Channel& commandChannel() const { return command_; }

 protected:
  ErrorId lostError() const override { return ErrorId::UARTConnectionError; }

 private:
  const int baudrate_;
  Channel& command_;
};

}  // namespace qvx
