// One transport of a handle: its receive thread, the state of its connection, and the messages about it.
#pragma once

#include "core/frame.h"
#include "protocol/worker.h"
#include "transport/transport.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx {

class Device;
class ConnectionSource;

// A member of its handle, made with it. The receive thread starts with the channel and parks at the closed gate until
// the first connect(). Any thread may call anything.
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
  ~Channel();

  enum class State : std::uint8_t { Disconnected, Connecting, Connected, Lost, Disconnecting };
  State state() const { return state_; }
  // From the end of connect() to disconnect(), also while the connection is lost.
  bool connected() const { return state_ == State::Connected || state_ == State::Lost; }

  // Returns when the receive thread, too, knows of a loss that a send has met.
  void noticeLoss();
  // Calls `open`, which connects the transport or raises, then lets the thread read and prints "Connected to ...". A
  // lost connection is put away first. Raises the connection's class when there is a connection already. `verbose` says
  // whether the messages about this connection are printed; nothing: as the handle's others.
  void connect(const std::string& identifier, const std::function<void()>& open, std::optional<bool> verbose = {});
  // Parks the thread, closes the medium and prints "Disconnected from ...", unless `verbose` is false, or connect's was
  // and this one is not given. Ends a connect in progress. Safe to repeat.
  void disconnect(std::optional<bool> verbose = {});
  // Ends the connect in progress, if any, which raises; waits until it has. A connection that stands is left alone.
  void abortConnect();
  // Ends the thread.
  void end() { worker_.stop(); }

  // A reply has been asked for. A fiber will wait for it while its loop reads the connection; for a thread the receive
  // thread reads, at once.
  void expectReply();

  // What is connected to, or was last.
  std::string identifier() const;

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }

 private:
  void readOnce();
  void wakeReader();
  // `connection`: the number of the one that was read.
  void lose(const Failure& failure, std::uint64_t connection);
  // Disconnects what is connected, or lost. Releases the lock.
  void putAway(std::unique_lock<std::mutex>& lock, std::optional<bool> verbose);
  void stop();
  void settle(State state);
  class Aborting;
  // Releases the lock when there was something to end.
  bool abortConnect(std::unique_lock<std::mutex>& lock);

  Device& device_;
  const Setup setup_;
  const std::shared_ptr<Intake> intake_;
  std::mutex source_mutex_;                 // guards source_
  std::weak_ptr<ConnectionSource> source_;  // of the loops that watch it
  // Guards what follows; a change of state and the move of the gate that belongs to it are one step under it.
  // Connecting and Disconnecting are held by one thread, `holder_`, which calls the transport and prints without any
  // mutex; others wait for the change. The holder itself, coming back from a transport or a signal handler, does not.
  mutable std::mutex state_mutex_;
  Condition changed_;
  std::thread::id holder_;
  bool abort_ = false;
  std::vector<std::thread::id> aborters_;  // which tell the transport to stop, and must not stop a later connect
  std::atomic<State> state_{State::Disconnected};
  // How many there have been. A read on one that was put away may fail when there is another already.
  std::atomic<std::uint64_t> connections_{0};
  std::string identifier_;
  std::optional<bool> verbose_;
  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  Worker worker_;
};

}  // namespace qvx
