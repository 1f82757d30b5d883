#include "virtual/uart_firmware.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

constexpr std::uint32_t kHighestBaudRate = 400000;
constexpr std::size_t kLongestWrite = UART_PKT_LENGTH_MAX;
constexpr std::size_t kSendBuffer = 4096;     // characters
constexpr std::size_t kReceiveBuffer = 1024;  // characters
constexpr std::size_t kPacketData = 256;      // characters in one stream packet
constexpr std::chrono::milliseconds kPacketPeriod{5};

}  // namespace

UartFirmware::UartFirmware(Board& board, std::span<const BusPort> rows) : board_(board) {
  for (const BusPort& row : rows) {
    ports_.push_back({.row = &row});
  }
}

std::span<const UartFirmware::Row> UartFirmware::rows() {
  using U = UartFirmware;
  static constexpr Row kRows[] = {
      {OPEN_UART, 1, 1, &U::openPort},
      {CLOSE_UART, 1, 1, &U::closePort},
      {RESET_UART, 1, 1, &U::reset},
      {START_UART_READING, 1, 1, &U::startReading},
      {STOP_UART_READING, 1, 1, &U::stopReading},
      {WRITE_UART, 1, 1 + kLongestWrite, &U::write},
      {SET_UART_BAUD_RATE, 5, 5, &U::setBaudRate},
      {SET_UART_DATA_SIZE, 2, 2, &U::setDataSize},
      {SET_UART_PARITY, 2, 2, &U::setParity},
      {SET_UART_NUM_STOP_BITS, 2, 2, &U::setStopBits},
  };
  return kRows;
}

void UartFirmware::addCommands(CommandTable& table) {
  for (const Row& row : rows()) {
    const CommandRow<UartFirmware> command{row.code, row.min, row.max, ReplyForm::EchoStatus, &UartFirmware::dispatch};
    table.add<UartFirmware>(*this, {&command, 1});
  }
}

Answer UartFirmware::dispatch(const Request& request) {
  tick(request.now);  // what has arrived so far arrived before this request
  const auto port = std::find_if(ports_.begin(), ports_.end(),
                                 [&](const Port& candidate) { return candidate.row->number == request.payload[0]; });
  if (port == ports_.end()) {
    return status::kPinIndex;
  }
  const auto row =
      std::find_if(rows().begin(), rows().end(), [&](const Row& candidate) { return candidate.code == request.code; });
  return (this->*row->run)(*port, request);
}

void UartFirmware::restart() {
  for (Port& port : ports_) {
    port = Port{.row = port.row};
  }
}

Answer UartFirmware::openPort(Port& port, const Request&) {
  if (!port.row->take(board_.pins, PinMode::UART)) {
    return status::kUart;
  }
  port.open = true;
  return status::kOk;
}

Answer UartFirmware::closePort(Port& port, const Request&) {
  port.row->release(board_.pins, PinMode::UART);
  port.open = false;
  port.reader = nullptr;
  port.buffer.clear();
  return status::kOk;
}

Answer UartFirmware::reset(Port& port, const Request&) {
  port.settings = LineSettings{};
  return status::kOk;
}

Answer UartFirmware::startReading(Port& port, const Request& request) {
  Outlet* const reader = request.outlet.streams();
  if (!port.open || reader == nullptr) {
    return status::kUart;
  }
  port.reader = reader;
  return status::kOk;
}

Answer UartFirmware::stopReading(Port& port, const Request& request) {
  stream(port, request.now);
  port.reader = nullptr;
  return status::kOk;
}

TimePoint UartFirmware::later(TimePoint from, double delay_s) const {
  return board_.unpaced ? from : from + std::chrono::ceil<TimePoint::duration>(std::chrono::duration<double>(delay_s));
}

