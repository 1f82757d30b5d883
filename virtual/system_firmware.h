// The commands every device has: identity, clock and alarm, slots and pins, EEPROM, restart.
#pragma once

#include "virtual/board.h"

namespace qvx::bench {

class SystemFirmware final : public Module {
 public:
  explicit SystemFirmware(Board& board) : board_(board) {}
  void addCommands(CommandTable& table) override;
  void restart() override { board_.in_bootloader = false; }
  void factoryReset() override;

 private:
  static constexpr std::size_t kSlots = 4;
  static constexpr std::size_t kPages = 128;
  static constexpr std::size_t kPageSize = 64;

  Answer driverInfo(const Request& request);
  Answer dateTime(const Request& request);
  Answer setDateTime(const Request& request);
  Answer serialNumber(const Request& request);
  Answer setSerialNumber(const Request& request);
  Answer alias(const Request& request);
  Answer setAlias(const Request& request);
  Answer pinModes(const Request& request);
  Answer slotMode(const Request& request);
  Answer setSlotMode(const Request& request);
  Answer startAlarm(const Request& request);
  Answer stopAlarm(const Request& request);
  Answer alarmState(const Request& request);
  Answer alarmConfig(const Request& request);
  Answer alarmTriggered(const Request& request);
  Answer eepromPage(const Request& request);
  Answer setEepromPage(const Request& request);
  Answer eepromDevice(const Request& request);
  Answer setEepromByte(const Request& request);
  Answer threads(const Request& request);
  Answer resetFactory(const Request& request);
  Answer reboot(const Request& request);
  Answer rebootOnBootloader(const Request& request);

  Bytes momentFields(RealTimeClock::Moment moment) const;

  Board& board_;
  // Slot modes and EEPROM survive a reboot, not a factory reset.
  std::array<std::uint8_t, kSlots> slots_{};
  std::array<std::array<std::uint8_t, kPageSize>, kPages> eeprom_{};
};

}  // namespace qvx::bench
