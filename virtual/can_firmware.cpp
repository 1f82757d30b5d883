#include "virtual/can_firmware.h"

#include "core/constants.h"

#include <algorithm>
#include <utility>

namespace qvx::bench {
namespace {

constexpr std::array<std::uint32_t, 4> kBitRates = {125000, 250000, 500000, 1000000};
constexpr std::size_t kDataSize = 8;
constexpr std::size_t kRecordSize = 13;
constexpr std::size_t kFramesInPacket = 100;
constexpr std::chrono::milliseconds kPacketPeriod{2};
constexpr std::size_t kMostWaiting = 256;    // written frames beside the transmit buffers
constexpr std::size_t kMostReceived = 4096;  // frames that wait for a slow client
constexpr std::chrono::milliseconds kRetryPause{5};
constexpr int kWarning = 96;
constexpr int kPassive = 128;
constexpr int kBusOff = 256;
constexpr std::uint32_t kStandardBits = 0xFFE00000;
constexpr std::uint32_t kExtendedBits = 0xFFE3FFFF;

}  // namespace

CanFirmware::CanFirmware(Board& board, const BusPort& row) : board_(board), row_(row) {
  board_.can_bus->attach(*this);
}

CanFirmware::~CanFirmware() {
  board_.can_bus->detach(*this);
}

std::span<const CanFirmware::Row> CanFirmware::rows() {
  using C = CanFirmware;
  static constexpr Row kRows[] = {
      {OPEN_CAN, 1, &C::open},
      {CLOSE_CAN, 1, &C::close},
      {START_CAN, 1, &C::start},
      {STOP_CAN, 1, &C::stop},
      {WRITE_CAN, 1 + 4 + kDataSize, &C::write},
      {SET_CAN_SPEED, 2, &C::setSpeed},
      {SET_CAN_ENABLED_ITR, 2, &C::setInterrupts},
      {SET_CAN_TX_PRIORITY, 3, &C::setPriority},
      {SET_CAN_RX_ROLLOVER, 2, &C::setRollover},
      {SET_CAN_RX_FILTERING_ON, 2, &C::setFiltering},
      {SET_CAN_RX_FILTER_OR_MASK, 6, &C::setFilterOrMask},
      {GET_CAN_INTERRUPTS, 1, &C::interrupts},
      {GET_CAN_ERRORS, 1, &C::errors},
      {GET_CAN_COUNTERS, 1, &C::counters},
  };
  return kRows;
}

void CanFirmware::addCommands(CommandTable& table) {
  for (const Row& row : rows()) {
    const CommandRow<CanFirmware> command{row.code, row.length, row.length, ReplyForm::EchoStatus,
                                          &CanFirmware::dispatch};
    table.add<CanFirmware>(*this, {&command, 1});
  }
}

Answer CanFirmware::dispatch(const Request& request) {
  board_.can_bus->advance(request.now);  // what is over was over before this request
  if (request.payload[0] != row_.number) {
    return status::kPinIndex;
  }
  const auto row =
      std::find_if(rows().begin(), rows().end(), [&](const Row& candidate) { return candidate.code == request.code; });
  return (this->*row->run)(request);
}

void CanFirmware::restart() {
  state_ = State{};
  board_.can_bus->silence(*this, TimePoint{});
}

Answer CanFirmware::open(const Request&) {
  if (!row_.take(board_.pins, PinMode::CAN)) {
    return status::kCan;
  }
  state_.open = true;
  return status::kOk;
}

Answer CanFirmware::close(const Request& request) {
  leaveBus(request.now);
  row_.release(board_.pins, PinMode::CAN);
  state_.open = false;
  return status::kOk;
}

// A controller that starts forgets its errors, and so comes back from bus-off.
Answer CanFirmware::start(const Request& request) {
  if (!state_.open || request.outlet.streams() == nullptr) {
    return status::kCan;
  }
  if (!active()) {
    state_.bus_off = false;
    state_.transmit_errors = 0;
    state_.receive_errors = 0;
  }
  state_.started = true;
  state_.reader = request.outlet.streams();
  board_.can_bus->joined(request.now);
  return status::kOk;
}

Answer CanFirmware::stop(const Request& request) {
  stream(request.now);
  leaveBus(request.now);
  return status::kOk;
}

void CanFirmware::leaveBus(TimePoint now) {
  state_.started = false;
  state_.reader = nullptr;
  state_.frames.clear();
  state_.waiting.clear();
  state_.buffers = {};
  board_.can_bus->silence(*this, now);
}

Answer CanFirmware::write(const Request& request) {
  if (!active() || state_.waiting.size() >= kMostWaiting) {
    return status::kCan;
  }
  BusFrame frame{.word = readBig<std::uint32_t>(request.payload, 1), .length = kDataSize, .data = {}};
  std::copy(request.payload.begin() + 5, request.payload.end(), frame.data.begin());
  if (frame.remote()) {
    frame.data = {};
  }
  state_.waiting.push_back({frame, request.now, ++state_.writes});
  ++state_.counters.written;
  fillBuffers();
  board_.can_bus->advance(request.now);
  return status::kOk;
}

Answer CanFirmware::setSpeed(const Request& request) {
  if (request.payload[1] >= kBitRates.size() || state_.started) {
    return status::kCan;
  }
  state_.speed_mode = request.payload[1];
  return status::kOk;
}

Answer CanFirmware::setInterrupts(const Request& request) {
  state_.interrupts = request.payload[1];
  return status::kOk;
}

Answer CanFirmware::setPriority(const Request& request) {
  if (request.payload[1] >= state_.priorities.size() || request.payload[2] > 3) {
    return status::kCan;
  }
  state_.priorities[request.payload[1]] = request.payload[2];
  return status::kOk;
}

// Kept, and of no effect: the receive buffers are emptied at once.
Answer CanFirmware::setRollover(const Request& request) {
  if (request.payload[1] > 1) {
    return status::kCan;
  }
  state_.rollover = request.payload[1] == 1;
  return status::kOk;
}

Answer CanFirmware::setFiltering(const Request& request) {
  if (request.payload[1] > 1) {
    return status::kCan;
  }
  state_.filtering = request.payload[1] == 1;
  return status::kOk;
}

Answer CanFirmware::setFilterOrMask(const Request& request) {
  const std::size_t index = request.payload[1];
  const auto word = readBig<std::uint32_t>(request.payload, 2);
  if (index < state_.filters.size()) {
    state_.filters[index] = word;
  } else if (index - state_.filters.size() < state_.masks.size()) {
    state_.masks[index - state_.filters.size()] = word;
  } else {
    return status::kCan;
  }
  return status::kOk;
}

Answer CanFirmware::interrupts(const Request&) {
  unsigned flags = state_.frames.empty() ? 0 : 1;
  for (std::size_t i = 0; i < state_.buffers.size(); ++i) {
    flags |= state_.buffers[i] ? 0U : 4U << i;
  }
  flags |= errorState() != 0 ? 0x20U : 0U;
  flags |= std::exchange(state_.message_error, false) ? 0x80U : 0U;
  return payload(u8(state_.interrupts), u8(flags), u8(errorState()));
}

Answer CanFirmware::errors(const Request&) {
  return payload(u8(std::min(state_.transmit_errors, 255)), u8(std::min(state_.receive_errors, 255)));
}

Answer CanFirmware::counters(const Request&) {
  const Counters& c = state_.counters;
  return payload(u32(c.sent), u32(c.received), u32(c.transfers), u32(c.written), u32(c.errors), u32(c.overflows));
}

// Bits: 0 a counter from 96 on, 1 and 2 which (receive, transmit), 3 and 4 which from 128 on, 5 bus-off, 6 frames were
// lost.
std::uint8_t CanFirmware::errorState() const {
  const int tx = state_.transmit_errors;
  const int rx = state_.receive_errors;
  const std::array<bool, 7> bits = {
      tx >= kWarning || rx >= kWarning, rx >= kWarning, tx >= kWarning, rx >= kPassive, tx >= kPassive, state_.bus_off,
      state_.counters.overflows != 0};
  unsigned state = 0;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    state |= bits[i] ? 1U << i : 0U;
  }
  return static_cast<std::uint8_t>(state);
}

