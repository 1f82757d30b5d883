// Serial ports. What a port sends arrives, at the pace of its baud rate, at the ports that are wired to it.
#pragma once

#include "virtual/board.h"
#include "virtual/serial_line.h"

#include <deque>
#include <vector>

namespace qvx::bench {

class UartFirmware final : public Module {
 public:
  UartFirmware(Board& board, std::span<const BusPort> rows);
  void addCommands(CommandTable& table) override;
  void restart() override;
  void tick(TimePoint now) override;
  TimePoint due(TimePoint now) override;
  void forget(const Outlet& outlet) override;

 private:
  struct Arrival {
    TimePoint time;
    std::uint8_t value = 0;
  };
  struct Port {
    const BusPort* row;
    bool open = false;
    LineSettings settings{};
    TimePoint line_free{};           // when everything written has left
    std::deque<Arrival> arriving{};  // on the line
    Bytes buffer{};                  // received, not yet streamed; what does not fit is lost
    Outlet* reader = nullptr;        // of the stream, while there is one
    TimePoint last_packet{};
  };
  struct Row {
    int code;
    std::size_t min;  // of the payload
    std::size_t max;
    Answer (UartFirmware::*run)(Port&, const Request&);
  };
  static std::span<const Row> rows();

  Answer dispatch(const Request& request);
  Answer openPort(Port& port, const Request& request);
  Answer closePort(Port& port, const Request& request);
  Answer reset(Port& port, const Request& request);
  Answer startReading(Port& port, const Request& request);
  Answer stopReading(Port& port, const Request& request);
  Answer write(Port& port, const Request& request);
  Answer setBaudRate(Port& port, const Request& request);
  Answer setDataSize(Port& port, const Request& request);
  Answer setParity(Port& port, const Request& request);
  Answer setStopBits(Port& port, const Request& request);

  // Takes what has arrived by now, and streams it.
  void receive(Port& port, TimePoint now);
  void stream(Port& port, TimePoint now);
  TimePoint dueOf(const Port& port) const;
  TimePoint later(TimePoint from, double delay_s) const;

  Board& board_;
  std::vector<Port> ports_;
};

}  // namespace qvx::bench
