#include "virtual/ao_firmware.h"

#include "core/constants.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>

namespace qvx::bench {
namespace {

constexpr std::size_t kBufferValues = 16384;  // values
constexpr std::size_t kMostPushed = 13;       // values in one packet
constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();
constexpr std::array kSpans{Span{0, 5}, Span{0, 10}, Span{-5, 5}, Span{-10, 10}, Span{-2.5, 2.5}};
enum Parameter : std::uint8_t { kAmplitude, kOffset, kFrequency, kPhase, kDutyCycle };
using Parameters = std::array<double, 5>;

// Between -1 and 1; `phase` and `duty` as parts of a period.
using Shape = double (*)(double phase, double duty);
constexpr std::array<Shape, 4> kShapes{
    [](double, double) { return 0.0; },
    [](double phase, double duty) { return phase < duty ? 1.0 : -1.0; },
    [](double phase, double duty) { return phase < duty ? 2 * phase / duty - 1 : 1 - 2 * (phase - duty) / (1 - duty); },
    [](double phase, double) { return std::sin(2 * std::numbers::pi * phase); },
};

std::uint64_t sampleAt(double seconds, double rate) {
  // A time that is meant to be that of a sample may come out a little earlier.
  return static_cast<std::uint64_t>(std::max(0.0, seconds * rate + 1e-6));
}

// Holds each sample until the next one, and the last for good.
class Generation : public Signal {
 public:
  Generation(double rate, std::uint64_t end, Span span) : rate_(rate), end_(end), span_(span) {}
  double at(double seconds) const final { return span_.nearest(sample(std::min(sampleAt(seconds, rate_), end_ - 1))); }

 protected:
  virtual double sample(std::uint64_t number) const = 0;
  double rate() const { return rate_; }

 private:
  double rate_;
  std::uint64_t end_;
  Span span_;
};

class FormGeneration final : public Generation {
 public:
  FormGeneration(double rate, std::uint64_t end, Span span, Shape shape, const Parameters& parameters)
      : Generation(rate, end, span), shape_(shape), parameters_(parameters) {}

 private:
  double sample(std::uint64_t number) const override {
    const double turns = static_cast<double>(number) / rate() * parameters_[kFrequency] + parameters_[kPhase] / 360;
    return parameters_[kOffset] +
           parameters_[kAmplitude] * shape_(turns - std::floor(turns), parameters_[kDutyCycle] / 100);
  }

  Shape shape_;
  Parameters parameters_;
};

// Begins again at its end.
class BufferGeneration final : public Generation {
 public:
  BufferGeneration(double rate, std::uint64_t end, Span span, std::shared_ptr<const std::vector<float>> values,
                   std::size_t channels, std::size_t channel)
      : Generation(rate, end, span), values_(std::move(values)), channels_(channels), channel_(channel) {}

 private:
  double sample(std::uint64_t number) const override {
    return static_cast<double>((*values_)[number % (values_->size() / channels_) * channels_ + channel_]);
  }

