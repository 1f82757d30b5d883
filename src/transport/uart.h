// Serial lines: the operating system's serial device files.
#pragma once

#include "core/constants.h"
#include "transport/descriptor_client.h"

#include <atomic>
#include <string>

namespace qvx {

// Raises UARTConnectionError for every failure of the port.
class UARTClient : public DescriptorClient {
 public:
  explicit UARTClient(std::chrono::milliseconds send_limit = kSendLimit) : DescriptorClient(kPort, send_limit) {}

  // Opens the serial device file `port` for this client alone, at `baudrate` (1..2147483647 bit/s, if the port can do
  // it), raw, 8 data bits, no parity, 1 stop bit, no flow control; returns true. The stream is empty then, and so is
  // what the system had received before; reads wait up to the read timeout. Raises UARTBaudRateNotSupportError when the
  // rate is not in range, and UARTConnectionError, with the reason, when the port cannot be opened, is in use, is no
  // serial port or does not take the rate, and when a connection is open already. A connection known to be lost need
  // not be disconnected before.
  bool connect(const std::string& port, int baudrate) override;

  // A line holds nothing back: what has not come for a second was lost on it.
  std::chrono::milliseconds longestSilence() const override { return std::chrono::seconds(1); }

  // What connect sets as the timeout of reads, in seconds; UART_READ_TIMEOUT at first. Raises InputDataNotInRangeError
  // on less than 0 and on NaN.
  double readTimeout() const { return read_timeout_s_; }
  void setReadTimeout(double timeout_s);

 private:
  static const Medium kPort;

  std::atomic<double> read_timeout_s_ = UART_READ_TIMEOUT;
};

}  // namespace qvx
