// Analog output: levels, and the engine that generates waveforms.
#pragma once

#include "virtual/board.h"

#include <array>
#include <memory>
#include <vector>

namespace qvx::bench {

// What a product's analog output ports can do.
struct AoPortRow {
  int port;
  std::size_t channels;
  bool generates;    // knows the commands of generation
  bool always_open;  // needs no OPEN_AO
  bool takes_pins;   // of the digital port of its number, while it is open
};

inline constexpr double kFastestOutput = 1e6;  // samples per second

// The range of a converter's 16 bits, in volts.
struct Span {
  double low;
  double high;
  // The step that is nearest to `volts`; the highest is one step below `high`.
  double nearest(double volts) const;
  bool contains(double volts) const { return volts >= low && volts <= high; }
};

// Outputs are functions of time (see OutputLine), so generation needs nobody to be there while it runs, and goes on
// when its client is gone.
class AoFirmware final : public Module {
 public:
  AoFirmware(Board& board, std::span<const AoPortRow> rows);
  void addCommands(CommandTable& table) override;
  void restart() override;

 private:
  static constexpr std::size_t kMostChannels = 8;
  enum class Mode : std::uint8_t { OnDemand, Samples, Continuous };
  enum class State : std::uint8_t { Idle, StandBy, Running };

  // A form as its commands set it; `parameters` in the order in which they travel.
  struct Form {
    std::uint8_t kind = 0;
    std::array<double, 5> parameters{0, 0, 1, 0, 50};
  };
  // The generation that runs, or ran last: samples 0..end-1, sample n at start + n / rate.
  struct Run {
    TimePoint start;
    double rate = 1;
    std::uint64_t end = 0;
    TimePoint stopped = kNever;  // before its end
    unsigned channels = 0;       // how many
  };
  struct Port {
    explicit Port(const AoPortRow& row_)
        : row(&row_), open(row_.always_open), enabled(static_cast<std::uint8_t>((1U << row_.channels) - 1)) {}
    const AoPortRow* row;
    bool open;
    bool open_for_streaming = false;
    std::uint8_t enabled;  // bit per channel
    std::uint8_t span = 3;
    Mode mode = Mode::OnDemand;
    double rate = 1000;
    std::uint32_t num_samples = 1;
    std::array<Form, kMostChannels> forms;
    // What generation plays instead of the forms: a value for each enabled channel, sample after sample. Shared with
    // what has been played, and copied before it changes.
    std::shared_ptr<std::vector<float>> buffer;
    Run run;
  };
  struct Row {
    int code;
    std::size_t min;  // of the payload
    std::size_t max;
    Answer (AoFirmware::*run)(Port&, const Request&);
    bool generation;
    bool while_running;  // else refused then
  };
  static std::span<const Row> rows();

  Answer dispatch(const Request& request);
  Answer openPort(Port& port, const Request& request);
  Answer closePort(Port& port, const Request& request);
  Answer writeOne(Port& port, const Request& request);
  Answer writeAll(Port& port, const Request& request);
  Answer openStreaming(Port& port, const Request& request);
  Answer startStreaming(Port& port, const Request& request);
  Answer stopStreaming(Port& port, const Request& request);
  Answer closeStreaming(Port& port, const Request& request);
  Answer setSpan(Port& port, const Request& request);
  Answer setMode(Port& port, const Request& request);
  Answer setRate(Port& port, const Request& request);
  Answer setNumSamples(Port& port, const Request& request);
  Answer setEnabled(Port& port, const Request& request);
  Answer setForm(Port& port, const Request& request);
  Answer setFormParameters(Port& port, const Request& request);
  Answer initBuffer(Port& port, const Request& request);
  Answer pushToBuffer(Port& port, const Request& request);
  Answer values(Port& port, const Request& request);
  Answer counters(Port& port, const Request& request);
  Answer modeOf(Port& port, const Request& request);
  Answer stateOf(Port& port, const Request& request);

  static std::uint64_t samplesDone(const Port& port, TimePoint now);
  static State state(const Port& port, TimePoint now);
  OutputLine& line(std::size_t channel) { return *board_.outputs[channel]; }
  void releasePins(const Port& port);
  // The outputs stay where they are.
  void halt(Port& port, TimePoint now);

  Board& board_;
  std::vector<Port> ports_;
};

}  // namespace qvx::bench
