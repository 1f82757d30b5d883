#include "virtual/source.h"

#include "virtual/random.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string_view>

namespace qvx::bench {
namespace {

// What a spec becomes on one channel.
struct Place {
  std::size_t channel;
  std::size_t channels;
  std::uint64_t seed;
};

class Constant final : public Source {
 public:
  explicit Constant(double volts) : volts_(volts) {}
  double at(double) const override { return volts_; }

 private:
  double volts_;
};

// offset + amplitude * shape(phase), phase in 0..1, shifted by channel/channels of a period.
template <class Shape>
class Periodic final : public Source {
 public:
  Periodic(double amplitude, double frequency, double offset, const Place& place)
      : amplitude_(amplitude),
        frequency_(frequency),
        offset_(offset),
        shift_(static_cast<double>(place.channel) / static_cast<double>(place.channels)) {}

  double at(double seconds) const override {
    const double turns = seconds * frequency_ + shift_;
    return offset_ + amplitude_ * Shape{}(turns - std::floor(turns));
  }

 private:
  double amplitude_;
  double frequency_;
  double offset_;
  double shift_;
};

struct Sine {
  double operator()(double phase) const { return std::sin(2 * std::numbers::pi * phase); }
};
struct Square {
  double operator()(double phase) const { return phase < 0.5 ? 1 : -1; }
};
struct Sawtooth {
  double operator()(double phase) const { return 2 * phase - 1; }
};

// White, uniform in +-amplitude; a hash of the sample's number, so that it has no state.
class Noise final : public Source {
 public:
  Noise(double amplitude, const Place& place)
      : amplitude_(amplitude), seed_(mixBits(place.seed) ^ mixBits(~place.channel)) {}
  double at(double seconds) const override { return value(static_cast<std::uint64_t>(seconds * 1e6)); }
  double sample(std::uint64_t number, double, double) const override { return value(number); }

 private:
  double value(std::uint64_t number) const { return amplitude_ * (2 * unitInterval(mixBits(seed_ ^ number)) - 1); }
  double amplitude_;
  std::uint64_t seed_;
};

// The file's full scale is 10 V. A stream plays frame after frame at whatever rate is set; read on demand, the file
// runs at its own rate.
class Recording final : public Source {
 public:
  Recording(std::shared_ptr<const WavFile> wav, std::size_t channel) : wav_(std::move(wav)), channel_(channel) {}
  double at(double seconds) const override { return frame(static_cast<std::uint64_t>(seconds * wav_->rate())); }
  double sample(std::uint64_t number, double, double) const override { return frame(number); }

