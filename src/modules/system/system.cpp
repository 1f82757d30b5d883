#include "modules/system/system.h"

#include "core/constants.h"
#include "core/convert.h"

#include <algorithm>
#include <cstdio>

namespace qvx {
namespace {

constexpr std::size_t kPinsPerPort = 8;
constexpr int kYearBase = 1900;
constexpr int kSerialNumberLength = 8;
constexpr std::size_t kLongestAlias = 64;
constexpr std::size_t kPageSize = 64;  // bytes of an EEPROM page

template <std::size_t N>
std::string nameOf(const std::array<const char*, N>& names, std::size_t number, int cmd) {
  if (number >= N) {
    fail(ErrorId::FirmwareOtherError,
         "The reply to command " + std::to_string(cmd) + " carries the unknown mode " + std::to_string(number) + ".");
  }
  return names[number];
}

// One byte for each. Braces have their items checked in this order, so that the first wrong one is blamed.
Bytes bytesOf(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) {
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
}

// Text that the device can give back: in UTF-8, without control characters.
Bytes checkedPlainText(const Argument& value, std::string_view what) {
  const std::string& text = checkedText(value, what);
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') {
      refuseNeeding(value, what, "a text without control characters");
    }
  }
  return {text.begin(), text.end()};
}

Bytes checkedLength(Bytes bytes, std::string_view what, std::size_t most) {
  if (bytes.size() > most) {
    refuse(ErrorId::InputDataNotInRangeError, what,
           std::to_string(bytes.size()) + " bytes, at most " + std::to_string(most) + " are taken");
  }
  return bytes;
}

bool isWireless(const Link& link) {
  if (link.deviceName().find("Wifi") != std::string::npos) {
    return true;
  }
  switch (link.product()) {
    case ProductId::SkylogE3A:
    case ProductId::SkylogE3AH:
    case ProductId::SkylogE3AO:
    case ProductId::SkylogE3AOD:
    case ProductId::SkylogF4A:
      return true;
    default:
      return false;
  }
}

}  // namespace

PinModes readPinModes(const Link& link, int port, double timeout) {
  const Reply reply = link.request(GET_PIN_MODE_OF_SLOT, payload(u8(port)), timeout);
  reply.status(0);
  PinModes result{reply.get<std::uint8_t>(1), {}};
  const auto packed = reply.get<std::uint32_t>(2);
  for (std::size_t pin = 0; pin < kPinsPerPort; ++pin) {
    result.second.push_back(nameOf(kPinModes, (packed >> (4 * pin)) & 0xF, GET_PIN_MODE_OF_SLOT));
  }
  return result;
}

void checkPinsAre(const Link& link, std::string_view mode, int port, double timeout, ErrorId not_available) {
  const auto [count, modes] = readPinModes(link, port, timeout);
  const auto used = std::min(static_cast<std::size_t>(count), modes.size());
  if (used == 0) {
    refuse(not_available, "port", "the device has no pins there");
  }
  for (std::size_t pin = 0; pin < used; ++pin) {
    if (modes[pin] != mode) {
      refuse(not_available, "port", "pin " + std::to_string(pin) + " is " + modes[pin] + ", not " + std::string(mode));
    }
  }
}

int SystemBased::_checkLUMASlot(const Argument& slot) {
  const auto number = checkedInt(slot, "slot");
  if (number != 1 && number != 2 && number != 4) {
    fail(ErrorId::LUMAPortNotAvaliableError);
  }
  return static_cast<int>(number);
}

Reply SystemOperations::request(int cmd, const Bytes& payload, const Argument& timeout, Repeat repeat) const {
  return link_.request(cmd, payload, checkedTimeout(timeout), repeat);
}

