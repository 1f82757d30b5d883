// A CAN controller with three transmit buffers, six filters and two masks, and the firmware around it.
#pragma once

#include "virtual/board.h"
#include "virtual/can_bus.h"

#include <deque>
#include <optional>

namespace qvx::bench {

class CanFirmware final : public Module, private CanNode {
 public:
  CanFirmware(Board& board, const BusPort& row);
  ~CanFirmware() override;
  void addCommands(CommandTable& table) override;
  void restart() override;
  void tick(TimePoint now) override;
  TimePoint due(TimePoint now) override;
  void forget(const Outlet& outlet) override;

 private:
  struct Queued {
    BusFrame frame;
    TimePoint from;
    std::uint64_t number;  // in the order of the writes
  };
  struct Counters {
    std::uint32_t sent = 0;
    std::uint32_t received = 0;
    std::uint32_t transfers = 0;  // of frames, between controller and processor
    std::uint32_t written = 0;
    std::uint32_t errors = 0;
    std::uint32_t overflows = 0;
  };
  // What a restart sets anew.
  struct State {
    bool open = false;
    bool started = false;
    bool bus_off = false;
    Outlet* reader = nullptr;
    int speed_mode = 2;
    bool filtering = false;
    std::array<std::uint32_t, 6> filters{};  // identifier words
    std::array<std::uint32_t, 2> masks{};
    std::array<std::uint8_t, 3> priorities{};
    bool rollover = false;
    std::uint8_t interrupts = 0;  // enabled
    bool message_error = false;   // since interrupts were read last
    int transmit_errors = 0;
    int receive_errors = 0;
    Counters counters{};
    std::array<std::optional<Queued>, 3> buffers{};  // to transmit
    int sending = -1;                                // the buffer whose frame is on the bus
    std::deque<Queued> waiting{};                    // for a transmit buffer
    std::uint64_t writes = 0;
    std::deque<BusFrame> frames{};  // received, not yet streamed
    TimePoint last_packet{};
  };
  struct Row {
    int code;
    std::size_t length;  // of the payload
    Answer (CanFirmware::*run)(const Request&);
  };
  static std::span<const Row> rows();

  Answer dispatch(const Request& request);
  Answer open(const Request& request);
  Answer close(const Request& request);
  Answer start(const Request& request);
  Answer stop(const Request& request);
  Answer write(const Request& request);
  Answer setSpeed(const Request& request);
  Answer setInterrupts(const Request& request);
  Answer setPriority(const Request& request);
  Answer setRollover(const Request& request);
  Answer setFiltering(const Request& request);
  Answer setFilterOrMask(const Request& request);
  Answer interrupts(const Request& request);
  Answer errors(const Request& request);
  Answer counters(const Request& request);

  bool active() const override { return state_.started && !state_.bus_off; }
  std::uint32_t bitRate() const override;
  const BusFrame* pending() const override;
  TimePoint pendingFrom() const override;
  void begun() override { state_.sending = nextBuffer(); }
  void sent() override;
  void failed(bool disturbed, TimePoint now) override;
  void received(const BusFrame& frame) override;
  void disturbed() override;

  // The transmit buffer whose turn it is; -1: none is filled.
  int nextBuffer() const;
  void fillBuffers();
  bool passes(const BusFrame& frame) const;
  std::uint8_t errorState() const;
  void leaveBus(TimePoint now);
  void stream(TimePoint now);

  Board& board_;
  const BusPort& row_;
  State state_;
};

}  // namespace qvx::bench
