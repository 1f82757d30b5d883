#include "virtual/i2c_firmware.h"

#include "core/constants.h"

#include <limits>
#include <stdexcept>

namespace qvx::bench {
namespace {

constexpr std::size_t kLongestTransfer = 255;  // bytes after the address
constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();
constexpr int kTenBitsFrom = 0x80;  // the addresses that --attach takes for those of 10 bits
constexpr std::uint32_t kRates[] = {100000, 400000, 1000000, 3400000};
constexpr std::uint32_t kFastestSlave = 1000000;

}  // namespace

bool Eeprom::begin(TimePoint now) {
  addressed_ = false;
  changed_ = false;
  return now >= ready_;
}

void Eeprom::write(std::uint8_t byte) {
  if (!addressed_) {
    pointer_ = byte;
    addressed_ = true;
    return;
  }
  memory_[pointer_] = byte;
  changed_ = true;
  const auto in_page = static_cast<std::uint8_t>((pointer_ + 1) % kPageSize);
  pointer_ = static_cast<std::uint8_t>(pointer_ / kPageSize * kPageSize + in_page);
}

void Eeprom::end(TimePoint now) {
  if (changed_) {
    ready_ = now + kWriteTime;
  }
}

I2cFirmware::I2cFirmware(Board& board) : BusFirmware(board, Bus::I2C, PinMode::I2C, status::kI2c) {
  for (const Attachment& each : board.attachments) {
    if (each.bus == Bus::I2C &&
        !slaves_.emplace(Place{each.port, each.address, each.address >= kTenBitsFrom}, std::make_unique<Eeprom>())
             .second) {
      throw std::invalid_argument("attach: two slaves on " + each.place() + " have one address");
    }
  }
}

std::span<const I2cFirmware::Row> I2cFirmware::rows() {
  using I = I2cFirmware;
  static constexpr Row kRows[] = {
      {OPEN_I2C, 1, 1, false, &I::openPort},
      {CLOSE_I2C, 1, 1, false, &I::closePort},
      {RESET_I2C, 1, 1, false, &I::resetPort},
      {SET_I2C_FREQUENCY, 5, 5, false, &I::setRate},
      {SET_I2C_ADDR_SIZE, 2, 2, false, &I::setAddressSize},
      {WRITE_I2C, 2, kAny, true, &I::write},
      {READ_I2C, 3, 4, true, &I::read},
  };
  return kRows;
}

Answer I2cFirmware::setRate(Port& port, const Request& request) {
  const auto rate = readBig<std::uint32_t>(request.payload, 1);
  if (std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates)) {
    return status::kI2c;
  }
  port.settings.rate = rate;
  return status::kOk;
}

Answer I2cFirmware::setAddressSize(Port& port, const Request& request) {
  if (request.payload[1] > 1) {
    return status::kI2c;
  }
  port.settings.ten_bit = request.payload[1] == 1;
  return status::kOk;
}

I2cSlave* I2cFirmware::address(const Port& port, ByteView address, TimePoint now) {
  const bool ten_bit = port.settings.ten_bit;
  const int number = ten_bit ? readBig<std::uint16_t>(address) : address[0];
  const auto slave = slaves_.find({port.row->number, number, ten_bit});
  const bool there = slave != slaves_.end() && port.settings.rate <= kFastestSlave && slave->second->begin(now);
  return there ? slave->second.get() : nullptr;
}

// Start, bytes with their acknowledgements, stop.
double I2cFirmware::seconds(const Port& port, std::size_t bytes) {
  return (2 + 9.0 * static_cast<double>(bytes)) / port.settings.rate;
}

// port, address, bytes
Answer I2cFirmware::write(Port& port, const Request& request) {
  const std::size_t width = port.settings.ten_bit ? 2 : 1;
  if (request.payload.size() < 1 + width) {
    return status::kParser;
  }
  const ByteView bytes = request.payload.subspan(1 + width);
  if (bytes.size() > kLongestTransfer) {
    return status::kI2c;
  }
  I2cSlave* slave = address(port, request.payload.subspan(1), begin(port, request.now));
  if (slave == nullptr) {
    return transferred(port, request.now, seconds(port, width), status::kI2c);
  }
  for (const std::uint8_t byte : bytes) {
    slave->write(byte);
  }
  Answer answer = transferred(port, request.now, seconds(port, width + bytes.size()), status::kOk);
  slave->end(begin(port, request.now));
  return answer;
}

// port, address, count
Answer I2cFirmware::read(Port& port, const Request& request) {
  const std::size_t width = port.settings.ten_bit ? 2 : 1;
  if (request.payload.size() != 2 + width) {
    return status::kParser;
  }
  I2cSlave* slave = address(port, request.payload.subspan(1), begin(port, request.now));
  if (slave == nullptr) {
    return transferred(port, request.now, seconds(port, width), status::kI2c);
  }
  Bytes bytes(request.payload[1 + width]);
  std::generate(bytes.begin(), bytes.end(), [slave] { return slave->read(); });
  Answer answer = transferred(port, request.now, seconds(port, width + bytes.size()), bytes);
  slave->end(begin(port, request.now));
  return answer;
}

}  // namespace qvx::bench
