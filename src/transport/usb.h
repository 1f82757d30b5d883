// USB: bulk transfers with one device through the system's libusb-1.0.
#pragma once

#include "runtime/mutex.h"
#include "runtime/process.h"
#include "transport/client.h"
#include "transport/descriptor_client.h"
#include "transport/usb_bus.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace qvx {

// A client is one connection: its constructor opens the device, disconnect ends it for good. A thread of its own,
// asleep in the kernel until a transfer ends, hands finished transfers to those who wait for them.
//
// Threads: one reader at a time; any number of senders; disconnect, wake and setTimeout from anywhere.
//
// Fork: the child's copy of a client is closed. It raises, and leaves the parent's connection alone; the child opens a
// client of its own.
class USBClient : public Client {
 public:
  // Opens the first device with this serial number, the first of all for "default": text of 1 to 126 characters.
  // Reads wait up to 1 ms. Blocks. Raises USBConnectionError, with the reason. Passes on what the host throws when it
  // turns the warning about libusb into an error.
  explicit USBClient(const std::string& serial_num, std::chrono::milliseconds send_limit = kSendLimit);
  ~USBClient() override;

  // The device's own descriptors, as they were when it was opened; "" where it has none.
  const std::string& takeSerialNumber() const { return serial_; }
  const std::string& takeProductName() const { return product_; }
  // Where the device is, as the system's tools name it: "001/005" (bus/address); nothing when disconnected.
  std::optional<std::string> place() const;
  // The values of the descriptors' bConfigurationValue and bInterfaceNumber.
  int configuration() const { return configuration_; }
  int interface() const { return interface_; }

  // How long a read waits, in seconds from 0 up; nothing: without limit. Counts from the next read on. Raises
  // InputDataNotInRangeError on less than 0 and on NaN.
  void setTimeout(std::optional<double> timeout_s) override;
  // Writes all of `frame` as it is, without padding, as one transfer, which travels in packets of 64 bytes. No packet
  // of length zero follows a multiple of 64: a frame tells its own length. Frames of several threads follow each other
  // whole. Blocks until the device has taken it, for the send limit at most. Raises USBConnectionError when there is no
  // connection, when it breaks, and when the limit passes. A connection on which only a part of a frame went out is
  // given up, also when Ctrl-C is the cause.
  void sendPacket(ByteView frame) override;
  void sendInTurn(ByteView frame, const std::function<void()>& before) override;
  // Returns what has arrived, at most `size` bytes; nothing when the timeout passes or wake or disconnect ends the
  // wait. Raises USBConnectionError when there is no connection, and when it has broken, after the last byte that came
  // before.
  Bytes recvPacket(std::size_t size) override;
  // Cancels what is in progress, gives the interface back to the driver that had it, and closes the device. A read in
  // progress returns, a send in progress raises. Blocks for as long as the kernel needs to cancel.
  void disconnect() override;
  bool isLost() const override;
  void wake() override;

 private:
  class Link;
  // The open link. Raises USBConnectionError when there is none, or when it is that of a parent process.
  std::shared_ptr<Link> current() const;
  std::shared_ptr<Link> openLink() const;  // nullptr where there is none

  const std::chrono::milliseconds send_limit_;
  Origin origin_;
  std::string serial_;
  std::string product_;
  int configuration_ = 0;
  int interface_ = 0;
  mutable Mutex mutex_;  // nothing else is taken under it
  std::shared_ptr<Link> link_ QVX_GUARDED_BY(mutex_);
  std::optional<double> timeout_s_ QVX_GUARDED_BY(mutex_) = 0.001;
};

}  // namespace qvx
