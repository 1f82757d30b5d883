// Devices on USB, by way of USB/IP: a Linux machine that imports one has it on its own bus, as if it were plugged in.
#pragma once

#include "virtual/endpoint.h"
#include "virtual/port.h"
#include "virtual/usbip_session.h"

#include <array>
#include <list>
#include <memory>

namespace qvx::bench {

// One listening socket for all devices. The end of a connection unplugs the device, and so does a reboot.
class UsbipPort final : public Port {
 public:
  // The devices are on bus 1, from 1-1 on. Throws std::system_error when it cannot listen.
  UsbipPort(EventLoop& loop, const Log& log, const Endpoint& endpoint, const std::vector<Device*>& devices);
  ~UsbipPort() override;

  // "ADDRESS:PORT BUS_ID" of each.
  std::vector<std::string> places() const override;
  void service(TimePoint now) override;
  void ready(std::uint32_t events, TimePoint now) override;

 private:
  class Connection;
  void restartDevices(TimePoint now);

  EventLoop& loop_;
  const Log& log_;
  Listener listener_;
  std::vector<UsbipExport> exports_;
  std::vector<TimePoint> back_at_;  // of a reboot, for each device
  std::list<std::unique_ptr<Connection>> connections_;
  std::array<std::uint8_t, 65536> input_{};  // what one read takes; of no meaning between reads
  TimePoint paused_until_ = kNever;
};

}  // namespace qvx::bench
