// Who the device is, its clock and alarm, its slots and pins.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises ReceivePacketTimeoutError, the connection's class, and the class of a firmware status
// other than 0. "Status" results are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace qvx {

// Modes of an expansion slot, by number.
inline constexpr std::array kSlotModes{"Idle", "DI", "DO", "DIO", "Motion", "AIO", "Switch"};
// Modes of a pin, by number.
inline constexpr std::array kPinModes{"Disabled", "Idle", "DI", "DO", "UART", "I2C", "SPI", "CAN", "PWM", "ADC"};

// (number of pins, mode name of each of the eight pins, pin 0 first)
using PinModes = std::pair<int, std::vector<std::string>>;

// GET_PIN_MODE_OF_SLOT, payload: port u8. Reply: status, number of pins u8, u32 whose bits 4i..4i+3 are the mode of pin
// i.
PinModes readPinModes(const Link& link, int port, double timeout);
// All pins of a port must have this mode, else `not_available`.
void checkPinsAre(const Link& link, std::string_view mode, int port, double timeout, ErrorId not_available);

// A product gives this module nothing.
struct SystemConfiguration {};

class SystemBased {
 public:
  SystemBased(Link link, SystemConfiguration /*unused*/) : link_(link) {}
  virtual ~SystemBased() = default;

  // Slots are 1, 2 and 4; anything else raises LUMAPortNotAvaliableError.
  static int _checkLUMASlot(const Argument& slot);

 protected:
  Link link_;
};

class SystemOperations : public SystemBased {
 public:
  using SystemBased::SystemBased;

  std::vector<std::string> Sys_getDriverInfo(const Argument& timeout);
  std::string Sys_getPythonVersion(const Argument& timeout);
  std::string Sys_getDeviceAlias(const Argument& timeout);
  int Sys_setDeviceAlias(const Argument& alias, const Argument& timeout);
  PinModes Sys_getPinModeInPort(const Argument& port, const Argument& timeout);
  std::string Sys_getRTC(const Argument& timeout);
  int Sys_setRTC(const Argument& year, const Argument& month, const Argument& day, const Argument& hour,
                 const Argument& minute, const Argument& second, const Argument& timeout);
  int Sys_startRTCAlarm(const Argument& mode, const Argument& day, const Argument& hour, const Argument& minute,
                        const Argument& second, const Argument& timeout);
  int Sys_stopRTCAlarm(const Argument& timeout);
  std::string Sys_getSerialNumber(const Argument& timeout);
  int Sys_reboot(const Argument& timeout);
  std::string Sys_getMode(const Argument& slot, const Argument& timeout);
  int _Sys_setSlotMode(const Argument& slot, const Argument& mode, const Argument& timeout);
  template <int Mode>
  int Sys_setMode(const Argument& slot, const Argument& timeout) {
    return _Sys_setSlotMode(slot, Mode, timeout);
  }

  std::string _Sys_getRTCAlarmState(const Argument& timeout);
  std::string _Sys_getRTCAlarmConfig(const Argument& timeout);
  int _Sys_rebootOnBootloader(const Argument& timeout);
  std::vector<int> _getEEPROMPage(const Argument& page_number, const Argument& timeout);
  int _setEEPROMPage(const Argument& page_number, const Argument& int_list, const Argument& timeout);
  std::vector<int> _getEEPROMDevice(const Argument& device_number, const Argument& timeout);
  int _setEEPROMByte(const Argument& page_number, const Argument& byte_index, const Argument& value,
                     const Argument& timeout);
  std::string _getDriverInfo_dev(const Argument& mode, const Argument& timeout);
  std::string _getThreads(const Argument& timeout);
  int _resetFactory(const Argument& timeout);
  int _setSerialNumber(const Argument& serial_num, const Argument& timeout);

 private:
  Reply request(int cmd, const Bytes& payload, const Argument& timeout, Repeat repeat = Repeat::Harmless) const;
  std::string dateTime(const Reply& reply, std::size_t at) const;
};

using SystemModule = BlockingFace<SystemOperations>;
using SystemModule_async = CoroutineFace<SystemOperations>;

}  // namespace qvx
