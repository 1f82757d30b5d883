// What only wireless models have: a radio, a battery, and sensors of their own state.
#pragma once

#include "virtual/board.h"

#include <string>

namespace qvx::bench {

// Readings are pure functions of the seed and of the time since the device was switched on, so that a run can be
// replayed.
class WirelessFirmware final : public Module {
 public:
  explicit WirelessFirmware(Board& board) : board_(board) {}
  void addCommands(CommandTable& table) override;
  void restart() override { mode_in_use_ = kept_.mode; }
  // The mode as delivered comes with the next restart: the connection that asked for it must not be lost.
  void factoryReset() override { kept_ = Settings{}; }

 private:
  enum class Mode : std::uint8_t { Station, AccessPoint };

  // Survive a reboot.
  struct Settings {
    Mode mode = Mode::Station;
    std::uint8_t security = 0;
    std::string ssid = "QVX";
    std::uint8_t bandwidth = 20;  // MHz
  };

  Answer battery(const Request& request);
  Answer thermometer(const Request& request);
  Answer acceleration(const Request& request);
  Answer rssi(const Request& request);
  Answer setAccessPoint(const Request& request);
  Answer configuration(const Request& request);
  Answer setConfiguration(const Request& request);
  Answer bandwidth(const Request& request);
  Answer setBandwidth(const Request& request);

  double uptime(const Request& request) const { return secondsBetween(board_.switched_on, request.now); }
  // Wanders smoothly between -1 and 1, from one random value to the next in `period` seconds. Each `quantity` goes its
  // own way.
  double waver(std::uint64_t quantity, double seconds, double period) const;

  Board& board_;
  Settings kept_;
  Mode mode_in_use_ = Mode::Station;
};

}  // namespace qvx::bench
