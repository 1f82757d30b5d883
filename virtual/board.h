// What the modules of one device share.
#pragma once

#include "virtual/attachment.h"
#include "virtual/can_bus.h"
#include "virtual/firmware.h"
#include "virtual/output.h"
#include "virtual/pins.h"
#include "virtual/rtc.h"
#include "virtual/source.h"

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qvx::bench {

// What a module asks of the device as a whole; done once the reply is out.
enum class Effect : std::uint8_t { None, FactoryReset, Reboot, RebootOnBootloader };

// Where a device is on the network; IPv4 addresses in host byte order.
struct Addresses {
  std::uint32_t ip = 0x7F000001;
  std::uint32_t mask = 0xFF000000;
  std::uint32_t gateway = 0;  // 0: none
  std::array<std::uint8_t, 6> mac{};
};

struct Board {
  // The product's, for good.
  std::string model;        // class name, "FeroxA"
  std::string driver_name;  // as the firmware calls itself, "Ferox-A"
  bool wireless = false;
  Pins pins;      // the ports that are not here follow their slots
  Inputs inputs;  // by analog channel
  Outputs outputs;
  std::vector<BusPort> buses;
  std::vector<Attachment> attachments;            // each to one of them
  std::vector<std::pair<int, int>> serial_wires;  // from the port that sends to the one that receives
  std::shared_ptr<CanBus> can_bus;                // perhaps with other devices on it
  bool unpaced = false;                           // streams run as fast as the client takes them
  TimePoint switched_on;
  std::uint64_t seed = 0;  // of what wavers by itself
  // Kept across reboots.
  std::string serial;  // 8 characters
  std::string alias;
  RealTimeClock clock;
  Addresses addresses;       // in use
  Addresses next_addresses;  // from the next restart on
  // Volatile.
  bool in_bootloader = false;
  std::uint32_t rings = 0;  // how often it was made to ring
  Effect effect = Effect::None;
  bool news = false;  // something came that no request of this device's clients brought
};

}  // namespace qvx::bench
