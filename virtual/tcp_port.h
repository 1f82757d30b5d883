// A device on the network: its listening sockets and the connections to them.
//
// A wireless device has two: requests and replies travel over the command connection, stream packets over the data
// connection, which the client opens after it from the same address. Each data connection belongs to the command
// connection that was opened last before it and has none yet. Streams end with either of the two; the other one stays
// open, for a client that closes one before the other must not take it for lost.
#pragma once

#include "virtual/event_loop.h"
#include "virtual/session.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace qvx::bench {

struct Endpoint {
  std::uint32_t address = 0;  // IPv4, host byte order
  std::uint16_t port = 0;     // 0: any free one

  bool loopback() const { return address >> 24 == 127; }
  std::string text() const;  // "127.0.0.1:7"
  // Where the data port of a command port is: 1336 beside port 7, the next one beside others; nothing when there is
  // none.
  std::optional<Endpoint> data() const;
};

// Thread rule: the loop's thread only. Lives as long as the loop is used.
class TcpPort final : public EventHandler {
 public:
  // Listens at `endpoint`, and for data at the port that belongs to it. Throws std::system_error when that fails.
  TcpPort(EventLoop& loop, Device& device, const Log& log, const Endpoint& endpoint);
  ~TcpPort() override;

  // Where it really listens.
  const Endpoint& endpoint() const { return command_.endpoint; }
  // Nothing on a wired device.
  std::optional<Endpoint> dataEndpoint() const;

  // To be called after each batch of events, when touched or due.
  void service(TimePoint now);
  bool touched() const { return touched_; }
  TimePoint due() const { return due_; }

  void ready(std::uint32_t events, TimePoint now) override;

 private:
  class Connection;
  struct Listener {
    Listener() = default;
    // Listens. Throws std::system_error.
    explicit Listener(const Endpoint& wanted);
    Descriptor socket;
    Endpoint endpoint;
    std::string name;
  };
  struct Listeners {
    Listener command;
    Listener data;  // without a socket on a wired device
  };

  static Listeners openListeners(const Endpoint& endpoint, bool with_data);
  void listen(Listeners listeners);
  void watchListeners(std::uint32_t events);
  // False when no descriptor is left.
  bool accept();
  bool acceptFrom(const Listener& listener);
  void pairNewDataConnections();
  void pause(TimePoint until);
  void reboot(TimePoint now);
  void comeBack();
  void moveTo(std::uint32_t address);

  EventLoop& loop_;
  Device& device_;
  const Log& log_;
  Listener command_;
  Listener data_;
  std::list<std::unique_ptr<Connection>> connections_;
  std::array<std::uint8_t, 16384> input_{};  // what one read takes; of no meaning between reads
  TimePoint paused_until_ = kNever;  // clients wait in the listening socket's queue until then; kNever: not paused
  bool rebooting_ = false;
  bool touched_ = false;
  TimePoint due_ = kNever;
};

}  // namespace qvx::bench
