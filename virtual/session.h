// One client's conversation with a device, whatever medium carries the bytes: bytes in, bytes out, faults between.
#pragma once

#include "virtual/device.h"
#include "virtual/frame_reader.h"
#include "virtual/log.h"

#include <deque>
#include <string>

namespace qvx::bench {

// The transport owns it, feeds it what it reads, and writes output() as far as the medium takes it.
class Session final : public Outlet {
 public:
  // `device` and `log` must outlive it; `name` is the device's in the log.
  Session(Device& device, const Log& log, std::string name) : device_(device), log_(log), name_(std::move(name)) {}
  ~Session() override { device_.forget(*this); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // False while the client does not read its replies: the transport then leaves its bytes in the medium.
  bool wantsInput() const { return !ending_ && backlog() < kBacklog; }
  void receive(ByteView bytes, TimePoint now);
  // Does what due() has announced.
  void advance(TimePoint now);
  TimePoint due() const;

  // Bytes to write now; at most one under the split fault.
  ByteView output() const;
  void written(std::size_t count);

  // No more requests; done() once the last reply is out.
  void finish() { ending_ = true; }
  bool done() const { return ending_ && backlog() == 0; }
  // Whether the reset fault ends this connection, now that everything is written.
  bool resetDue() const { return reset_ && output_.size() == head_; }

  void send(int code, ByteView payload, TimePoint now) override { sendAfter({}, code, payload, now); }
  void sendAfter(std::chrono::nanoseconds time, int code, ByteView payload, TimePoint now) override;
  Outlet* streams() override { return streams_; }
  // The connection that carries stream packets from now on; a session is its own at first.
  void streamOver(Outlet* outlet) { streams_ = outlet; }
  std::size_t room() const override { return ending_ || backlog() > kBacklog ? 0 : kBacklog - backlog(); }

 private:
  // Enough to keep a socket busy between two bursts of a stream; samples that have to wait wait in their module.
  static constexpr std::size_t kBacklog = 256 << 10;

  struct Delayed {
    TimePoint due;
    Bytes frame;
  };

  std::size_t backlog() const { return delayed_bytes_ + output_.size() - head_; }
  void handleFrames(TimePoint now);
  void release(const Bytes& frame);

  Device& device_;
  const Log& log_;
  std::string name_;
  Outlet* streams_ = this;
  FrameReader reader_;
  std::deque<Delayed> delayed_;  // first what is due first
  std::size_t delayed_bytes_ = 0;
  Bytes output_;
  std::size_t head_ = 0;  // bytes of output_ already written
  std::uint64_t frames_ = 0;
  bool ending_ = false;
  bool reset_ = false;
};

}  // namespace qvx::bench
