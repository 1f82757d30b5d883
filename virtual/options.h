// The command line of qvx-virtual.
#pragma once

#include "virtual/device.h"
#include "virtual/endpoint.h"
#include "virtual/log.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace qvx::bench {

// How the devices are reached.
enum class Road : std::uint8_t { Network, SerialLine, Usb };

struct Options {
  Road road = Road::Network;
  std::vector<Endpoint> endpoints;  // on the network one per device, for USB one for all, for serial lines none
  bool discovery = false;
  std::vector<DeviceSetup> devices;
  LogLevel log = LogLevel::Normal;
  bool die_with_parent = false;
  std::string information;  // not empty: print this (--help, --version) and do nothing else
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws UsageError with a message for the user. Reads the WAV files that are named.
Options parseOptions(int argc, const char* const* argv);

}  // namespace qvx::bench
