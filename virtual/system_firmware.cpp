#include "virtual/system_firmware.h"

#include "core/constants.h"

#include <algorithm>
#include <bit>

namespace qvx::bench {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::minutes;

constexpr std::size_t kSerialLength = 8;
constexpr std::size_t kLongestAlias = 64;
constexpr int kWiredEpoch = 1900;
constexpr int kWirelessEpoch = 2000;
constexpr std::uint8_t kHighestSlotMode = 6;

// What the pins of a slot are in each of its modes: idle, DI, DO, DIO, motion, AIO, switch.
constexpr std::array<PinMode, kHighestSlotMode + 1> kPinsOfSlotMode = {
    PinMode::Idle, PinMode::DI, PinMode::DO, PinMode::DI, PinMode::Disabled, PinMode::ADC, PinMode::Disabled};

Bytes text(const std::string& characters) {
  return {characters.begin(), characters.end()};
}

bool validTime(int hour, int minute, int second) {
  return hour < 24 && minute < 60 && second < 60;
}

}  // namespace

void SystemFirmware::addCommands(CommandTable& table) {
  using F = ReplyForm;
  using S = SystemFirmware;
  static const CommandRow<SystemFirmware> kRows[] = {
      {GET_DRIVER_INFO, 1, 1, F::Data, &S::driverInfo},
      {GET_DATE_TIME, 1, 1, F::Status, &S::dateTime},
      {SET_DATE_TIME, 6, 6, F::Status, &S::setDateTime},
      {GET_SERIAL_NUMBER, 0, 0, F::Data, &S::serialNumber},
      {SET_SERIAL_NUMBER, kSerialLength, kSerialLength, F::Status, &S::setSerialNumber},
      {GET_DEV_ALIAS, 1, 1, F::Data, &S::alias},
      {SET_DEV_ALIAS, 0, kLongestAlias, F::Status, &S::setAlias},
      {GET_PIN_MODE_OF_SLOT, 1, 1, F::Status, &S::pinModes},
      {GET_SLOT_MODE, 1, 1, F::Status, &S::slotMode},
      {SET_SLOT_MODE, 2, 2, F::EchoStatus, &S::setSlotMode},
      {RTC_START_ALARM, 5, 5, F::EchoStatus, &S::startAlarm},
      {RTC_STOP_ALARM, 1, 1, F::EchoStatus, &S::stopAlarm},
      {RTC_GET_ALARM_STATE, 1, 1, F::Data, &S::alarmState},
      {RTC_GET_ALARM_CONFIG, 1, 1, F::EchoStatus, &S::alarmConfig},
      {RTC_GET_ALARM_TRIG, 1, 1, F::EchoStatus, &S::alarmTriggered},
      {GET_EEPROM_PAGE, 1, 1, F::Status, &S::eepromPage},
      {SET_EEPROM_PAGE, 1, 1 + kPageSize, F::Status, &S::setEepromPage},
      {GET_EEPROM_DEVICE, 1, 1, F::Status, &S::eepromDevice},
      {SET_EEPROM_BYTE, 3, 3, F::Status, &S::setEepromByte},
      {GET_THREADS, 0, 0, F::Data, &S::threads},
      {RESET_FACTORY, 0, 0, F::Status, &S::resetFactory},
      {REBOOT, 0, 0, F::Status, &S::reboot},
      {REBOOT_ON_BOOTLOADER, 0, 0, F::Status, &S::rebootOnBootloader},
  };
  table.add<SystemFirmware>(*this, kRows);
}

void SystemFirmware::factoryReset() {
  restart();
  board_.alias = board_.model;
  slots_ = {};
  eeprom_ = {};
}

Answer SystemFirmware::driverInfo(const Request& request) {
  switch (request.payload[0]) {
    case 0:
      return text(board_.driver_name + (board_.in_bootloader ? "_Bootloader_" : "_Virtual_") + kVersion);
    case 1:
      return text(board_.driver_name + " " + board_.serial);
    case 2:
      return text(std::string("qvx-virtual ") + kVersion);
    default:
      return text("no such information");
  }
}

Bytes SystemFirmware::momentFields(RealTimeClock::Moment moment) const {
  const auto day = floor<days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(moment - day);
  const int year = static_cast<int>(date.year()) - (board_.wireless ? kWirelessEpoch : kWiredEpoch);
  return payload(u8(std::clamp(year, 0, 255)), u8(static_cast<unsigned>(date.month())),
                 u8(static_cast<unsigned>(date.day())), u8(time.hours().count()), u8(time.minutes().count()),
                 u8(time.seconds().count()));
}

Answer SystemFirmware::dateTime(const Request& request) {
  return momentFields(board_.clock.read(request.now));
}