Answer UartFirmware::write(Port& port, const Request& request) {
  const ByteView sent = request.payload.subspan(1);
  const double character = port.settings.secondsPerCharacter();
  const TimePoint begin = std::max(request.now, port.line_free);
  const double waiting = secondsBetween(request.now, begin) / character;
  if (!port.open || waiting + static_cast<double>(sent.size()) > static_cast<double>(kSendBuffer)) {
    return status::kUart;
  }
  port.line_free = later(begin, character * static_cast<double>(sent.size()));
  for (const auto& [from, to] : board_.serial_wires) {
    const auto receiver = std::find_if(ports_.begin(), ports_.end(),
                                       [to = to](const Port& candidate) { return candidate.row->number == to; });
    if (from != port.row->number || receiver == ports_.end()) {
      continue;
    }
    for (const Character& received : receivedOf(sent, port.settings, receiver->settings)) {
      receiver->arriving.push_back({later(begin, received.end), received.value});
    }
  }
  return status::kOk;
}

Answer UartFirmware::setBaudRate(Port& port, const Request& request) {
  const auto rate = readBig<std::uint32_t>(request.payload, 1);
  if (rate == 0 || rate > kHighestBaudRate) {
    return status::kUart;
  }
  port.settings.baud_rate = rate;
  return status::kOk;
}

Answer UartFirmware::setDataSize(Port& port, const Request& request) {
  if (request.payload[1] > 1) {
    return status::kUart;
  }
  port.settings.nine_bits = request.payload[1] == 1;
  return status::kOk;
}

Answer UartFirmware::setParity(Port& port, const Request& request) {
  if (request.payload[1] > static_cast<std::uint8_t>(Parity::Odd)) {
    return status::kUart;
  }
  port.settings.parity = static_cast<Parity>(request.payload[1]);
  return status::kOk;
}

Answer UartFirmware::setStopBits(Port& port, const Request& request) {
  if (request.payload[1] > 3) {
    return status::kUart;
  }
  port.settings.stop_mode = request.payload[1];
  return status::kOk;
}

void UartFirmware::receive(Port& port, TimePoint now) {
  while (!port.arriving.empty() && port.arriving.front().time <= now) {
    if (port.open && port.buffer.size() < kReceiveBuffer) {
      port.buffer.push_back(port.arriving.front().value);
    }
    port.arriving.pop_front();
    if (port.buffer.size() >= kPacketData) {
      stream(port, now);
    }
  }
}

void UartFirmware::stream(Port& port, TimePoint now) {
  while (port.reader != nullptr && !port.buffer.empty() && port.reader->room() >= kPacketData) {
    const auto count = static_cast<std::ptrdiff_t>(std::min(port.buffer.size(), kPacketData));
    port.reader->send(START_UART_READING,
                      payload(u8(port.row->number), Bytes(port.buffer.begin(), port.buffer.begin() + count)), now);
    port.buffer.erase(port.buffer.begin(), port.buffer.begin() + count);
    port.last_packet = now;
  }
}

void UartFirmware::tick(TimePoint now) {
  for (Port& port : ports_) {
    receive(port, now);
    if (dueOf(port) <= now) {
      stream(port, now);
    }
  }
}

TimePoint UartFirmware::due(TimePoint) {
  TimePoint earliest = kNever;
  for (const Port& port : ports_) {
    earliest = std::min(earliest, dueOf(port));
  }
  return earliest;
}

// Without a reader what arrives is looked at when something else happens.
TimePoint UartFirmware::dueOf(const Port& port) const {
  if (port.reader == nullptr || port.reader->room() < kPacketData) {
    return kNever;
  }
  const TimePoint next = board_.unpaced ? TimePoint{} : port.last_packet + kPacketPeriod;
  if (!port.buffer.empty()) {
    return next;
  }
  return port.arriving.empty() ? kNever : std::max(next, port.arriving.front().time);
}

void UartFirmware::forget(const Outlet& outlet) {
  for (Port& port : ports_) {
    if (port.reader == &outlet) {
      port.reader = nullptr;
    }
  }
}

}  // namespace qvx::bench
