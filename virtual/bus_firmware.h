// What the firmware of every bus does alike: finds the port of a command, opens and closes it, and keeps its settings.
#pragma once

#include "virtual/board.h"

#include <algorithm>
#include <span>
#include <vector>

namespace qvx::bench {

// `Firmware` offers rows(). `Settings` are as delivered when constructed; they survive closing, not a restart.
template <class Firmware, class Settings>
class BusFirmware : public Module {
 public:
  void addCommands(CommandTable& table) override {
    for (const Row& row : Firmware::rows()) {
      const CommandRow<Firmware> command{row.code, row.min, row.max, ReplyForm::EchoStatus, &Firmware::dispatch};
      table.add<Firmware>(static_cast<Firmware&>(*this), {&command, 1});
    }
  }
  void restart() override {
    for (Port& port : ports_) {
      release(port);
      port.settings = {};
    }
  }

 protected:
  struct Port {
    const BusPort* row = nullptr;
    bool open = false;
    Settings settings{};
    TimePoint quiet{};  // when the transfers so far are over
  };
  struct Row {
    int code;
    std::size_t min;  // bytes of the payload, with the port
    std::size_t max;
    bool open;  // of an open port only
    Answer (Firmware::*run)(Port&, const Request&);
  };

  // `conflict`: the status of an opening that finds its pins in use.
  BusFirmware(Board& board, Bus bus, PinMode mode, int conflict) : board_(board), mode_(mode), conflict_(conflict) {
    for (const BusPort& row : board.buses) {
      if (row.bus == bus) {
        ports_.push_back({&row});
      }
    }
  }

  Answer dispatch(const Request& request) {
    const auto port = std::find_if(ports_.begin(), ports_.end(),
                                   [&](const Port& candidate) { return candidate.row->number == request.payload[0]; });
    const auto rows = Firmware::rows();
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.code == request.code; });
    if (port == ports_.end()) {
      return status::kPinIndex;
    }
    return row->open && !port->open ? Answer(status::kEnable)
                                    : (static_cast<Firmware&>(*this).*row->run)(*port, request);
  }

  // Opening what is open and closing what is closed succeeds: clients repeat a request whose reply is late.
  Answer openPort(Port& port, const Request&) {
    port.open = port.row->take(board_.pins, mode_);
    return port.open ? status::kOk : conflict_;
  }
  Answer closePort(Port& port, const Request&) {
    release(port);
    return status::kOk;
  }
  // When a transfer can begin.
  static TimePoint begin(const Port& port, TimePoint now) { return std::max(now, port.quiet); }
  // The answer to a transfer, at its end.
  Answer transferred(Port& port, TimePoint now, double seconds, Answer answer) const {
    if (!board_.unpaced) {
      port.quiet = begin(port, now) + std::chrono::ceil<TimePoint::duration>(std::chrono::duration<double>(seconds));
      answer.takes = port.quiet - now;
    }
    return answer;
  }
  Answer resetPort(Port& port, const Request&) {
    port.settings = {};
    return status::kOk;
  }

 private:
  void release(Port& port) {
    if (port.open) {
      port.row->release(board_.pins, mode_);
      port.open = false;
    }
  }

  Board& board_;
  const PinMode mode_;
  const int conflict_;
  std::vector<Port> ports_;
};

}  // namespace qvx::bench
