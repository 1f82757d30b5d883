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

// Volts to the converter's code: 10 V = 32768, clipped to 16 bits.
std::int16_t codeOfVolts(double volts);

class Source {
 public:
  virtual ~Source() = default;
  // The code read on demand, `seconds` after the device was switched on.
  virtual std::int16_t at(double seconds) const = 0;
  // The code of sample `number` (from 0) of a stream of `rate` samples per second.
  virtual std::int16_t sample(std::uint64_t number, double rate) const {
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