 private:
  double frame(std::uint64_t number) const { return wav_->at(number, channel_) * (10.0 / 32768); }
  std::shared_ptr<const WavFile> wav_;
  std::size_t channel_;
};

using SourcePointer = std::shared_ptr<const Source>;

struct Kind {
  const char* name;
  const char* parameters;        // as --help shows them
  std::vector<double> defaults;  // NaN: must be given
  SourcePointer (*make)(const SourceSpec&, const Place&);
};

const std::vector<Kind>& kinds() {
  static const std::vector<Kind> table = {
      {"constant",
       ":VOLTS",
       {std::nan("")},
       [](const SourceSpec& spec, const Place&) -> SourcePointer {
         return std::make_shared<Constant>(spec.values[0]);
       }},
      {"ramp",
       "[:LOW[:HIGH[:HZ]]]",
       {-5, 5, 1},
       [](const SourceSpec& spec, const Place& place) -> SourcePointer {
         const double low = spec.values[0];
         const double high = spec.values[1];
         return std::make_shared<Periodic<Sawtooth>>((high - low) / 2, spec.values[2], (high + low) / 2, place);
       }},
      {"sine",
       "[:AMPLITUDE[:HZ[:OFFSET]]]",
       {5, 50, 0},
       [](const SourceSpec& spec, const Place& place) -> SourcePointer {
         return std::make_shared<Periodic<Sine>>(spec.values[0], spec.values[1], spec.values[2], place);
       }},
      {"square",
       "[:AMPLITUDE[:HZ[:OFFSET]]]",
       {5, 50, 0},
       [](const SourceSpec& spec, const Place& place) -> SourcePointer {
         return std::make_shared<Periodic<Square>>(spec.values[0], spec.values[1], spec.values[2], place);
       }},
      {"noise",
       "[:AMPLITUDE]",
       {1},
       [](const SourceSpec& spec, const Place& place) -> SourcePointer {
         return std::make_shared<Noise>(spec.values[0], place);
       }},
      {"wav",
       ":FILE",
       {},
       [](const SourceSpec& spec, const Place& place) -> SourcePointer {
         return std::make_shared<Recording>(spec.wav, place.channel);
       }},
  };
  return table;
}

[[noreturn]] void refuseSource(const std::string& text, const std::string& why) {
  throw std::invalid_argument("source '" + text + "': " + why);
}

const Kind& kindNamed(std::string_view name, const std::string& text) {
  const auto found = std::find_if(kinds().begin(), kinds().end(), [&](const Kind& kind) { return kind.name == name; });
  if (found == kinds().end()) {
    refuseSource(text, "'" + std::string(name) + "' is none of constant, ramp, sine, square, noise, wav");
  }
  return *found;
}

// Leaves `defaults` where nothing is given.
std::vector<double> parseValues(std::string_view rest, bool given, std::vector<double> values,
                                const std::string& text) {
  for (std::size_t i = 0; given; ++i) {
    const std::size_t colon = rest.find(':');
    const std::string_view item = rest.substr(0, colon);
    double value = 0;
    const auto [end, problem] = std::from_chars(item.data(), item.data() + item.size(), value);
    if (problem != std::errc() || end != item.data() + item.size() || !std::isfinite(value)) {
      refuseSource(text, "'" + std::string(item) + "' is not a number");
    }
    if (i >= values.size()) {
      refuseSource(text, "it takes at most " + std::to_string(values.size()) + " value(s)");
    }
    values[i] = value;
    given = colon != std::string_view::npos;
    rest.remove_prefix(given ? colon + 1 : rest.size());
  }
  if (std::any_of(values.begin(), values.end(), [](double value) { return std::isnan(value); })) {
    refuseSource(text, "a value is missing");
  }
  return values;
}

}  // namespace

std::int32_t codeOfVolts(double volts, int bits) {
  const double full = std::ldexp(1, bits - 1);
  return static_cast<std::int32_t>(std::lrint(std::clamp(volts * (full / 10), -full, full - 1)));
}

SourceSpec SourceSpec::parse(const std::string& text) {
  SourceSpec spec;
  std::string_view rest = text;
  const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
  if (digits > 0 && digits < rest.size() && rest[digits] == '=') {
    std::size_t channel = 0;
    if (std::from_chars(rest.data(), rest.data() + digits, channel).ec != std::errc()) {
      refuseSource(text, "its channel is not a number that can be used");
    }
    spec.channel = channel;
    rest.remove_prefix(digits + 1);
  }
  const std::size_t colon = rest.find(':');
  const bool given = colon != std::string_view::npos;
  const Kind& kind = kindNamed(rest.substr(0, colon), text);
  rest.remove_prefix(given ? colon + 1 : rest.size());
  spec.kind = kind.name;
  if (spec.kind == "wav") {
    try {
      spec.wav = std::make_shared<WavFile>(WavFile::load(std::string(rest)));
    } catch (const WavError& error) {
      throw std::invalid_argument(error.what());
    }
  } else {
    spec.values = parseValues(rest, given, kind.defaults, text);
  }
  return spec;
}

Inputs makeInputs(const std::vector<SourceSpec>& specs, std::size_t channels, std::uint64_t seed) {
  Inputs inputs(channels, std::make_shared<Constant>(0));
  // First those for every channel, so that the order of the options does not matter between the two sorts.
  for (const bool single : {false, true}) {
    for (const SourceSpec& spec : specs) {
      if (spec.channel && *spec.channel >= channels) {
        throw std::invalid_argument("source for channel " + std::to_string(*spec.channel) +
                                    ": the device has channels 0 to " + std::to_string(channels - 1));
      }
      for (std::size_t channel = 0; channel < channels; ++channel) {
        if (single ? spec.channel == channel : !spec.channel) {
          inputs[channel] = kindNamed(spec.kind, spec.kind).make(spec, {channel, channels, seed});
        }
      }
    }
  }
  return inputs;
}

std::string describeSources() {
  std::string text;
  for (const Kind& kind : kinds()) {
    text += "  " + std::string(kind.name) + kind.parameters + "\n";
  }
  return text;
}

}  // namespace qvx::bench
