// A device on a serial line: a pseudo-terminal, whose other end a client opens like any serial port.
#pragma once

#include "virtual/port.h"
#include "virtual/session.h"

#include <array>
#include <memory>

namespace qvx::bench {

// A line has no connections. But once nobody has the terminal open any more, streams end, and what was on its way is
// lost. A program that opens it right after another has closed it may still receive what the other had asked for.
class PtyPort final : public Port {
 public:
  // Throws std::system_error.
  PtyPort(EventLoop& loop, Device& device, const Log& log);
  ~PtyPort() override;

  // "/dev/pts/3"
  std::vector<std::string> places() const override { return {name_}; }
  void service(TimePoint now) override;
  void ready(std::uint32_t events, TimePoint now) override;

 private:
  // Told when somebody opens the terminal. Without anybody there the master only ever reports that nobody is.
  class Watch final : public EventHandler {
   public:
    explicit Watch(PtyPort& owner) : owner_(owner) {}
    void ready(std::uint32_t events, TimePoint now) override;

   private:
    PtyPort& owner_;
  };

  void read(TimePoint now);
  void write();
  void opened();
  void closed();
  void forgetUnread();
  bool isOpen() const;

  EventLoop& loop_;
  Device& device_;
  const Log& log_;
  Watch watch_{*this};
  std::string name_;
  Descriptor master_;
  Descriptor notices_;
  std::unique_ptr<Session> session_;
  std::array<std::uint8_t, 4096> input_{};  // what one read takes; of no meaning between reads
  TimePoint back_at_ = kNever;              // of a reboot
  bool present_ = false;                    // somebody has the terminal open; the master is watched then
  std::uint32_t interest_ = 0;
};

}  // namespace qvx::bench
