// Device handles: transports, the pools their receive threads fill, and the order of their lives.
//
// connect, disconnect and close may be called by any thread; what they do happens on the connection's own one
// (connection.h).
#pragma once

#include "core/product.h"
#include "protocol/connection.h"
#include "protocol/engine.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx {

// What a handle is besides its transport.
struct Identity {
  ProductId product = ProductId::None;
  bool verbose = true;                                         // false keeps the handle's messages off standard output
  const char* handle_name = "Device";                          // stands in them for a handle that is no product
  ErrorId connection_error = ErrorId::NetworkConnectionError;  // the class of a failed connect
};

class Device : public Packet, public Packet_async {
 public:
  explicit Device(const Identity& identity = {});
  ~Device() override;

  ProductId product() const { return identity_.product; }
  // The product's label, as all messages of a handle use it; of a bare handle its class name.
  std::string deviceName() const;

  std::atomic<bool> killed{false};

  // Closes every transport; connect() may follow. Safe to repeat.
  void disconnect();
  // Disconnects if connected, ends every thread and every wait. Safe to repeat, and from anywhere: what does not end
  // within 1 s is left to end by itself. Passes on what the host threw when it was to print; the device is closed all
  // the same.
  void close();
  bool closed() const { return closed_; }

  // Command channel first.
  const std::vector<std::unique_ptr<Channel>>& channels() const { return connection_->channels(); }
  Connection::State state() const { return connection_->state(); }
  // What is connected to, or was last.
  std::string identifier() const { return forked() ? "" : connection_->identifier(); }
  // Waits until the connection is lost (true), or until there is none (false), or until the deadline (false).
  bool waitLost(const Deadline& deadline) const;
  // Called once for each loss, after it has been printed, on a thread of its own, with no mutex held. It may call
  // anything of a device, and must own what it uses: it may run when this device is gone.
  void onConnectionLost(std::function<void()> call);

  // Raises what an unanswered request means: ReceivePacketTimeoutError, or the lost connection when that is why.
  [[noreturn]] void failUnanswered() const;

  // Of a module: what it does when a connection begins, and when one is lost. On any thread; may not wait.
  struct Listener {
    std::function<void(std::uint64_t number)> begun;
    std::function<void()> lost = [] {};
  };
  void onConnection(Listener listener) { listeners_.push_back(std::move(listener)); }
  // Modules end their decoder threads here; called once, by close(), after the link is down.
  void onClose(std::function<void()> free) { on_close_.push_back(std::move(free)); }

 protected:
  std::shared_ptr<Reader> expectReply() override;
  Connection& connection() const { return *connection_; }
  // What a channel's thread works on: found while the handle is made, because the way from a handle to its virtual base
  // is not the thread's to go while a destructor runs.
  Packet_based* engine() { return this; }
  std::function<void(Frame)> fileInPools() {
    return [engine = engine()](Frame frame) { engine->putToDataPool(frame.code, std::move(frame.payload)); };
  }
  // Prints a message of the handle.
  void say(const std::string& line) const;
  void sayOpened() const { say("Opened handle (" + deviceName() + ")"); }
  // Connects after the checks of a handle. Raises the connection's class.
  void open(Connection::Opening opening) const;

 private:
  struct LossCall;
  void begun(std::uint64_t number);
  void ended(const std::optional<Failure>& loss);

  const Identity identity_;
  std::atomic<bool> closed_{false};
  Mutex close_mutex_;
  Condition close_changed_;
  std::optional<std::thread::id> closer_ QVX_GUARDED_BY(close_mutex_);  // who runs close() first
  std::vector<Listener> listeners_;
  std::vector<std::function<void()>> on_close_;
  const std::shared_ptr<LossCall> loss_call_;
  const std::shared_ptr<Connection> connection_;
  Channel* first_channel_ = nullptr;

 protected:
  // A handle announces each of its channels once, in its constructor.
  Channel& add(Channel::Setup setup);
};

}  // namespace qvx
