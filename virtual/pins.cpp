#include "virtual/pins.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace qvx::bench {
namespace {

// None for what is no pin.
template <class Pin>
constexpr PinMask bit(Pin pin) {
  return static_cast<std::size_t>(pin) < kPinsPerPort ? static_cast<PinMask>(1U << pin) : PinMask{0};
}

std::string nameOf(const char* kind, const Terminal& terminal) {
  return kind + std::to_string(terminal.port) + "." + std::to_string(terminal.pin);
}

}  // namespace

Pins::Pins(const FixedPins& fixed, const FreePins& free, const std::vector<Wire>& wires) {
  for (const auto& [number, row] : fixed) {
    Port& port = ports_[number] = {.fixed = true, .pins = row.pins};
    for (std::size_t pin = 0; pin < kPinsPerPort; ++pin) {
      port.modes[pin] = (row.pins & bit(pin)) != 0 ? row.mode : PinMode::Disabled;
    }
  }
  for (const auto& [port, pins] : free) {
    ports_[port] = {.fixed = false, .pins = pins};
  }
  reset();
  for (const Wire& wire : wires) {
    if (wire.kind != Terminal::Kind::Digital) {
      continue;
    }
    if (wire.from.pin != Wire::kEveryPin) {
      connect(wire.from, wire.to);
      continue;
    }
    const auto common = static_cast<PinMask>(able(wire.from.port, PinMode::DO) & able(wire.to.port, PinMode::DI));
    if (common == 0) {
      throw std::invalid_argument("wire do" + std::to_string(wire.from.port) + "=di" + std::to_string(wire.to.port) +
                                  ": no such output and input port");
    }
    for (int pin = 0; pin < static_cast<int>(kPinsPerPort); ++pin) {
      if ((common & bit(pin)) != 0) {
        connect({wire.from.port, pin}, {wire.to.port, pin});
      }
    }
  }
}

PinMask Pins::able(int port, PinMode mode) const {
  const Port* found = find(port);
  return found == nullptr ? PinMask{0} : found->fixed ? pinsIn(port, mode) : found->pins;
}

void Pins::connect(const Terminal& from, const Terminal& to) {
  const auto check = [this](const char* kind, const Terminal& terminal, PinMode mode) {
    if ((able(terminal.port, mode) & bit(terminal.pin)) == 0) {
      throw std::invalid_argument("wire to or from " + nameOf(kind, terminal) + ": the device has no such " +
                                  (mode == PinMode::DO ? "output" : "input"));
    }
  };
  check("do", from, PinMode::DO);
  check("di", to, PinMode::DI);
  if (std::any_of(lines_.begin(), lines_.end(), [&](const Line& line) { return line.to == to; })) {
    throw std::invalid_argument("two wires lead to " + nameOf("di", to));
  }
  lines_.push_back({from, to});
}

const Pins::Port* Pins::find(int port) const {
  const auto found = ports_.find(port);
  return found == ports_.end() ? nullptr : &found->second;
}

Pins::Port* Pins::find(int port) {
  const auto found = ports_.find(port);
  return found == ports_.end() ? nullptr : &found->second;
}

std::vector<int> Pins::ports() const {
  std::vector<int> numbers;
  for (const auto& [number, port] : ports_) {
    numbers.push_back(number);
  }
  return numbers;
}

PinMask Pins::pinsOf(int port) const {
  const Port* found = find(port);
  return found == nullptr ? PinMask{0} : found->pins;
}

bool Pins::isFree(int port) const {
  const Port* found = find(port);
  return found != nullptr && !found->fixed;
}

PinMode Pins::mode(int port, int pin) const {
  const Port* found = find(port);
  return found == nullptr ? PinMode::Disabled : found->modes.at(static_cast<std::size_t>(pin));
}

PinMask Pins::pinsIn(int port, PinMode mode) const {
  PinMask pins = 0;
  if (const Port* found = find(port)) {
    for (std::size_t pin = 0; pin < kPinsPerPort; ++pin) {
      pins = found->modes[pin] == mode ? pins | bit(pin) : pins;
    }
  }
  return pins;
}

bool Pins::take(int port, PinMask pins, PinMode mode) {
  Port* found = find(port);
  if (found == nullptr || (pins & ~(pinsIn(port, PinMode::Idle) | pinsIn(port, mode))) != 0) {
    return false;
  }
  for (std::size_t pin = 0; pin < kPinsPerPort; ++pin) {
    if ((pins & bit(pin)) != 0) {
      found->modes[pin] = mode;
    }
  }
  return true;
}

void Pins::release(int port, PinMask pins, PinMode mode) {
  Port* found = find(port);
  if (found == nullptr || found->fixed) {
    return;
  }
  for (std::size_t pin = 0; pin < kPinsPerPort; ++pin) {
    if ((pins & bit(pin)) != 0 && found->modes[pin] == mode) {
      found->modes[pin] = PinMode::Idle;
    }
  }
}

void Pins::drive(int port, PinMask pins, PinMask levels) {
  if (Port* found = find(port)) {
    found->driven = static_cast<PinMask>((found->driven & ~pins) | (levels & pins));
  }
}

PinMask Pins::driven(int port) const {
  const Port* found = find(port);
  return found == nullptr ? PinMask{0} : found->driven;
}

PinMask Pins::levels(int port) const {
  const PinMask outputs = pinsIn(port, PinMode::DO);
  auto levels = static_cast<PinMask>(driven(port) & outputs);
  for (const auto& [source, sink] : lines_) {
    const PinMask to = bit(sink.pin);
    if (sink.port == port && (outputs & to) == 0 &&
        (driven(source.port) & pinsIn(source.port, PinMode::DO) & bit(source.pin)) != 0) {
      levels |= to;
    }
  }
  return levels;
}

void Pins::reset() {
  for (auto& [number, port] : ports_) {
    port.driven = 0;
    for (std::size_t pin = 0; !port.fixed && pin < kPinsPerPort; ++pin) {
      port.modes[pin] = (port.pins & bit(pin)) != 0 ? PinMode::Idle : PinMode::Disabled;
    }
  }
}

}  // namespace qvx::bench
