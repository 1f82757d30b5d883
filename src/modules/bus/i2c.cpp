#include "modules/bus/i2c.h"

#include "core/constants.h"

#include <array>

namespace qvx {
namespace {

// Hz, by mode: standard, fast, fast plus, high speed.
constexpr std::array<std::uint32_t, 4> kClockRates{100000, 400000, 1000000, 3400000};

}  // namespace

I2CBased::I2CBased(Link link, const I2CConfiguration& configuration) : I2C_dict(configuration.ports), link_(link) {
  for (const auto& [port, pins] : I2C_dict) {
    ten_bit_[port] = false;
  }
  // The device may have been restarted, which ends 10-bit addressing.
  link_.onConnection({.begun = [this](std::uint64_t) {
    for (auto& [port, ten_bit] : ten_bit_) {
      ten_bit = false;
    }
  }});
}

int I2CBased::_checkI2CPort(const Argument& port) const {
  return checkBusPort(I2C_dict, port, ErrorId::I2CPortNotAvaliableError);
}

int I2CBased::_checkI2CClockRate(const Argument& mode) {
  return checkedRange(mode, "mode", 0, kClockRates.size() - 1, ErrorId::I2CClockNotSupportError);
}

int I2CBased::_checkI2CAddressSize(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 1, ErrorId::I2CAddressSizeNotVaildError);
}

void I2CBased::_checkI2CPinState(const Argument& port, const Argument& allow_state, const Argument& timeout) {
  const int number = _checkI2CPort(port);
  checkBusPins(link_, I2C_dict, number, allow_state, timeout, ErrorId::I2CPortNotAvaliableError);
}

Bytes I2CBased::addressField(int port, const Argument& address, std::string_view what) const {
  return ten_bit_.at(port) ? payload(u16(checkedRange(address, what, 0, 0x3FF)))
                           : payload(u8(checkedRange(address, what, 0, 0x7F)));
}

int I2COperations::I2C_open(const Argument& port, const Argument& timeout) {
  const int number = _checkI2CPort(port);
  checkBusPins(link_, I2C_dict, number, timeout, ErrorId::I2CPortNotAvaliableError);
  return statusOfPort(link_, OPEN_I2C, number, {}, timeout);
}

int I2COperations::I2C_close(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, CLOSE_I2C, _checkI2CPort(port), {}, timeout);
}

int I2COperations::I2C_setClockRate(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkI2CPort(port);
  const auto rate = kClockRates.at(static_cast<std::size_t>(_checkI2CClockRate(mode)));
  return statusOfPort(link_, SET_I2C_FREQUENCY, number, payload(u32(rate)), timeout);
}

int I2COperations::I2C_setAddressSize(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkI2CPort(port);
  const int chosen = _checkI2CAddressSize(mode);
  const int result = statusOfPort(link_, SET_I2C_ADDR_SIZE, number, payload(u8(chosen)), timeout);
  setTenBitAddresses(number, chosen == 1);
  return result;
}

int I2COperations::I2C_write(const Argument& port, const Argument& write_address, const Argument& write_data,
                             const Argument& timeout) {
  const int number = _checkI2CPort(port);
  const Bytes address = addressField(number, write_address, "write_address");
  return statusOfPort(link_, WRITE_I2C, number, payload(address, checkedByteList(write_data, "write_data")), timeout,
                      Repeat::Acts);
}

Bytes I2COperations::I2C_read(const Argument& port, const Argument& read_address, const Argument& bytes_to_read,
                              const Argument& timeout) {
  const int number = _checkI2CPort(port);
  const Bytes address = addressField(number, read_address, "read_address");
  const int count = checkedRange(bytes_to_read, "bytes_to_read", 0, 255);
  return dataOfPort(link_, READ_I2C, number, payload(address, u8(count)), timeout, Repeat::Acts);
}

int I2COperations::I2C_reset(const Argument& port, const Argument& timeout) {
  const int number = _checkI2CPort(port);
  const int result = statusOfPort(link_, RESET_I2C, number, {}, timeout);
  setTenBitAddresses(number, false);
  return result;
}

}  // namespace qvx
