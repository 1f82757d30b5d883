// Device handles: a transport, its receive thread behind a gate, the pools it fills, and the order of their lives.
//
// Threads. The receive thread is made by the constructor and parks at the closed gate until connect(). It only reads
// and files. It ends in close(), which the destructor calls at the latest. connect, disconnect and close may be called
// by any thread; each waits for the one in progress, and the mutex that orders them is never taken by the receive
// thread.
#pragma once

#include "core/product.h"
#include "protocol/engine.h"
#include "protocol/worker.h"

#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace qvx {

class Device : public Packet, public Packet_async {
 public:
  // `verbose` false keeps the handle's messages off standard output.
  explicit Device(ProductId product = ProductId::None, bool verbose = true) : product_(product), verbose_(verbose) {}

  ProductId product() const { return product_; }
  // The product's label, as all messages of a handle use it; of a bare handle its class name.
  std::string deviceName() const;

  std::atomic<bool> killed{false};

  virtual void disconnect() {}
  // Disconnects if connected, ends every thread and every wait. Safe to repeat.
  void close();
  bool closed() const { return closed_; }
  // True in a child of the process that made this device.
  bool forked() const { return getpid() != process_; }
  // What is connected to: "192.168.1.10"; empty while nothing is.
  virtual std::string connectedTo() const { return ""; }
  // True when the peer went away and disconnect() or connect() has not been called since.
  virtual bool connectionLost() const { return false; }

  // Raises what an unanswered request means: ReceivePacketTimeoutError, or the lost connection when the device was
  // closed meanwhile.
  [[noreturn]] void failUnanswered() const;

  // Modules end their decoder threads here; called once, by close(), after the link is down.
  void onClose(std::function<void()> free) { on_close_.push_back(std::move(free)); }

 protected:
  // The subclass ends its receive thread.
  virtual void closeHandle() {}
  // The class name of a handle that is no product.
  virtual const char* handleName() const { return "Device"; }
  void say(const std::string& line) const;

 private:
  const ProductId product_;
  const bool verbose_;
  const pid_t process_ = getpid();
  std::atomic<bool> closed_{false};
  std::mutex close_mutex_;  // guards closer_
  Condition close_changed_;
  std::optional<std::thread::id> closer_;  // who runs close()
  std::vector<std::function<void()>> on_close_;
};

// The receive thread of one transport, and the state of its connection.
class Receiver {
 public:
  // `file` takes each frame; `client` gives the transport as it is now.
  Receiver(const char* name, std::size_t read_size, std::function<std::shared_ptr<Transport>()> client,
           std::function<void(Frame)> file, const std::atomic<bool>& killed);

  enum class State : std::uint8_t { Disconnected, Connected, Lost };
  State state() const { return state_; }
  // Opens the gate: the transport is connected.
  void start();
  // Parks the thread at its gate and disconnects the transport.
  void stop();
  // Ends the thread.
  void end() { worker_.stop(); }

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }

 private:
  void readOnce();

  const std::size_t read_size_;
  const std::function<std::shared_ptr<Transport>()> client_;
  const std::function<void(Frame)> file_;
  const std::atomic<bool>& killed_;
  // A change of state and the move of the gate that belongs to it are one step under this mutex.
  std::mutex state_mutex_;
  std::atomic<State> state_{State::Disconnected};
  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  Worker worker_;
};

}  // namespace qvx
