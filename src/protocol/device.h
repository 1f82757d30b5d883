// Device handles: transports, the pools their receive threads fill, and the order of their lives.
//
// Threads. A receive thread only reads and files. It ends in close(), which every handle's destructor calls first.
// connect, disconnect and close may be called by any thread, and hold no mutex while they call a transport or print.
#pragma once

#include "core/product.h"
#include "protocol/channel.h"
#include "protocol/engine.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx {

class Device : public Packet, public Packet_async {
 public:
  // `verbose` false keeps the handle's messages off standard output; `handle_name` stands in them for a handle that is
  // no product.
  explicit Device(ProductId product = ProductId::None, bool verbose = true, const char* handle_name = "Device")
      : product_(product), verbose_(verbose), handle_name_(handle_name) {}

  ProductId product() const { return product_; }
  // The product's label, as all messages of a handle use it; of a bare handle its class name.
  std::string deviceName() const;

  std::atomic<bool> killed{false};

  // Closes every connection; connect() may follow. Safe to repeat.
  void disconnect();
  // Ends a connect in progress, which raises; waits until it has.
  void abortConnect();
  // Disconnects if connected, ends every thread and every wait. Safe to repeat. Passes on what the host threw when it
  // was to print; the device is closed all the same.
  void close();
  bool closed() const { return closed_; }
  // The handle's channels, command channel first.
  const std::vector<Channel*>& channels() const { return channels_; }
  // The first whose connection has ended by itself; nullptr where there is none.
  const Channel* lostChannel() const;

  // Raises what an unanswered request means: ReceivePacketTimeoutError, or the lost connection when the device was
  // closed meanwhile.
  [[noreturn]] void failUnanswered() const;

  // For the channels: whether the loss of the connection is still to be reported; a handle's channels are one.
  bool takeLossReport() { return !killed && !loss_reported_.exchange(true); }
  void expectLossReport() { loss_reported_ = false; }

  // Modules end their decoder threads here; called once, by close(), after the link is down.
  void onClose(std::function<void()> free) { on_close_.push_back(std::move(free)); }

  // Prints a message of the handle; `verbose`, where given, overrules the handle's own.
  void say(const std::string& line, std::optional<bool> verbose = {}) const;

 protected:
  void expectReply() override;
  // A handle announces each of its channels once, in its constructor.
  void add(Channel& channel) { channels_.push_back(&channel); }
  // What a channel's thread works on: found while the handle is made, because the way from a handle to its virtual base
  // is not the thread's to go while a destructor runs.
  Packet_based* engine() { return this; }
  std::function<void(Frame)> fileInPools() {
    return [engine = engine()](Frame frame) { engine->putToDataPool(frame.code, std::move(frame.payload)); };
  }
  void sayOpened() const { say("Opened handle (" + deviceName() + ")"); }

 private:
  const ProductId product_;
  const bool verbose_;
  const char* const handle_name_;
  std::atomic<bool> closed_{false};
  std::atomic<bool> loss_reported_{false};
  std::mutex close_mutex_;  // guards closer_
  Condition close_changed_;
  std::optional<std::thread::id> closer_;  // who runs close()
  std::vector<Channel*> channels_;
  std::vector<std::function<void()>> on_close_;
};

}  // namespace qvx