Answer SystemFirmware::setDateTime(const Request& request) {
  const ByteView in = request.payload;
  const std::chrono::year_month_day date(std::chrono::year(kWiredEpoch + in[0]), std::chrono::month(in[1]),
                                         std::chrono::day(in[2]));
  const bool shown = !board_.wireless || static_cast<int>(date.year()) >= kWirelessEpoch;
  if (!date.ok() || !validTime(in[3], in[4], in[5]) || !shown) {
    return status::kRtc;
  }
  board_.clock.set(std::chrono::sys_days(date) + hours(in[3]) + minutes(in[4]) + std::chrono::seconds(in[5]),
                   request.now);
  return status::kOk;
}

Answer SystemFirmware::serialNumber(const Request&) {
  return text(board_.serial);
}

Answer SystemFirmware::setSerialNumber(const Request& request) {
  board_.serial.assign(request.payload.begin(), request.payload.end());
  return status::kOk;
}

Answer SystemFirmware::alias(const Request&) {
  return text(board_.alias + "\r\n");
}

Answer SystemFirmware::setAlias(const Request& request) {
  board_.alias.assign(request.payload.begin(), request.payload.end());
  return status::kOk;
}

Answer SystemFirmware::pinModes(const Request& request) {
  const int port = request.payload[0];
  const Pins& pins = board_.pins;
  if (static_cast<std::size_t>(port) >= kSlots && !pins.hasPort(port)) {
    return status::kPinIndex;
  }
  std::uint32_t modes = 0;
  for (std::size_t pin = kPinsPerPort; pin-- > 0;) {
    const PinMode mode = pins.hasPort(port) ? pins.mode(port, static_cast<int>(pin))
                                            : kPinsOfSlotMode[slots_[static_cast<std::size_t>(port)]];
    modes = modes << 4 | static_cast<std::uint32_t>(mode);
  }
  return payload(u8(pins.hasPort(port) ? std::popcount(pins.pinsOf(port)) : static_cast<int>(kPinsPerPort)),
                 u32(modes));
}

Answer SystemFirmware::slotMode(const Request& request) {
  const std::size_t port = request.payload[0];
  return port < kSlots ? Answer(payload(u8(slots_[port]))) : Answer(status::kPinIndex);
}

Answer SystemFirmware::setSlotMode(const Request& request) {
  const std::size_t port = request.payload[0];
  if (port >= kSlots) {
    return status::kPinIndex;
  }
  if (request.payload[1] > kHighestSlotMode) {
    return status::kCore;
  }
  slots_[port] = request.payload[1];
  return status::kOk;
}

Answer SystemFirmware::startAlarm(const Request& request) {
  const ByteView in = request.payload;
  const bool weekly = in[0] == 1;
  if (in[0] > 1 || in[1] < 1 || in[1] > (weekly ? 7 : 31) || !validTime(in[2], in[3], in[4])) {
    return status::kRtc;
  }
  board_.clock.startAlarm({weekly, in[1], hours(in[2]) + minutes(in[3]) + std::chrono::seconds(in[4])}, request.now);
  return status::kOk;
}

Answer SystemFirmware::stopAlarm(const Request& request) {
  board_.clock.stopAlarm(request.now);
  return status::kOk;
}

Answer SystemFirmware::alarmState(const Request& request) {
  return payload(u8(request.payload[0]), u8(board_.clock.alarmOn()));
}

Answer SystemFirmware::alarmConfig(const Request& request) {
  return momentFields(board_.clock.nextAlarm(request.now));
}

Answer SystemFirmware::alarmTriggered(const Request& request) {
  return payload(u8(board_.clock.alarmCount(request.now) != 0));
}

Answer SystemFirmware::eepromPage(const Request& request) {
  const std::size_t page = request.payload[0];
  return page < kPages ? Answer(Bytes(eeprom_[page].begin(), eeprom_[page].end())) : Answer(status::kEeprom);
}

Answer SystemFirmware::setEepromPage(const Request& request) {
  const std::size_t page = request.payload[0];
  if (page >= kPages) {
    return status::kEeprom;
  }
  std::copy(request.payload.begin() + 1, request.payload.end(), eeprom_[page].begin());
  return status::kOk;
}

Answer SystemFirmware::eepromDevice(const Request& request) {
  if (request.payload[0] != 0) {
    return status::kEeprom;
  }
  return payload(text("QV"), u8(0), u8(kPageSize), u16(kPages), u16(0), text(board_.serial));
}

Answer SystemFirmware::setEepromByte(const Request& request) {
  const std::size_t page = request.payload[0];
  const std::size_t index = request.payload[1];
  if (page >= kPages || index >= kPageSize) {
    return status::kEeprom;
  }
  eeprom_[page][index] = request.payload[2];
  return status::kOk;
}

Answer SystemFirmware::threads(const Request&) {
  return text("bench: 1 thread, serves every device");
}

Answer SystemFirmware::resetFactory(const Request&) {
  board_.effect = Effect::FactoryReset;
  return status::kOk;
}

Answer SystemFirmware::reboot(const Request&) {
  board_.effect = Effect::Reboot;
  return status::kOk;
}

Answer SystemFirmware::rebootOnBootloader(const Request&) {
  board_.effect = Effect::RebootOnBootloader;
  return status::kOk;
}

}  // namespace qvx::bench
