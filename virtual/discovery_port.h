// UDP discovery: takes the requests that are broadcast, and lets every device answer for itself.
#pragma once

#include "virtual/device.h"
#include "virtual/endpoint.h"
#include "virtual/log.h"
#include "virtual/port.h"

#include <array>
#include <deque>

namespace qvx::bench {

// Answers go to one port of whoever asks. A device that is found at a loopback address answers nobody else but this
// machine; while all are, nothing but the loopback interface is listened to.
class DiscoveryPort final : public Port {
 public:
  struct Member {
    Device& device;
    Port& port;  // serves the device otherwise; told when an order has changed it
    Endpoint endpoint;
  };
  struct UdpPorts {
    std::uint16_t requests;  // 0: any free one
    std::uint16_t answers;
  };

  // Members and their number are fixed; what they refer to must outlive it. Throws std::system_error.
  DiscoveryPort(EventLoop& loop, const Log& log, UdpPorts ports, std::vector<Member> members);
  ~DiscoveryPort() override { loop_.remove(socket_.get()); }

  const Endpoint& endpoint() const { return endpoint_; }
  void service(TimePoint now) override;
  void ready(std::uint32_t events, TimePoint now) override;

 private:
  // Under the delay fault answers wait; those beyond are lost, as they might be on any network.
  static constexpr std::size_t kMostWaiting = 10'000;

  struct Answer {
    TimePoint due;
    Endpoint asker;
    Bytes frame;
  };

  void ask(Member& member, const Frame& request, const Endpoint& asker, TimePoint now);

  EventLoop& loop_;
  const Log& log_;
  const std::uint16_t answers_to_;
  std::vector<Member> members_;
  Descriptor socket_;
  Endpoint endpoint_;
  std::deque<Answer> waiting_;
  std::array<std::uint8_t, 2048> input_{};  // what one read takes; of no meaning between reads
};

}  // namespace qvx::bench
