// The connection of a handle: its transports, its state, and the one thread that changes it.
//
//                      connect                     opened
//      +--------------+ ------> +------------+ -------------> +-----------+
//      | Disconnected |         | Connecting |                | Connected |
//      +--------------+ <------ +------------+                +-----------+
//             ^          failed, or ended by disconnect         |       |
//             |                                      disconnect |       | the medium fails
//             |   closed  +---------------+ <-------------------+       v
//             +---------- | Disconnecting |       disconnect,       +------+
//                         +---------------+ <---------------------- | Lost |
//                                                 connect, close    +------+
//
// The owner of the state is the receive thread of the first channel. It alone changes the state and opens and closes
// the media. Everybody else posts a request and waits for it to be served, within limits; the driver's own threads
// post and don't wait. Between two requests the owner reads, unless somebody who waits for a reply does.
#pragma once

#include "core/errors.h"
#include "protocol/channel.h"
#include "runtime/wait.h"

#include <atomic>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qvx {

// Made by its handle. Shared with the threads of its channels: one that doesn't come back from an application's own
// transport outlives the handle. Any thread may call anything; a forked child nothing.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  using State = ConnectionState;

  // What the handle does when the connection's state has changed. On the owner, under a mutex; may not wait.
  struct Events {
    // A connection begins, the one with that number; nothing has been read on it.
    std::function<void(std::uint64_t number)> begun;
    // It is over: lost, or put away.
    std::function<void(const std::optional<Failure>& loss)> ended;
    // On a thread of its own, after a loss has been printed; empty: the loss is not printed either. May wait, and call
    // anything; owns what it uses.
    std::function<void()> reported;
  };

  // What a connect does on the owner.
  struct Opening {
    std::string identifier;
    // Connects the transports, or raises and leaves none connected. Owns what it uses.
    std::function<void()> open;
    std::optional<bool> verbose = {};  // whether to print the messages about this connection; nothing: as the handle's
  };

  Connection(std::string device_name, ErrorId connection_error, bool verbose, Events events);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Adds a transport and starts its receive thread; the first one's is the owner. For the handle's constructor.
  Channel& add(Channel::Setup setup);

  const std::vector<std::unique_ptr<Channel>>& channels() const { return channels_; }
  State state() const { return state_; }
  bool connected() const {
    const State now = state_;
    return now == State::Connected || now == State::Lost;
  }
  // What is connected to, or was last.
  std::string identifier() const;

  // Opens the media and prints "Connected to ..."; puts a lost connection away first. Blocks, or suspends a coroutine.
  // Raises the connection's class when there is a connection already, when one is being made, when disconnect came
  // first, and when the owner has not come back from a transport within 1 s. Ctrl-C or a cancellation ends it, and what
  // it has opened.
  void connect(Opening opening);
  // Closes the media and prints "Disconnected from ..."; `verbose`, where given, overrules connect's. Ends a connect in
  // progress. Waits at most 1 s. Safe to repeat.
  void disconnect(std::optional<bool> verbose = {});
  // The same, for good: every later connect is refused, and the threads end.
  void close();
  // From now on the handle is told nothing.
  void leave();
  // Waits until the connection is lost (true), or until there is none (false), or until the deadline (false).
  bool waitLost(const Deadline& deadline);

 private:
  friend class Channel;
  struct Request;

  std::shared_ptr<Request> postDisconnect(std::optional<bool> verbose);
  void post(const std::shared_ptr<Request>& request) QVX_REQUIRES(mutex_);
  // Has the owner look at its requests.
  void callOwner();
  // Waits for the owner, until `deadline` at most. A transport that keeps it from serving is told to disconnect.
  // `undisturbed`: whatever Ctrl-C or a cancellation say.
  void press(const std::shared_ptr<Request>& request, const Deadline& deadline, bool undisturbed);
  void tellTransports(void (Transport::*order)()) noexcept;
  // Ends a connect that nobody waits for any more, and what it has opened.
  void undo(const std::shared_ptr<Request>& request) noexcept;
  // Raises what the request ended with, and prints what it has to say; a request that is still not served says it
  // later.
  void conclude(const std::shared_ptr<Request>& request);

  // The owner's side.
  void step();
  bool called() const { return pending_; }
  void serve(Request& request);
  void open(Request& request);
  void refuseEnded(const Request& request) const QVX_REQUIRES(mutex_);
  void putAway(Request& request);
  void lose(const Failure& failure);
  void changeTo(State state);
  // Prints on a thread of its own, which may wait: what is printed is Python's.
  void report(std::vector<std::string> lines, std::optional<Failure> loss);
  // Any channel's thread: what has been read on the connection with that number failed.
  void noteLoss(const Failure& failure, std::uint64_t number);
  std::optional<Failure> takeLoss();

  const std::string device_name_;
  const ErrorId connection_error_;
  const bool verbose_;
  std::vector<std::unique_ptr<Channel>> channels_;

  Mutex events_mutex_;  // taken with no other held; what the handle does may take the pools'
  Events events_ QVX_GUARDED_BY(events_mutex_);

  mutable Mutex mutex_;  // nothing is called under it
  Condition changed_;
  std::deque<std::shared_ptr<Request>> requests_ QVX_GUARDED_BY(mutex_);
  std::shared_ptr<Request> serving_ QVX_GUARDED_BY(mutex_);
  std::optional<Failure> loss_ QVX_GUARDED_BY(mutex_);  // of the present connection, that the owner does not know yet
  std::string identifier_ QVX_GUARDED_BY(mutex_);
  bool closed_ QVX_GUARDED_BY(mutex_) = false;
  int orders_ QVX_GUARDED_BY(mutex_) = 0;  // on their way to the transports
  std::uint64_t losses_ QVX_GUARDED_BY(mutex_) = 0;
  bool told_ QVX_GUARDED_BY(mutex_) = false;  // the transports of the present connection, to disconnect
  // Written by the owner under the mutex; read by anybody.
  std::atomic<State> state_{State::Disconnected};
  std::atomic<std::uint64_t> number_{0};
  std::atomic<bool> pending_{false};
  std::optional<bool> verbose_now_;  // the owner's: of the present connection
};

}  // namespace qvx
