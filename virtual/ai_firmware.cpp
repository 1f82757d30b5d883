#include "virtual/ai_firmware.h"

#include "core/constants.h"

#include <algorithm>
#include <cmath>

namespace qvx::bench {
namespace {

constexpr std::size_t kPacketData = 1440;            // bytes of samples in one stream packet
constexpr std::uint64_t kBufferBytes = 4U << 20;     // bytes of samples that wait for a slow client
constexpr int kBurst = 256;                          // packets sent before others have their turn
constexpr std::chrono::milliseconds kTickPeriod{5};  // shortest pause between two bursts of packets

// Sample n is due n/rate after the start, so samples 0..floor(t*rate) are due at t.
std::uint64_t samplesDue(TimePoint start, TimePoint now, double rate) {
  return now < start ? 0 : static_cast<std::uint64_t>(secondsBetween(start, now) * rate) + 1;
}

TimePoint sampleTime(TimePoint start, std::uint64_t number, double rate) {
  const std::chrono::duration<double> offset(static_cast<double>(number) / rate);
  return start + std::chrono::ceil<TimePoint::duration>(offset);
}

// The low bytes of a code, most significant first.
void appendValue(Bytes& out, std::int32_t code, std::size_t size) {
  for (std::size_t byte = size; byte-- > 0;) {
    out.push_back(static_cast<std::uint8_t>(code >> (8 * byte)));
  }
}

}  // namespace

std::uint64_t AiFirmware::Port::capacity() const {
  return kBufferBytes / sampleSize();
}

AiFirmware::AiFirmware(Board& board, std::span<const AiPortRow> rows) : board_(board) {
  for (const AiPortRow& row : rows) {
    ports_.emplace_back(row);
  }
}

std::span<const AiFirmware::Row> AiFirmware::rows() {
  using A = AiFirmware;
  static constexpr Row kRows[] = {
      {OPEN_AI, 1, &A::openPort},
      {CLOSE_AI, 1, &A::closePort},
      {OPEN_AI_STREAMING, 1, &A::openStreaming},
      {CLOSE_AI_STREAMING, 1, &A::closeStreaming},
      {START_AI_STREAMING, 1, &A::startStreaming, 16},
      {START_AI_STREAMING_VARIABLE, 1, &A::startStreaming, 16},
      {AI_START_STREAMING_24BIT, 1, &A::startStreaming, 24},
      {SET_AI_MODE, 2, &A::setMode},
      {SET_AI_NUM_SAMPLES, 5, &A::setNumSamples},
      {SET_AI_SAMPLING_RATE, 5, &A::setRate},
      {SET_AI_ENABLED_CS, 2, &A::setChannels},
      {AI_SET_TRIG_MODE, 2, &A::setTrigger},
      {READ_AI_ON_DEMAND, 1, &A::readOnDemand, 16},
      {READ_AI_ON_DEMAND_VARIABLE, 1, &A::readOnDemand, 16},
      {AI_GET_DATA, 1, &A::readOnDemand, 16},
      {READAI24BIT, 1, &A::readOnDemand, 24},
      {GET_AI_COUNTERS, 1, &A::counters},
      {CHECK_BUFFER_STATUS, 1, &A::bufferStatus},
      {AI_RESET_BUFFER, 1, &A::resetBuffer},
      {CLEAR_DATA, 1, &A::clearData},
  };
  return kRows;
}

void AiFirmware::addCommands(CommandTable& table) {
  for (const Row& row : rows()) {
    if (row.bits != kAnyBits &&
        std::none_of(ports_.begin(), ports_.end(), [&](const Port& port) { return port.row->bits == row.bits; })) {
      continue;
    }
    const CommandRow<AiFirmware> command{row.code, row.length, row.length, ReplyForm::EchoStatus,
                                         &AiFirmware::dispatch};
    table.add<AiFirmware>(*this, {&command, 1});
  }
}

Answer AiFirmware::dispatch(const Request& request) {
  const auto port = std::find_if(ports_.begin(), ports_.end(),
                                 [&](const Port& candidate) { return candidate.row->port == request.payload[0]; });
  if (port == ports_.end()) {
    return status::kPinIndex;
  }
  const auto row =
      std::find_if(rows().begin(), rows().end(), [&](const Row& candidate) { return candidate.code == request.code; });
  return (this->*row->run)(*port, request);
}

void AiFirmware::restart() {
  for (Port& port : ports_) {
    port = Port(*port.row);
  }
}

// Opening what is open and closing what is closed succeeds: clients repeat a request whose reply is late.
Answer AiFirmware::openPort(Port& port, const Request&) {
  port.open = true;
  return status::kOk;
}

Answer AiFirmware::closePort(Port& port, const Request& request) {
  closeStreaming(port, request);
  port.open = port.row->always_open;
  return status::kOk;
}

Answer AiFirmware::openStreaming(Port& port, const Request&) {
  if (!port.open) {
    return status::kAi;
  }
  port.open_for_streaming = true;
  return board_.wireless ? Answer(payload(u32(static_cast<unsigned>(port.mode)), f32(port.rate))) : Answer(status::kOk);
}

Answer AiFirmware::closeStreaming(Port& port, const Request& request) {
  if (port.stream.run == Run::Running) {
    sendWaiting(port, request.now);
  }
  port.stream = Stream{};
  port.open_for_streaming = false;
  return status::kOk;
}

Answer AiFirmware::startStreaming(Port& port, const Request& request) {
  Outlet* const outlet = request.outlet.streams();
  if (!port.open_for_streaming || port.mode == Mode::OnDemand || port.busy() || outlet == nullptr) {
    return status::kAi;
  }
  port.stream = Stream{};
  port.stream.code = request.code;
  port.stream.outlet = outlet;
  port.stream.end = port.mode == Mode::Samples ? port.num_samples : kEndless;
  port.counters = Counters{};
  if ((port.trigger & kTriggerCommand) != 0) {
    begin(port, request.now);
  } else {
    port.stream.run = Run::Armed;
    port.stream.alarms_seen = board_.clock.alarmCount(request.now);
  }
  return Answer::silence();
}

Answer AiFirmware::setMode(Port& port, const Request& request) {
  if (port.busy() || request.payload[1] > static_cast<std::uint8_t>(Mode::Continuous)) {
    return status::kAi;
  }
  port.mode = static_cast<Mode>(request.payload[1]);
  return status::kOk;
}

Answer AiFirmware::setNumSamples(Port& port, const Request& request) {
  const auto number = readBig<std::uint32_t>(request.payload, 1);
  if (port.busy() || number == 0) {
    return status::kAi;
  }
  port.num_samples = number;
  return status::kOk;
}

Answer AiFirmware::setRate(Port& port, const Request& request) {
  const double rate = static_cast<double>(readBig<float>(request.payload, 1));
  // NaN fails the first comparison. Below 1 uHz the time of a sample would leave the clock's range.
  if (port.busy() || !(rate >= 1e-6) || rate > port.row->max_rate) {
    return status::kAi;
  }
  port.rate = rate;
  return status::kOk;
}

Answer AiFirmware::setChannels(Port& port, const Request& request) {
  const std::size_t number = request.payload[1];
  const bool valid =
      port.row->selectable_channels ? number >= 1 && number <= port.row->channels : number == port.row->channels;
  if (port.busy() || !valid) {
    return status::kAi;
  }
  port.channels = number;
  return status::kOk;
}

Answer AiFirmware::setTrigger(Port& port, const Request& request) {
  if (port.busy() || request.payload[1] < 1 || request.payload[1] > 7) {
    return status::kAi;
  }
  port.trigger = request.payload[1];
  return status::kOk;
}

Answer AiFirmware::readOnDemand(Port& port, const Request& request) {
  if (!port.open) {
    return status::kAi;
  }
  const double seconds = secondsBetween(board_.switched_on, request.now);
  Bytes sample;
  for (std::size_t channel = 0; channel < port.channels; ++channel) {
    appendValue(sample, codeOfVolts(board_.inputs[channel]->at(seconds), port.row->bits), port.valueSize());
  }
  return sample;
}

Answer AiFirmware::counters(Port& port, const Request& request) {
  acquire(port, request.now);
  return payload(u32(port.counters.acquired), u32(port.counters.packets), u32(port.counters.lost));
}

Answer AiFirmware::bufferStatus(Port& port, const Request& request) {
  acquire(port, request.now);
  return payload(u32(port.stream.acquired - port.stream.sent), u32(port.capacity()));
}

Answer AiFirmware::resetBuffer(Port& port, const Request& request) {
  acquire(port, request.now);
  port.stream.sent = port.stream.acquired;
  return status::kOk;
}

Answer AiFirmware::clearData(Port& port, const Request& request) {
  resetBuffer(port, request);
  port.counters = Counters{};
  return status::kOk;
}

void AiFirmware::begin(Port& port, TimePoint start) {
  port.stream.run = Run::Running;
  port.stream.start = start;
  port.stream.last_tick = start - kTickPeriod;
}

void AiFirmware::acquire(Port& port, TimePoint now) {
  Stream& stream = port.stream;
  if (stream.run != Run::Running || board_.unpaced) {
    return;
  }
  const std::uint64_t due = std::min(samplesDue(stream.start, now, port.rate), stream.end);
  if (due > stream.acquired) {
    port.counters.acquired += due - stream.acquired;
    stream.acquired = due;
  }
  const std::uint64_t waiting = stream.acquired - stream.sent;
  if (waiting > port.capacity()) {
    port.counters.lost += waiting - port.capacity();
    stream.sent = stream.acquired - port.capacity();
  }
}

Bytes AiFirmware::packet(const Port& port, std::size_t samples) const {
  const Stream& stream = port.stream;
  const double start = secondsBetween(board_.switched_on, stream.start);
  Bytes out{static_cast<std::uint8_t>(port.row->port)};
  out.reserve(1 + samples * port.sampleSize());
  for (std::size_t i = 0; i < samples; ++i) {
    for (std::size_t channel = 0; channel < port.channels; ++channel) {
      const double volts = board_.inputs[channel]->sample(stream.sent + i, port.rate, start);
      appendValue(out, codeOfVolts(volts, port.row->bits), port.valueSize());
    }
  }
  return out;
}

void AiFirmware::sendWaiting(Port& port, TimePoint now) {
  Stream& stream = port.stream;
  const std::uint64_t most = kPacketData / port.sampleSize();
  acquire(port, now);
  // What a full burst leaves behind is due at once.
  stream.last_tick = stream.acquired - stream.sent > kBurst * most ? now - kTickPeriod : now;
  // Bounded: without pace, an outlet that drops everything never runs out of room.
  for (int burst = 0; burst < kBurst && stream.outlet->room() >= kPacketData && stream.sent < stream.end; ++burst) {
    if (board_.unpaced) {
      const std::uint64_t more = std::min(most, stream.end - stream.sent);
      stream.acquired += more;
      port.counters.acquired += more;
    }
    const std::uint64_t samples = std::min(most, stream.acquired - stream.sent);
    if (samples == 0) {
      break;
    }
    stream.outlet->send(stream.code, packet(port, samples), now);
    stream.sent += samples;
    ++port.counters.packets;
  }
  if (stream.sent == stream.end) {
    stream = Stream{};
  }
}

void AiFirmware::tick(TimePoint now) {
  for (Port& port : ports_) {
    if (port.stream.run == Run::Armed && (port.trigger & kTriggerClock) != 0 &&
        board_.clock.alarmCount(now) != port.stream.alarms_seen) {
      begin(port, now);
    }
    if (port.stream.run == Run::Running && dueOf(port, now) <= now) {
      sendWaiting(port, now);
    }
  }
}

TimePoint AiFirmware::due(TimePoint now) {
  TimePoint earliest = kNever;
  for (const Port& port : ports_) {
    earliest = std::min(earliest, dueOf(port, now));
  }
  return earliest;
}

TimePoint AiFirmware::dueOf(const Port& port, TimePoint now) {
  const Stream& stream = port.stream;
  if (stream.run == Run::Armed) {
    return (port.trigger & kTriggerClock) != 0 ? board_.clock.alarmDue(now) : kNever;
  }
  if (stream.run == Run::Stopped || stream.outlet->room() < kPacketData) {
    return kNever;
  }
  const TimePoint next = sampleTime(stream.start, stream.sent, port.rate);
  return board_.unpaced ? now : std::max(next, stream.last_tick + kTickPeriod);
}

void AiFirmware::forget(const Outlet& outlet) {
  for (Port& port : ports_) {
    if (port.stream.outlet == &outlet) {
      port.stream = Stream{};
    }
  }
}

}  // namespace qvx::bench
