// A device on the network: its listening socket and the connections to it.
#pragma once

#include "virtual/event_loop.h"
#include "virtual/session.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace qvx::bench {

struct Endpoint {
  std::uint32_t address = 0;  // IPv4, host byte order
  std::uint16_t port = 0;     // 0: any free one

  bool loopback() const { return address >> 24 == 127; }
  std::string text() const;  // "127.0.0.1:7"
};

// Thread rule: the loop's thread only. Lives as long as the loop is used.
class TcpPort final : public EventHandler {
 public:
  // Listens at `endpoint`. Throws std::system_error when that fails.
  TcpPort(EventLoop& loop, Device& device, const Log& log, const Endpoint& endpoint);
  ~TcpPort() override;

  // Where it really listens.
  const Endpoint& endpoint() const { return endpoint_; }

  // To be called after each batch of events, when touched or due.
  void service(TimePoint now);
  bool touched() const { return touched_; }
  TimePoint due() const { return due_; }

  void ready(std::uint32_t events, TimePoint now) override;

 private:
  class Connection;

  void accept();
  void pause(TimePoint until);
  void reboot(TimePoint now);

  EventLoop& loop_;
  Device& device_;
  const Log& log_;
  Endpoint endpoint_;
  std::string name_;
  Descriptor listener_;
  std::list<std::unique_ptr<Connection>> connections_;
  std::array<std::uint8_t, 16384> input_{};  // what one read takes; of no meaning between reads
  TimePoint paused_until_ = kNever;  // clients wait in the listening socket's queue until then; kNever: not paused
  bool rebooting_ = false;
  bool touched_ = false;
  TimePoint due_ = kNever;
};

}  // namespace qvx::bench
