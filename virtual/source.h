// What the analog inputs of a virtual device measure.
//
// A source is a pure function of time (or of the sample's number), never of what was read before: any sample can be
// made at any moment, so nothing is stored for a client that reads late, and a run can be replayed.
#pragma once

#include "virtual/wav.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qvx::bench {

// A converter's code: of `bits` bits for +-10 V (10 V = 2 to the power of bits - 1), clipped.
std::int32_t codeOfVolts(double volts, int bits = 16);

class Source {
 public:
  virtual ~Source() = default;
  // Volts, `seconds` after the device was switched on.
  virtual double at(double seconds) const = 0;
  // Volts at sample `number` (from 0) of a stream of `rate` samples per second that began at `start`, in seconds after
  // the device was switched on. A signal of its own begins with the stream, so that a run can be replayed.
  virtual double sample(std::uint64_t number, double rate, double /*start*/) const {
    return at(static_cast<double>(number) / rate);
  }
};

// One --source option, parsed: "[CHANNEL=]KIND[:VALUE...]".
struct SourceSpec {
  std::optional<std::size_t> channel;  // nothing: every channel without a source of its own
  std::string kind;
  std::vector<double> values;
  std::shared_ptr<const WavFile> wav;  // of kind wav only

  // Throws std::invalid_argument with a message for the user; reads the file of a wav source.
  static SourceSpec parse(const std::string& text);
};

using Inputs = std::vector<std::shared_ptr<const Source>>;

// The sources of channels 0..channels-1; the last spec that fits a channel counts, without one it measures 0 V. Throws
// std::invalid_argument when a spec names a channel beyond.
Inputs makeInputs(const std::vector<SourceSpec>& specs, std::size_t channels, std::uint64_t seed);

// The kinds and their parameters, one per line, for --help.
std::string describeSources();

}  // namespace qvx::bench
