// Wires on the bench: what an output of a device drives.
#pragma once

#include <cstdint>
#include <string>

namespace qvx::bench {

struct Terminal {
  enum class Kind : std::uint8_t { Digital, Analog, Serial };
  int port;
  int pin;  // of an analog port: the channel; of a serial port nothing

  bool operator==(const Terminal&) const = default;
};

// From an output to an input of the same kind.
struct Wire {
  Terminal::Kind kind;
  Terminal from;
  Terminal to;

  // The whole of a digital port: each pin is wired to its namesake, where both ports have it.
  static constexpr int kEveryPin = -1;

  // One --wire option: "do0.1=di0.2", "do0=di1", "ao0.1=ai0.2" or "uart1=uart2". Throws std::invalid_argument with a
  // message for the user.
  static Wire parse(const std::string& text);
};

}  // namespace qvx::bench