std::uint32_t CanFirmware::bitRate() const {
  return kBitRates.at(static_cast<std::size_t>(state_.speed_mode));
}

// The highest priority; of equal ones the frame that was written first.
int CanFirmware::nextBuffer() const {
  int best = -1;
  for (std::size_t i = 0; i < state_.buffers.size(); ++i) {
    const auto rank = [this](std::size_t at) { return std::pair(-state_.priorities[at], state_.buffers[at]->number); };
    if (state_.buffers[i] && (best < 0 || rank(i) < rank(static_cast<std::size_t>(best)))) {
      best = static_cast<int>(i);
    }
  }
  return best;
}

const BusFrame* CanFirmware::pending() const {
  const int next = nextBuffer();
  return next < 0 ? nullptr : &state_.buffers.at(static_cast<std::size_t>(next))->frame;
}

TimePoint CanFirmware::pendingFrom() const {
  const int next = nextBuffer();
  return next < 0 ? kNever : state_.buffers.at(static_cast<std::size_t>(next))->from;
}

void CanFirmware::fillBuffers() {
  for (auto& buffer : state_.buffers) {
    if (!buffer && !state_.waiting.empty()) {
      buffer = state_.waiting.front();
      state_.waiting.pop_front();
      ++state_.counters.transfers;
    }
  }
}