std::vector<std::string> SystemOperations::Sys_getDriverInfo(const Argument& timeout) {
  const std::string text = request(GET_DRIVER_INFO, payload(u8(0)), timeout).text();
  std::vector<std::string> parts{""};
  for (const char c : text) {
    if (c == '_') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::string SystemOperations::Sys_getPythonVersion(const Argument& timeout) {
  checkedTimeout(timeout);
  return kVersion;
}

std::string SystemOperations::Sys_getDeviceAlias(const Argument& timeout) {
  const Reply reply = request(GET_DEV_ALIAS, payload(u8(0)), timeout);
  const ByteView bytes = reply.rest(0);
  constexpr std::array<std::uint8_t, 2> kEnd{CMD_CR, CMD_LF};
  const auto end = std::search(bytes.begin(), bytes.end(), kEnd.begin(), kEnd.end());
  if (end == bytes.end()) {
    fail(ErrorId::FirmwareOtherError, "The reply to command " + std::to_string(GET_DEV_ALIAS) + " (" +
                                          std::to_string(bytes.size()) + " bytes) has no end mark after the alias.");
  }
  return reply.text(bytes.first(static_cast<std::size_t>(end - bytes.begin())));
}

int SystemOperations::Sys_setDeviceAlias(const Argument& alias, const Argument& timeout) {
  return request(SET_DEV_ALIAS, checkedLength(checkedPlainText(alias, "alias"), "alias", kLongestAlias), timeout)
      .status(0);
}

PinModes SystemOperations::Sys_getPinModeInPort(const Argument& port, const Argument& timeout) {
  const int number = checkedRange(port, "port", 0, 255);
  return readPinModes(link_, number, checkedTimeout(timeout));
}

// Fields at `at`: year, month, day, hour, minute, second, one byte each. Wireless models count years from 2000 on
// reading.
std::string SystemOperations::dateTime(const Reply& reply, std::size_t at) const {
  std::array<unsigned, 6> field{};
  for (std::size_t i = 0; i < field.size(); ++i) {
    field.at(i) = reply.get<std::uint8_t>(at + i);
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04u-%02u-%02u, %02u:%02u:%02u",
                field[0] + (isWireless(link_) ? 2000U : 1900U), field[1], field[2], field[3], field[4], field[5]);
  return text.data();
}

std::string SystemOperations::Sys_getRTC(const Argument& timeout) {
  const Reply reply = request(GET_DATE_TIME, payload(u8(0)), timeout);
  reply.status(0);
  return dateTime(reply, 1);
}

int SystemOperations::Sys_setRTC(const Argument& year, const Argument& month, const Argument& day, const Argument& hour,
                                 const Argument& minute, const Argument& second, const Argument& timeout) {
  // Every model is written with 1900 as base, whatever it counts from on reading.
  const Bytes fields =
      bytesOf({checkedRange(year, "year", kYearBase, kYearBase + 255) - kYearBase, checkedRange(month, "month", 1, 12),
               checkedRange(day, "day", 1, 31), checkedRange(hour, "hour", 0, 23),
               checkedRange(minute, "minute", 0, 59), checkedRange(second, "second", 0, 59)});
  return request(SET_DATE_TIME, fields, timeout).status(0);
}

int SystemOperations::Sys_startRTCAlarm(const Argument& mode, const Argument& day, const Argument& hour,
                                        const Argument& minute, const Argument& second, const Argument& timeout) {
  constexpr int kWeekday = 1;
  const int kind = checkedRange(mode, "mode", 0, 1);
  const Bytes fields =
      bytesOf({kind, checkedRange(day, "day", 1, kind == kWeekday ? 7 : 31), checkedRange(hour, "hour", 0, 23),
               checkedRange(minute, "minute", 0, 59), checkedRange(second, "second", 0, 59)});
  return request(RTC_START_ALARM, fields, timeout).status(1);
}

int SystemOperations::Sys_stopRTCAlarm(const Argument& timeout) {
  return request(RTC_STOP_ALARM, payload(u8(0)), timeout).status(1);
}

std::string SystemOperations::Sys_getSerialNumber(const Argument& timeout) {
  return request(GET_SERIAL_NUMBER, {}, timeout).text();
}

int SystemOperations::Sys_reboot(const Argument& timeout) {
  return request(REBOOT, {}, timeout, Repeat::Acts).status(0);
}

std::string SystemOperations::Sys_getMode(const Argument& slot, const Argument& timeout) {
  const int port = _checkLUMASlot(slot) - 1;
  const Reply reply = request(GET_SLOT_MODE, payload(u8(port)), timeout);
  reply.status(0);
  return nameOf(kSlotModes, reply.get<std::uint8_t>(1), GET_SLOT_MODE);
}

int SystemOperations::_Sys_setSlotMode(const Argument& slot, const Argument& mode, const Argument& timeout) {
  const int port = _checkLUMASlot(slot) - 1;
  const int number = checkedRange(mode, "mode", 0, static_cast<std::int64_t>(kSlotModes.size()) - 1);
  return request(SET_SLOT_MODE, payload(u8(port), u8(number)), timeout).status(1);
}

std::string SystemOperations::_Sys_getRTCAlarmState(const Argument& timeout) {
  return request(RTC_GET_ALARM_STATE, payload(u8(0)), timeout).get<std::uint8_t>(1) == 1 ? "on" : "off";
}

std::string SystemOperations::_Sys_getRTCAlarmConfig(const Argument& timeout) {
  const Reply reply = request(RTC_GET_ALARM_CONFIG, payload(u8(0)), timeout);
  reply.status(1);
  return dateTime(reply, 2);
}

int SystemOperations::_Sys_rebootOnBootloader(const Argument& timeout) {
  return request(REBOOT_ON_BOOTLOADER, {}, timeout, Repeat::Acts).status(0);
}

std::vector<int> SystemOperations::_getEEPROMPage(const Argument& page_number, const Argument& timeout) {
  const Reply reply = request(GET_EEPROM_PAGE, payload(u8(checkedRange(page_number, "page_number", 0, 255))), timeout);
  reply.status(0);
  const ByteView page = reply.rest(1);
  return {page.begin(), page.end()};
}

int SystemOperations::_setEEPROMPage(const Argument& page_number, const Argument& int_list, const Argument& timeout) {
  const int page = checkedRange(page_number, "page_number", 0, 255);
  const Bytes bytes = checkedLength(checkedByteList(int_list, "int_list"), "int_list", kPageSize);
  return request(SET_EEPROM_PAGE, payload(u8(page), bytes), timeout).status(0);
}

std::vector<int> SystemOperations::_getEEPROMDevice(const Argument& device_number, const Argument& timeout) {
  const int device = checkedRange(device_number, "device_number", 0, 255);
  const Reply reply = request(GET_EEPROM_DEVICE, payload(u8(device)), timeout);
  reply.status(0);
  const ByteView record = reply.rest(1);
  return {record.begin(), record.end()};
}

int SystemOperations::_setEEPROMByte(const Argument& page_number, const Argument& byte_index, const Argument& value,
                                     const Argument& timeout) {
  const Bytes fields = bytesOf({checkedRange(page_number, "page_number", 0, 255),
                                checkedRange(byte_index, "byte_index", 0, 255), checkedRange(value, "value", 0, 255)});
  return request(SET_EEPROM_BYTE, fields, timeout).status(0);
}

std::string SystemOperations::_getDriverInfo_dev(const Argument& mode, const Argument& timeout) {
  return request(GET_DRIVER_INFO, payload(u8(checkedRange(mode, "mode", 0, 255))), timeout).text();
}

std::string SystemOperations::_getThreads(const Argument& timeout) {
  return request(GET_THREADS, {}, timeout).text();
}

int SystemOperations::_resetFactory(const Argument& timeout) {
  return request(RESET_FACTORY, {}, timeout, Repeat::Acts).status(0);
}

int SystemOperations::_setSerialNumber(const Argument& serial_num, const Argument& timeout) {
  const Bytes text = checkedPlainText(serial_num, "serial_num");
  if (text.size() != kSerialNumberLength || std::ranges::any_of(text, [](std::uint8_t byte) { return byte > 127; })) {
    refuseNeeding(serial_num, "serial_num", "a text of " + std::to_string(kSerialNumberLength) + " ASCII characters");
  }
  return request(SET_SERIAL_NUMBER, text, timeout).status(0);
}

}  // namespace qvx
