// A device on the network: its listening sockets and the connections to them.
//
// A wireless device has two: requests and replies travel over the command connection, stream packets over the data
// connection, which the client opens after it from the same address. Each data connection belongs to the command
// connection that was opened last before it and has none yet. Streams end with either of the two; the other one stays
// open, for a client that closes one before the other must not take it for lost.
#pragma once

#include "virtual/endpoint.h"
#include "virtual/port.h"
#include "virtual/session.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>

namespace qvx::bench {

class TcpPort final : public Port {
 public:
  // Listens at `endpoint`, and for data at the port that belongs to it. Throws std::system_error when that fails.
  TcpPort(EventLoop& loop, Device& device, const Log& log, const Endpoint& endpoint);
  ~TcpPort() override;

  // Where it really listens: "ADDRESS:PORT", on a wireless device " ADDRESS:DATAPORT" behind it.
  std::vector<std::string> places() const override;
  void service(TimePoint now) override;
  void ready(std::uint32_t events, TimePoint now) override;

 private:
  class Connection;
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
};

}  // namespace qvx::bench
