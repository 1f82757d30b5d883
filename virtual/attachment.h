// What hangs on the buses of a device, and which buses it has.
#pragma once

#include "virtual/pins.h"

#include <map>
#include <string>
#include <vector>

namespace qvx::bench {

enum class Bus : std::uint8_t { I2C, SPI, UART, CAN };

// A port of a bus, and the digital ports and pins that it uses.
struct BusPort {
  Bus bus;
  int number;
  std::map<int, PinMask> pins;

  // Takes the pins that are idle or digital lines: all of them, or none, and false.
  bool take(Pins& from, PinMode mode) const;
  void release(Pins& to, PinMode mode) const;
};

struct Attachment {
  enum class Part : std::uint8_t { Eeprom, ShiftRegister, Loopback };
  Bus bus{};
  int port = 0;
  Part part{};
  int address = 0;  // I2C: 0x08..0x77 are of 7 bits, 0x80..0x3FF of 10

  // One --attach option: "i2c1=24c02", "i2c1=24c02:0x51", "spi1=74hc595" or "spi2=loopback". Throws
  // std::invalid_argument with a message for the user.
  static Attachment parse(const std::string& text);
  // "i2c1"
  std::string place() const;
};

}  // namespace qvx::bench
