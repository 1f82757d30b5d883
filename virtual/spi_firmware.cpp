#include "virtual/spi_firmware.h"

#include "core/constants.h"

#include <bit>
#include <limits>
#include <stdexcept>

namespace qvx::bench {
namespace {

constexpr std::size_t kLongestTransfer = 256;
constexpr double kClock = 72e6;  // Hz, before the prescaler
constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

}  // namespace

SpiFirmware::SpiFirmware(Board& board) : BusFirmware(board, Bus::SPI, PinMode::SPI, status::kSpi) {
  for (const Attachment& each : board.attachments) {
    if (each.bus != Bus::SPI) {
      continue;
    }
    auto slave = each.part == Attachment::Part::Loopback ? std::unique_ptr<SpiSlave>(std::make_unique<SpiLoopback>())
                                                         : std::make_unique<ShiftRegister>();
    if (!slaves_.emplace(each.port, std::move(slave)).second) {
      throw std::invalid_argument("attach: two slaves on " + each.place() + ", which can select one");
    }
  }
}

std::span<const SpiFirmware::Row> SpiFirmware::rows() {
  using S = SpiFirmware;
  static constexpr Row kRows[] = {
      {OPEN_SPI, 1, 1, false, &S::openPort},
      {CLOSE_SPI, 1, 1, false, &S::closePort},
      {RESET_SPI, 1, 1, false, &S::resetPort},
      {SET_SPI_DATA_SIZE, 2, 2, false, &S::set<&SpiSettings::sixteen_bits>},
      {SET_SPI_FIRST_BIT, 2, 2, false, &S::set<&SpiSettings::least_first>},
      {SET_SPI_CPOL, 2, 2, false, &S::set<&SpiSettings::polarity>},
      {SET_SPI_CPHA, 2, 2, false, &S::set<&SpiSettings::phase>},
      {SET_SPI_PRESCALER, 3, 3, false, &S::setPrescaler},
      {READ_SPI, 2, 2, true, &S::read},
      {WRITE_SPI, 1, kAny, true, &S::write},
      {READ_AND_WRITE_SPI, 1, kAny, true, &S::readAndWrite},
  };
  return kRows;
}

Answer SpiFirmware::setPrescaler(Port& port, const Request& request) {
  const auto prescaler = readBig<std::uint16_t>(request.payload, 1);
  if (!std::has_single_bit(prescaler) || prescaler < 2 || prescaler > 256) {
    return status::kSpi;
  }
  port.settings.prescaler = prescaler;
  return status::kOk;
}

Answer SpiFirmware::read(Port& port, const Request& request) {
  return transfer(port, Bytes(request.payload[1]), request.now);
}

Answer SpiFirmware::write(Port& port, const Request& request) {
  Answer answer = transfer(port, request.payload.subspan(1), request.now);
  answer.data.clear();
  return answer;
}

Answer SpiFirmware::readAndWrite(Port& port, const Request& request) {
  return transfer(port, request.payload.subspan(1), request.now);
}

// The slave sees the line as it was before an edge: data that changes at an edge comes too late for it.
bool SpiFirmware::exchange(const SpiSettings& settings, bool& line, bool bit, SpiSlave& slave) {
  const auto edge = [&](bool rising) {
    if (rising) {
      slave.rise(line);
    }
  };
  const bool first_rises = !settings.polarity;
  if (settings.phase) {
    edge(first_rises);
  }
  line = bit;
  const bool taken = slave.miso(line);
  if (!settings.phase) {
    edge(first_rises);
  }
  edge(!first_rises);
  return taken;
}

Answer SpiFirmware::transfer(Port& port, ByteView bytes, TimePoint now) {
  if (bytes.size() > kLongestTransfer || bytes.size() % (port.settings.sixteen_bits ? 2 : 1) != 0) {
    return status::kSpi;
  }
  const double bits = 8.0 * static_cast<double>(bytes.size());
  return transferred(port, now, bits * port.settings.prescaler / kClock, exchanged(port, bytes));
}

// What comes in while these go out.
Bytes SpiFirmware::exchanged(const Port& port, ByteView bytes) {
  const SpiSettings& settings = port.settings;
  const auto slave = slaves_.find(port.row->number);
  if (slave == slaves_.end()) {
    return Bytes(bytes.size(), 0xFF);  // the input is pulled up
  }
  Bytes received(bytes.size());
  bool line = false;
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    const std::size_t bits = settings.sixteen_bits ? 16 : 8;
    const std::size_t in_word = bit % bits;
    // Of a word, most significant first.
    const std::size_t place = bit - in_word + (settings.least_first ? bits - 1 - in_word : in_word);
    const unsigned mask = 0x80U >> place % 8;
    if (exchange(settings, line, (bytes[place / 8] & mask) != 0, *slave->second)) {
      received[place / 8] = static_cast<std::uint8_t>(received[place / 8] | mask);
    }
  }
  return received;
}

}  // namespace qvx::bench