  std::shared_ptr<const std::vector<float>> values_;
  std::size_t channels_;
  std::size_t channel_;
};

double real(const Request& request, std::size_t at) {
  return static_cast<double>(readBig<float>(request.payload, at));
}

}  // namespace

double Span::nearest(double volts) const {
  constexpr double kSteps = 0x10000;
  const double step = (high - low) / kSteps;
  return low + std::clamp(std::nearbyint((volts - low) / step), 0.0, kSteps - 1) * step;
}

AoFirmware::AoFirmware(Board& board, std::span<const AoPortRow> rows) : board_(board) {
  for (const AoPortRow& row : rows) {
    ports_.emplace_back(row);
  }
}

std::span<const AoFirmware::Row> AoFirmware::rows() {
  using A = AoFirmware;
  static constexpr std::size_t kReal = 4;
  static constexpr Row kRows[] = {
      {OPEN_AO, 1, 1, &A::openPort, false, true},
      {CLOSE_AO, 1, 1, &A::closePort, false, true},
      {WRITE_AO_BY_CHANNEL, 2 + kReal, 2 + kReal, &A::writeOne, false, false},
      {WRITE_AO_SYNCHRONIZED, 1, 1 + kMostChannels * kReal, &A::writeAll, false, false},
      {OPEN_AO_STREAMING, 1, 1, &A::openStreaming, true, true},
      {START_AO_STREAMING, 1, 1, &A::startStreaming, true, false},
      {STOP_AO_STREAMING, 1, 1, &A::stopStreaming, true, true},
      {CLOSE_AO_STREAMING, 1, 1, &A::closeStreaming, true, true},
      {SET_AO_SPAN, 2, 2, &A::setSpan, true, false},
      {SET_AO_MODE, 2, 2, &A::setMode, true, false},
      {SET_AO_SAMPLING_RATE, 1 + kReal, 1 + kReal, &A::setRate, true, false},
      {SET_AO_NUM_SAMPLES, 1 + kReal, 1 + kReal, &A::setNumSamples, true, false},
      {SET_AO_ENABLED_CHANNELS, 2, 2, &A::setEnabled, true, false},
      {SET_AO_FORM, 3, 3, &A::setForm, true, false},
      {SET_AO_FORM_PARAM, 2 + 5 * kReal, 2 + 5 * kReal, &A::setFormParameters, true, false},
      {INIT_AO_BUFFER, 1, 1, &A::initBuffer, true, false},
      {SET_AO_PUSH_TO_BUFFER, 2, 2 + kMostPushed * kReal, &A::pushToBuffer, true, false},
      {GET_AO_VALUES, 1, 1, &A::values, true, true},
      {GET_AO_COUNTERS, 1, 1, &A::counters, true, true},
      {GET_AO_MODE, 1, 1, &A::modeOf, true, true},
      {GET_AO_STATE, 1, 1, &A::stateOf, true, true},
  };
  return kRows;
}

void AoFirmware::addCommands(CommandTable& table) {
  const bool generates =
      std::any_of(ports_.begin(), ports_.end(), [](const Port& port) { return port.row->generates; });
  for (const Row& row : rows()) {
    if (row.generation && !generates) {
      continue;
    }
    const CommandRow<AoFirmware> command{row.code, row.min, row.max, ReplyForm::EchoStatus, &AoFirmware::dispatch};
    table.add<AoFirmware>(*this, {&command, 1});
  }
}

Answer AoFirmware::dispatch(const Request& request) {
  const auto port = std::find_if(ports_.begin(), ports_.end(),
                                 [&](const Port& candidate) { return candidate.row->port == request.payload[0]; });
  if (port == ports_.end()) {
    return status::kPinIndex;
  }
  const auto row =
      std::find_if(rows().begin(), rows().end(), [&](const Row& candidate) { return candidate.code == request.code; });
  if (!row->while_running && state(*port, request.now) == State::Running) {
    return status::kAo;
  }
  return (this->*row->run)(*port, request);
}

void AoFirmware::restart() {
  for (Port& port : ports_) {
    releasePins(port);
    port = Port(*port.row);
  }
  for (const auto& output : board_.outputs) {
    output->reset();
  }
}

std::uint64_t AoFirmware::samplesDone(const Port& port, TimePoint now) {
  const Run& run = port.run;
  return std::min(sampleAt(secondsBetween(run.start, std::min(now, run.stopped)), run.rate) + 1, run.end);
}

AoFirmware::State AoFirmware::state(const Port& port, TimePoint now) {
  if (!port.open_for_streaming) {
    return State::Idle;
  }
  // A sample lasts until the next one would be due, also the last.
  const Run& run = port.run;
  const bool running = run.stopped == kNever && sampleAt(secondsBetween(run.start, now), run.rate) < run.end;
  return running ? State::Running : State::StandBy;
}

void AoFirmware::halt(Port& port, TimePoint now) {
  if (state(port, now) != State::Running) {
    return;
  }
  for (std::size_t channel = 0; channel < port.row->channels; ++channel) {
    line(channel).set(now, line(channel).at(now));
  }
  port.run.stopped = now;
}

void AoFirmware::releasePins(const Port& port) {
  if (port.open && port.row->takes_pins) {
    board_.pins.release(port.row->port, board_.pins.pinsOf(port.row->port), PinMode::Disabled);
  }
}

Answer AoFirmware::openPort(Port& port, const Request&) {
  if (port.row->takes_pins &&
      !board_.pins.take(port.row->port, board_.pins.pinsOf(port.row->port), PinMode::Disabled)) {
    return status::kAo;
  }
  port.open = true;
  return status::kOk;
}

Answer AoFirmware::closePort(Port& port, const Request& request) {
  closeStreaming(port, request);
  if (port.open) {
    for (std::size_t channel = 0; channel < port.row->channels; ++channel) {
      line(channel).set(request.now, 0);
    }
  }
  releasePins(port);
  port.open = port.row->always_open;
  return status::kOk;
}

// payload: port u8, channel u8, volts f32
Answer AoFirmware::writeOne(Port& port, const Request& request) {
  const std::size_t channel = request.payload[1];
  const double volts = real(request, 2);
  const Span& span = kSpans[port.span];
  if (!port.open || channel >= port.row->channels || !span.contains(volts)) {
    return status::kAo;
  }
  line(channel).set(request.now, span.nearest(volts));
  return status::kOk;
}

// payload: port u8, volts f32 for each channel
Answer AoFirmware::writeAll(Port& port, const Request& request) {
  const std::size_t channels = port.row->channels;
  if (request.payload.size() != 1 + 4 * channels) {
    return status::kParser;
  }
  const Span& span = kSpans[port.span];
  for (std::size_t channel = 0; channel < channels; ++channel) {
    if (!port.open || !span.contains(real(request, 1 + 4 * channel))) {
      return status::kAo;
    }
  }
  for (std::size_t channel = 0; channel < channels; ++channel) {
    line(channel).set(request.now, span.nearest(real(request, 1 + 4 * channel)));
  }
  return status::kOk;
}

Answer AoFirmware::openStreaming(Port& port, const Request&) {
  if (!port.open) {
    return status::kAo;
  }
  port.open_for_streaming = true;
  return payload(u8(static_cast<std::uint8_t>(port.mode)), f32(port.rate));
}

Answer AoFirmware::startStreaming(Port& port, const Request& request) {
  const auto channels = static_cast<unsigned>(std::popcount(port.enabled));
  if (!port.open_for_streaming || port.mode == Mode::OnDemand || channels == 0 ||
      (port.buffer && port.buffer->size() < channels)) {
    return status::kAo;
  }
  const std::uint64_t end = port.mode == Mode::Samples ? port.num_samples : kEndless;
  port.run = {.start = request.now, .rate = port.rate, .end = end, .channels = channels};
  const Span& span = kSpans[port.span];
  std::size_t place = 0;
  for (std::size_t channel = 0; channel < port.row->channels; ++channel) {
    if ((port.enabled >> channel & 1) == 0) {
      continue;
    }
    if (port.buffer) {
      line(channel).play(request.now,
                         std::make_shared<BufferGeneration>(port.rate, end, span, port.buffer, channels, place++));
    } else {
      const Form& form = port.forms[channel];
      line(channel).play(request.now,
                         std::make_shared<FormGeneration>(port.rate, end, span, kShapes[form.kind], form.parameters));
    }
  }
  return Answer::silence();
}

Answer AoFirmware::stopStreaming(Port& port, const Request& request) {
  halt(port, request.now);
  return status::kOk;
}

Answer AoFirmware::closeStreaming(Port& port, const Request& request) {
  halt(port, request.now);
  port.open_for_streaming = false;
  return status::kOk;
}

Answer AoFirmware::setSpan(Port& port, const Request& request) {
  if (request.payload[1] >= kSpans.size()) {
    return status::kAo;
  }
  port.span = request.payload[1];
  for (std::size_t channel = 0; channel < port.row->channels; ++channel) {
    line(channel).set(request.now, kSpans[port.span].nearest(line(channel).at(request.now)));
  }
  return status::kOk;
}

Answer AoFirmware::setMode(Port& port, const Request& request) {
  if (request.payload[1] > static_cast<std::uint8_t>(Mode::Continuous)) {
    return status::kAo;
  }
  port.mode = static_cast<Mode>(request.payload[1]);
  return status::kOk;
}

Answer AoFirmware::setRate(Port& port, const Request& request) {
  const double rate = real(request, 1);
  if (!(rate >= 1e-6) || rate > kFastestOutput) {  // NaN fails the first comparison
    return status::kAo;
  }
  port.rate = rate;
  return status::kOk;
}

Answer AoFirmware::setNumSamples(Port& port, const Request& request) {
  const auto number = readBig<std::uint32_t>(request.payload, 1);
  if (number == 0) {
    return status::kAo;
  }
  port.num_samples = number;
  return status::kOk;
}

Answer AoFirmware::setEnabled(Port& port, const Request& request) {
  if (request.payload[1] >> port.row->channels != 0) {
    return status::kAo;
  }
  port.enabled = request.payload[1];
  return status::kOk;
}

// payload: port u8, channel u8, form u8
Answer AoFirmware::setForm(Port& port, const Request& request) {
  if (request.payload[1] >= port.row->channels || request.payload[2] >= kShapes.size()) {
    return status::kAo;
  }
  port.forms[request.payload[1]].kind = request.payload[2];
  port.buffer.reset();
  return status::kOk;
}

// payload: port u8, channel u8, amplitude f32, offset f32, frequency f32, phase f32, duty cycle f32
Answer AoFirmware::setFormParameters(Port& port, const Request& request) {
  Parameters parameters{};
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    parameters[i] = real(request, 2 + 4 * i);
  }
  const bool finite = std::all_of(parameters.begin(), parameters.end(), [](double p) { return std::isfinite(p); });
  if (request.payload[1] >= port.row->channels || !finite || parameters[kAmplitude] < 0 || parameters[kFrequency] < 0 ||
      parameters[kDutyCycle] < 0 || parameters[kDutyCycle] > 100) {
    return status::kAo;
  }
  port.forms[request.payload[1]].parameters = parameters;
  port.buffer.reset();
  return status::kOk;
}

