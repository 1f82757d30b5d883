// What a module sees of its device: requests, streams, and who the device is.
#pragma once

#include "protocol/device.h"
#include "protocol/stream_decoder.h"

#include <string>
#include <vector>

namespace qvx {

// The payload of a reply. Reading beyond its end raises FirmwareOtherError naming the command and both lengths.
class Reply {
 public:
  Reply(int cmd, Bytes bytes) : cmd_(cmd), bytes_(std::move(bytes)) {}

  // Passes the status byte at `at` to checkFirmwareError; 0 when that did not raise.
  int status(std::size_t at) const { return checkFirmwareError(get<std::uint8_t>(at)); }
  template <WireNumber T>
  T get(std::size_t at) const {
    need(at + sizeof(T));
    return readBig<T>(bytes_, at);
  }
  // The `size` bytes from `from` on.
  ByteView field(std::size_t from, std::size_t size) const {
    need(from + size);
    return ByteView(bytes_).subspan(from, size);
  }
  // The bytes from `from` on.
  ByteView rest(std::size_t from) const {
    need(from);
    return ByteView(bytes_).subspan(from);
  }
  // Consecutive u32 fields from `from` to the end.
  std::vector<std::uint32_t> u32List(std::size_t from) const;
  // The whole reply as text: UTF-8, cut at the first NUL. Bytes that are no UTF-8 raise FirmwareOtherError.
  std::string text() const { return text(bytes_); }
  std::string text(ByteView bytes) const;

 private:
  void need(std::size_t size) const;

  int cmd_;
  Bytes bytes_;
};

class Link {
 public:
  explicit Link(Device& device) : device_(device) {}

  // Sends a command and returns its reply, sending again as the engine's rules say: `repeat` tells what that would do.
  // Raises ReceivePacketTimeoutError when none came within `timeout` seconds after it was sent, the connection's class
  // when it is lost. Blocks, or suspends a coroutine.
  Reply request(int cmd, const Bytes& payload, double timeout, Repeat repeat = Repeat::Harmless) const;
  // Sends a command that has no reply.
  void send(int cmd, const Bytes& payload) const { device_.sendPacketWithoutReply(cmd, payload); }
  // Sends a command to every device on the attached networks and returns the queue in which their answers arrive.
  // Raises NetworkConnectionLostError when nobody listens for them.
  std::shared_ptr<RawQueue> askEverybody(int cmd, const Bytes& payload) const;
  bool closed() const { return device_.data_pool_echo.closed(); }
  [[noreturn]] void failUnanswered() const { device_.failUnanswered(); }
  std::shared_ptr<RawQueue> rawQueue(int cmd, int port) const { return device_.data_pool_strm.at({cmd, port}); }
  ProductId product() const { return device_.product(); }
  std::string deviceName() const { return device_.deviceName(); }
  // Raises the medium's class when the connection is lost.
  void refuseLost() const { device_.refuseLost(); }
  void onConnection(Device::Listener listener) const { device_.onConnection(std::move(listener)); }
  // Lets a decoder, which lives as long as the device, know of connections.
  void onConnection(StreamDecoder& decoder) const {
    onConnection({.begun = [&decoder](std::uint64_t number) { decoder.begin(number); },
                  .lost = [&decoder] { decoder.finish(); }});
  }
  void onClose(std::function<void()> free) const { device_.onClose(std::move(free)); }

 private:
  Device& device_;
};

}  // namespace qvx
