#include "virtual/attachment.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qvx::bench {
namespace {

constexpr int kLowestAddress = 0x08;  // those below and
constexpr int kReservedFrom = 0x78;   // those from here to
constexpr int kTenBitsFrom = 0x80;    // here have a meaning of their own
constexpr int kHighestAddress = 0x3FF;
constexpr int kHighestPort = 255;

struct BusName {
  std::string_view name;
  Bus bus;
};
constexpr BusName kBuses[] = {{"i2c", Bus::I2C}, {"spi", Bus::SPI}};

struct PartName {
  std::string_view name;
  Bus bus;
  Attachment::Part part;
  int address;  // without one in the option
};
constexpr PartName kParts[] = {
    {"24c02", Bus::I2C, Attachment::Part::Eeprom, 0x50},
    {"74hc595", Bus::SPI, Attachment::Part::ShiftRegister, 0},
    {"loopback", Bus::SPI, Attachment::Part::Loopback, 0},
};

[[noreturn]] void refuseAttachment(const std::string& text, const std::string& why) {
  throw std::invalid_argument("attach '" + text + "': " + why);
}

std::optional<int> number(std::string_view text, int low, int high) {
  const bool hexadecimal = text.substr(0, 2) == "0x";
  text.remove_prefix(hexadecimal ? 2 : 0);
  int value = -1;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
  const bool whole = problem == std::errc() && end == text.data() + text.size();
  return whole && value >= low && value <= high ? std::optional(value) : std::nullopt;
}

}  // namespace

bool BusPort::take(Pins& from, PinMode mode) const {
  const bool there = std::all_of(pins.begin(), pins.end(), [&](const auto& entry) {
    const auto& [port, mask] = entry;
    const PinMask usable = from.pinsIn(port, PinMode::Idle) | from.pinsIn(port, PinMode::DI) |
                           from.pinsIn(port, PinMode::DO) | from.pinsIn(port, mode);
    return from.isFree(port) && (mask & ~usable) == 0;
  });
  if (there) {
    for (const auto& [port, mask] : pins) {
      from.release(port, mask, PinMode::DI);
      from.release(port, mask, PinMode::DO);
      from.take(port, mask, mode);
    }
  }
  return there;
}

void BusPort::release(Pins& to, PinMode mode) const {
  for (const auto& [port, mask] : pins) {
    to.release(port, mask, mode);
  }
}

Attachment Attachment::parse(const std::string& text) {
  const std::string_view all = text;
  const std::size_t equals = all.find('=');
  const auto bus = std::find_if(std::begin(kBuses), std::end(kBuses),
                                [&](const BusName& row) { return all.substr(0, row.name.size()) == row.name; });
  const auto port = bus == std::end(kBuses) || equals == std::string_view::npos
                        ? std::nullopt
                        : number(all.substr(0, equals).substr(bus->name.size()), 0, kHighestPort);
  if (!port) {
    refuseAttachment(text, "neither i2cN=PART[:ADDRESS] nor spiN=PART");
  }
  const std::string_view given = all.substr(equals + 1);
  const std::size_t colon = given.find(':');
  const auto part = std::find_if(std::begin(kParts), std::end(kParts), [&](const PartName& row) {
    return row.bus == bus->bus && row.name == given.substr(0, colon);
  });
  if (part == std::end(kParts)) {
    refuseAttachment(text, bus->bus == Bus::I2C ? "not 24c02" : "neither 74hc595 nor loopback");
  }
  Attachment attachment{.bus = part->bus, .port = *port, .part = part->part, .address = part->address};
  if (colon != std::string_view::npos) {
    const auto address = number(given.substr(colon + 1), kLowestAddress, kHighestAddress);
    if (part->bus != Bus::I2C || !address || (*address >= kReservedFrom && *address < kTenBitsFrom)) {
      refuseAttachment(text, "an I2C address is 0x08 to 0x77 with 7 bits, 0x80 to 0x3ff with 10; SPI has none");
    }
    attachment.address = *address;
  }
  return attachment;
}

std::string Attachment::place() const {
  return (bus == Bus::I2C ? "i2c" : "spi") + std::to_string(port);
}

}  // namespace qvx::bench