Answer AoFirmware::initBuffer(Port& port, const Request&) {
  port.buffer = std::make_shared<std::vector<float>>();
  return payload(u32(kBufferValues));
}

// payload: port u8, number u8, volts f32 as often
Answer AoFirmware::pushToBuffer(Port& port, const Request& request) {
  const std::size_t count = request.payload[1];
  if (request.payload.size() != 2 + 4 * count) {
    return status::kParser;
  }
  if (!port.buffer || port.buffer->size() + count > kBufferValues) {
    return status::kAo;
  }
  std::vector<float> values;
  for (std::size_t i = 0; i < count; ++i) {
    if (!kSpans[port.span].contains(real(request, 2 + 4 * i))) {
      return status::kAo;
    }
    values.push_back(readBig<float>(request.payload, 2 + 4 * i));
  }
  if (port.buffer.use_count() > 1) {
    port.buffer = std::make_shared<std::vector<float>>(*port.buffer);
  }
  port.buffer->insert(port.buffer->end(), values.begin(), values.end());
  return status::kOk;
}

Answer AoFirmware::values(Port& port, const Request& request) {
  Bytes volts;
  for (std::size_t channel = 0; channel < port.row->channels; ++channel) {
    appendBig(volts, static_cast<float>(line(channel).at(request.now)));
  }
  return volts;
}

Answer AoFirmware::counters(Port& port, const Request& request) {
  const std::uint64_t samples = samplesDone(port, request.now);
  return payload(u32(samples), u32(samples * port.run.channels));
}

Answer AoFirmware::modeOf(Port& port, const Request&) {
  return payload(u8(static_cast<std::uint8_t>(port.mode)));
}

Answer AoFirmware::stateOf(Port& port, const Request& request) {
  return payload(u8(static_cast<std::uint8_t>(state(port, request.now))));
}

}  // namespace qvx::bench