void CanFirmware::sent() {
  state_.buffers.at(static_cast<std::size_t>(state_.sending)).reset();
  state_.transmit_errors = std::max(0, state_.transmit_errors - 1);
  ++state_.counters.sent;
  fillBuffers();
}

// It is sent again and again. A station that nobody acknowledges becomes error-passive, but never bus-off: it may just
// be the first one on the bus.
void CanFirmware::failed(bool disturbed, TimePoint now) {
  ++state_.counters.errors;
  state_.message_error = true;
  if (disturbed || state_.transmit_errors < kPassive) {
    state_.transmit_errors += 8;
  }
  if (state_.transmit_errors >= kBusOff) {
    state_.bus_off = true;
    state_.waiting.clear();
    state_.buffers = {};
    return;
  }
  state_.buffers.at(static_cast<std::size_t>(state_.sending))->from = now + kRetryPause;
}

void CanFirmware::disturbed() {
  ++state_.counters.errors;
  state_.message_error = true;
  state_.receive_errors = std::min(state_.receive_errors + 1, 255);
  board_.news = true;
}

bool CanFirmware::passes(const BusFrame& frame) const {
  const std::uint32_t bits = frame.extended() ? kExtendedBits : kStandardBits;
  for (std::size_t i = 0; i < state_.filters.size(); ++i) {
    const std::uint32_t filter = state_.filters[i];
    const std::uint32_t mask = state_.masks[i < 2 ? 0 : 1] & bits;
    if (((filter ^ frame.word) & BusFrame::kExtended) == 0 && ((filter ^ frame.word) & mask) == 0) {
      return true;
    }
  }
  return false;
}

void CanFirmware::received(const BusFrame& frame) {
  state_.receive_errors = std::max(0, state_.receive_errors - 1);
  if (state_.filtering && !passes(frame)) {
    return;
  }
  ++state_.counters.received;
  ++state_.counters.transfers;
  if (state_.frames.size() >= kMostReceived) {
    ++state_.counters.overflows;
    return;
  }
  state_.frames.push_back(frame);
  board_.news = true;
}

// payload: port u8, records of identifier word u32, length u8, data in 8 bytes
void CanFirmware::stream(TimePoint now) {
  while (state_.reader != nullptr && !state_.frames.empty() && state_.reader->room() >= kFramesInPacket * kRecordSize) {
    Bytes packet = payload(u8(row_.number));
    for (std::size_t i = 0; i < kFramesInPacket && !state_.frames.empty(); ++i) {
      const BusFrame& frame = state_.frames.front();
      appendField(packet, u32(frame.word));
      appendField(packet, u8(frame.length));
      packet.insert(packet.end(), frame.data.begin(), frame.data.end());
      state_.frames.pop_front();
    }
    state_.reader->send(START_CAN, packet, now);
    state_.last_packet = now;
  }
}

void CanFirmware::tick(TimePoint now) {
  board_.can_bus->advance(now);
  if (state_.last_packet + kPacketPeriod <= now || board_.unpaced) {
    stream(now);
  }
}

TimePoint CanFirmware::due(TimePoint) {
  const bool streams =
      state_.reader != nullptr && !state_.frames.empty() && state_.reader->room() >= kFramesInPacket * kRecordSize;
  const TimePoint packet = board_.unpaced ? TimePoint{} : state_.last_packet + kPacketPeriod;
  return std::min(board_.can_bus->due(), streams ? packet : kNever);
}

void CanFirmware::forget(const Outlet& outlet) {
  if (state_.reader == &outlet) {
    leaveBus(TimePoint{});
  }
}

}  // namespace qvx::bench
