// The digital lines of a device: what each pin is used for, which level its output drives, and what it is wired to.
#pragma once

#include "virtual/wire.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace qvx::bench {

inline constexpr std::size_t kPinsPerPort = 8;

enum class PinMode : std::uint8_t { Disabled, Idle, DI, DO, UART, I2C, SPI, CAN, PWM, ADC };

// Bit n stands for pin n of a port.
using PinMask = std::uint16_t;

// Ports whose pins have one function for good.
struct FixedPort {
  FixedPort(PinMode mode_, PinMask pins_ = 0xFF) : mode(mode_), pins(pins_) {}
  PinMode mode;
  PinMask pins;
};
using FixedPins = std::map<int, FixedPort>;
// Ports whose pins are idle until a function takes them, and the pins that they have.
using FreePins = std::map<int, PinMask>;

// The one place where functions compete for pins: each takes those it uses when it is opened and gives them back when
// it is closed.
class Pins {
 public:
  Pins() = default;
  // Takes the digital ones of the wires. Throws std::invalid_argument, with a message for the user, when the device has
  // no such output or input, and when two wires lead to one input.
  Pins(const FixedPins& fixed, const FreePins& free, const std::vector<Wire>& wires);

  std::vector<int> ports() const;
  bool hasPort(int port) const { return ports_.contains(port); }
  // The pins of a port; none when there is no such port.
  PinMask pinsOf(int port) const;
  // Whether functions may take and release its pins.
  bool isFree(int port) const;
  PinMode mode(int port, int pin) const;
  // The pins of a port that have this mode.
  PinMask pinsIn(int port, PinMode mode) const;

  // Gives pins to a function: all of them, when each is idle or has this mode already; else none, and false.
  bool take(int port, PinMask pins, PinMode mode);
  // Those of them that have this mode become idle. Fixed ones stay.
  void release(int port, PinMask pins, PinMode mode);
  // Sets what the pins drive while they are outputs.
  void drive(int port, PinMask pins, PinMask levels);
  PinMask driven(int port) const;
  // The levels at the pins: of an output what it drives, of any other what is wired to it, 0 without a wire or while
  // that is no output.
  PinMask levels(int port) const;

  // All free pins idle, all outputs 0.
  void reset();

 private:
  struct Port {
    bool fixed = false;
    PinMask pins = 0;
    PinMask driven = 0;
    std::array<PinMode, kPinsPerPort> modes{};
  };
  void connect(const Terminal& from, const Terminal& to);
  // Which pins of a port can ever have a mode.
  PinMask able(int port, PinMode mode) const;
  const Port* find(int port) const;
  Port* find(int port);

  struct Line {
    Terminal from;
    Terminal to;
  };
  std::map<int, Port> ports_;
  std::vector<Line> lines_;
};

}  // namespace qvx::bench
