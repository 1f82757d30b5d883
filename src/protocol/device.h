// Device handles: transports, the pools their receive threads fill, and the order of their lives.
//
// Threads. A receive thread only reads and files. It ends in close(), which every handle's destructor calls first.
// connect, disconnect and close may be called by any thread; each waits for the one in progress, and no mutex that
// orders them is ever taken by a receive thread.
#pragma once

#include "core/product.h"
#include "protocol/channel.h"
#include "protocol/engine.h"

#include <unistd.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx {

class Device : public Packet, public Packet_async {
 public:
  // `verbose` false keeps the handle's messages off standard output; `handle_name` stands in them for a handle that is no
  // product.
  explicit Device(ProductId product = ProductId::None, bool verbose = true, const char* handle_name = "Device")
      : product_(product), verbose_(verbose), handle_name_(handle_name) {}

  ProductId product() const { return product_; }
  // The product's label, as all messages of a handle use it; of a bare handle its class name.
  std::string deviceName() const;

  std::atomic<bool> killed{false};

  // Closes every connection; connect() may follow. Safe to repeat.
  void disconnect();
  // Disconnects if connected, ends every thread and every wait. Safe to repeat. Passes on what the host threw when it
  // was to print; the device is closed all the same.
  void close();
  bool closed() const { return closed_; }
  // True in a child of the process that made this device.
  bool forked() const { return getpid() != process_; }
  // The handle's channels, command channel first.
  const std::vector<Channel*>& channels() const { return channels_; }

  // Raises what an unanswered request means: ReceivePacketTimeoutError, or the lost connection when the device was
  // closed meanwhile.
  [[noreturn]] void failUnanswered() const;

  // Modules end their decoder threads here; called once, by close(), after the link is down.
  void onClose(std::function<void()> free) { on_close_.push_back(std::move(free)); }

  // Prints a message of the handle.
  void say(const std::string& line) const;

 protected:
  // A handle announces each of its channels once, in its constructor.
  void add(Channel& channel) { channels_.push_back(&channel); }
  void sayOpened() const { say("Opened handle (" + deviceName() + ")"); }

 private:
  const ProductId product_;
  const bool verbose_;
  const char* const handle_name_;
  const pid_t process_ = getpid();
  std::atomic<bool> closed_{false};
  std::mutex close_mutex_;  // guards closer_
  Condition close_changed_;
  std::optional<std::thread::id> closer_;  // who runs close()
  std::vector<Channel*> channels_;
  std::vector<std::function<void()>> on_close_;
};

}  // namespace qvx
