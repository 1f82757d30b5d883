#include "virtual/output.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

namespace qvx::bench {
namespace {

constexpr std::size_t kLongestHistory = 1024;
constexpr int kAnalogPort = 0;

class Level final : public Signal {
 public:
  explicit Level(double volts) : volts_(volts) {}
  double at(double) const override { return volts_; }

 private:
  double volts_;
};

// What is sampled is what the output puts out at the sample's own time.
class Wired final : public Source {
 public:
  Wired(std::shared_ptr<const OutputLine> line, TimePoint switched_on)
      : line_(std::move(line)), switched_on_(switched_on) {}
  double at(double seconds) const override {
    return line_->at(switched_on_ + std::chrono::round<TimePoint::duration>(std::chrono::duration<double>(seconds)));
  }
  double sample(std::uint64_t number, double rate, double start) const override {
    return at(start + static_cast<double>(number) / rate);
  }

 private:
  std::shared_ptr<const OutputLine> line_;
  TimePoint switched_on_;
};

void check(const char* kind, const Terminal& terminal, std::size_t channels) {
  if (terminal.port != kAnalogPort || static_cast<std::size_t>(terminal.pin) >= channels) {
    throw std::invalid_argument("wire to or from " + std::string(kind) + std::to_string(terminal.port) + "." +
                                std::to_string(terminal.pin) + ": the device has " +
                                (channels == 0 ? "none" : "0.0 to 0." + std::to_string(channels - 1)));
  }
}

}  // namespace

void OutputLine::play(TimePoint from, std::shared_ptr<const Signal> signal) {
  history_.push_back({from, std::move(signal)});
  if (history_.size() > kLongestHistory) {
    history_.pop_front();
  }
}

void OutputLine::set(TimePoint from, double volts) {
  play(from, std::make_shared<Level>(volts));
}

double OutputLine::at(TimePoint time) const {
  const auto after = std::upper_bound(history_.begin(), history_.end(), time,
                                      [](TimePoint moment, const Stretch& stretch) { return moment < stretch.from; });
  if (after == history_.begin()) {
    return 0;
  }
  const Stretch& stretch = *std::prev(after);
  return stretch.signal->at(secondsBetween(stretch.from, time));
}

void connect(const std::vector<Wire>& wires, const Outputs& outputs, TimePoint switched_on, Inputs& inputs) {
  std::set<int> taken;
  for (const Wire& wire : wires) {
    if (wire.kind != Terminal::Kind::Analog) {
      continue;
    }
    check("ao", wire.from, outputs.size());
    check("ai", wire.to, inputs.size());
    if (!taken.insert(wire.to.pin).second) {
      throw std::invalid_argument("two wires lead to ai0." + std::to_string(wire.to.pin));
    }
    inputs[static_cast<std::size_t>(wire.to.pin)] =
        std::make_shared<Wired>(outputs[static_cast<std::size_t>(wire.from.pin)], switched_on);
  }
}

}  // namespace qvx::bench
