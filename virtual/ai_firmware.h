// Analog input: reading on demand and streaming, with 16 or 24 bits.
#pragma once

#include "virtual/board.h"

#include <limits>
#include <vector>

namespace qvx::bench {

// What a product's analog ports can do.
struct AiPortRow {
  int port = 0;
  std::size_t channels = 0;
  bool selectable_channels = false;  // SET_AI_ENABLED_CS sets their number; else it accepts `channels` alone
  bool always_open = false;          // needs no OPEN_AI
  double max_rate = 0;               // samples per second
  int bits = 16;                     // or 24, with commands of their own
};

class AiFirmware final : public Module {
 public:
  AiFirmware(Board& board, std::span<const AiPortRow> rows);
  void addCommands(CommandTable& table) override;
  void restart() override;
  void tick(TimePoint now) override;
  TimePoint due(TimePoint now) override;
  void forget(const Outlet& outlet) override;

 private:
  enum class Mode : std::uint8_t { OnDemand, Samples, Continuous };
  enum class Run : std::uint8_t { Stopped, Armed, Running };  // armed: waits for the alarm of the clock
  static constexpr std::uint8_t kTriggerCommand = 1;
  static constexpr std::uint8_t kTriggerClock = 2;
  static constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();

  // Samples are functions of their number (see Source), so the buffer between acquisition and network is two counters:
  // numbers sent..acquired-1 wait in it. When it is full the oldest are lost.
  struct Stream {
    Run run = Run::Stopped;
    int code = 0;
    Outlet* outlet = nullptr;
    TimePoint start;
    TimePoint last_tick;
    std::uint32_t alarms_seen = 0;
    std::uint64_t end = kEndless;
    std::uint64_t acquired = 0;
    std::uint64_t sent = 0;
  };
  struct Counters {
    std::uint64_t acquired = 0;
    std::uint64_t packets = 0;
    std::uint64_t lost = 0;
  };
  struct Port {
    explicit Port(const AiPortRow& row_) : row(&row_), open(row_.always_open), channels(row_.channels) {}
    const AiPortRow* row;
    bool open;
    bool open_for_streaming = false;
    std::size_t channels;
    Mode mode = Mode::OnDemand;
    double rate = 1000;
    std::uint32_t num_samples = 1;
    std::uint8_t trigger = kTriggerCommand;
    Stream stream;
    Counters counters;

    bool busy() const { return stream.run != Run::Stopped; }
    std::size_t valueSize() const { return static_cast<std::size_t>(row->bits) / 8; }
    std::size_t sampleSize() const { return channels * valueSize(); }
    std::uint64_t capacity() const;
  };
  static constexpr int kAnyBits = 0;
  struct Row {
    int code = 0;
    std::size_t length = 0;  // of the payload
    Answer (AiFirmware::*run)(Port&, const Request&) = nullptr;
    int bits = kAnyBits;  // of the ports that know it
  };
  static std::span<const Row> rows();

  Answer dispatch(const Request& request);
  Answer openPort(Port& port, const Request& request);
  Answer closePort(Port& port, const Request& request);
  Answer openStreaming(Port& port, const Request& request);
  Answer closeStreaming(Port& port, const Request& request);
  Answer startStreaming(Port& port, const Request& request);
  Answer setMode(Port& port, const Request& request);
  Answer setNumSamples(Port& port, const Request& request);
  Answer setRate(Port& port, const Request& request);
  Answer setChannels(Port& port, const Request& request);
  Answer setTrigger(Port& port, const Request& request);
  Answer readOnDemand(Port& port, const Request& request);
  Answer counters(Port& port, const Request& request);
  Answer bufferStatus(Port& port, const Request& request);
  Answer resetBuffer(Port& port, const Request& request);
  Answer clearData(Port& port, const Request& request);

  void begin(Port& port, TimePoint start);
  TimePoint dueOf(const Port& port, TimePoint now);
  void acquire(Port& port, TimePoint now);
  void sendWaiting(Port& port, TimePoint now);
  Bytes packet(const Port& port, std::size_t samples) const;

  Board& board_;
  std::vector<Port> ports_;
};

}  // namespace qvx::bench
