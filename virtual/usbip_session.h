// One client's USB/IP connection, whatever carries its bytes: which devices there are, then the transfers of the one
// that it has imported.
#pragma once

#include "virtual/session.h"
#include "virtual/usb_function.h"

#include <deque>
#include <memory>
#include <span>
#include <string>

namespace qvx::bench {

// A device as it is offered.
struct UsbipExport {
  Device& device;
  std::string bus_id;    // "1-1"
  std::uint32_t number;  // on its bus
  UsbFunction function;
  bool imported = false;
};

// The transport owns it, feeds it what it reads, and writes output(). Malformed bytes end the connection.
class UsbipSession {
 public:
  // What it refers to must outlive it.
  UsbipSession(std::span<UsbipExport> exports, const Log& log) : exports_(exports), log_(log) {}
  ~UsbipSession();
  UsbipSession(const UsbipSession&) = delete;
  UsbipSession& operator=(const UsbipSession&) = delete;

  // False while the client does not read what it has asked for.
  bool wantsInput() const { return !ending_ && output_.size() < kBacklog; }
  void receive(ByteView bytes, TimePoint now);
  // Does what due() has announced, and moves bytes between the waiting transfers and the device.
  void advance(TimePoint now);
  // In the past when advance would get on, for there is room again.
  TimePoint due() const;

  ByteView output() const { return output_; }
  void written(std::size_t count);
  // The client has been told all that it will be told; or it is not worth an answer.
  bool done() const { return broken_ || (ending_ && output_.empty()); }

  // nullptr before the import.
  const UsbipExport* imported() const { return imported_; }

 private:
  static constexpr std::size_t kBacklog = 256 << 10;
  static constexpr std::size_t kLongestTransfer = 1 << 20;
  // Beyond what the host's controller would keep in flight, for one device.
  static constexpr std::size_t kMostWaiting = 4096;
  static constexpr std::size_t kMostBytesWaiting = 4 << 20;
  // What the device takes at once: replies may be much longer than their requests.
  static constexpr std::size_t kPiece = 4096;

  struct Transfer {
    std::uint32_t number;
    std::size_t length;  // of an IN transfer: how much the client takes
    Bytes bytes;
    std::size_t taken = 0;  // of an OUT transfer: bytes that the device has
  };

  // Each handles one message at the start of `bytes` and returns its size; 0 when it is not complete yet.
  std::size_t operation(ByteView bytes);
  std::size_t transferMessage(ByteView bytes);
  std::size_t submit(ByteView bytes);
  void submitControl(std::uint32_t number, ByteView setup, std::size_t room);
  void unlink(std::uint32_t number, std::uint32_t victim);

  void listDevices();
  void import(ByteView bus_id);
  void complete(std::uint32_t number, int status, std::size_t actual, ByteView data);
  bool isOverfull() const;

  std::span<UsbipExport> exports_;
  const Log& log_;
  UsbipExport* imported_ = nullptr;
  std::unique_ptr<Session> session_;
  Bytes input_;
  Bytes output_;
  std::deque<Transfer> in_;   // the first may hold packets already
  std::deque<Transfer> out_;  // wait until the device takes more
  std::size_t out_bytes_ = 0;
  bool ending_ = false;
  bool broken_ = false;
};

}  // namespace qvx::bench
