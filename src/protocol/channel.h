// One transport of a handle: its receive thread, the state of its connection, and the messages about it.
#pragma once

#include "core/frame.h"
#include "protocol/worker.h"
#include "transport/transport.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace qvx {

class Device;

// A member of its handle, made with it. The receive thread starts with the channel and parks at the closed gate until
// the first connect(). Any thread may call anything; connect and disconnect wait for each other.
class Channel {
 public:
  struct Setup {
    const char* thread_name;
    std::size_t read_size;
    ErrorId connection_error;                            // the class of a failed connect
    std::function<std::shared_ptr<Transport>()> client;  // the transport as it is now, nullptr while there is none
    std::function<void(Frame)> file;                     // takes each received frame
  };
  Channel(Device& device, Setup setup);

  enum class State : std::uint8_t { Disconnected, Connected, Lost };
  State state() const { return state_; }
  bool connected() const { return state_ != State::Disconnected; }

  // Calls `open`, which connects the transport or raises, then lets the thread read and prints "Connected to ...". A
  // lost connection is put away first. Raises the connection's class when there is a connection already.
  void connect(const std::string& identifier, const std::function<void()>& open);
  // Parks the thread, closes the medium and prints "Disconnected from ...". Ends a connect in progress. Safe to repeat.
  void disconnect();
  // Ends the thread.
  void end() { worker_.stop(); }

  // What is connected to, or was last.
  std::string identifier() const;

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }

 private:
  void readOnce();
  void start(const std::string& identifier);
  void stop();

  Device& device_;
  const Setup setup_;
  // Orders connect and disconnect. Held while the medium is opened, so nobody who holds the interpreter's lock may wait
  // for it.
  std::mutex connect_mutex_;
  std::atomic<bool> connecting_{false};
  // A change of state and the move of the gate that belongs to it are one step under this mutex; guards identifier_.
  mutable std::mutex state_mutex_;
  std::atomic<State> state_{State::Disconnected};
  std::string identifier_;
  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  Worker worker_;
};

}  // namespace qvx
