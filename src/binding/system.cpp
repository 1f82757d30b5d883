#include "modules/system/system.h"
#include "binding/modules.h"
#include "binding/operations.h"

#include <pybind11/stl.h>

namespace qvx::binding {

void bindSystem(py::module_& module) {
  Operations(py::class_<SystemBased, std::shared_ptr<SystemBased>>(module, "SystemBased",
                                                                   "Checks shared by both forms of the system module."))
      .check("_checkLUMASlot", &SystemBased::_checkLUMASlot, "slot: int",
             "Raises LUMAPortNotAvaliableError unless the slot is 1, 2 or 4.");

  using M = SystemOperations;
  Operations ops(py::class_<SystemModule, SystemBased, std::shared_ptr<SystemModule>>(
                     module, "SystemModule", "Identity, clock and alarm, slots and pins of a device."),
                 py::class_<SystemModule_async, SystemBased, std::shared_ptr<SystemModule_async>>(
                     module, "SystemModule_async", "The system module as coroutines."),
                 CoroutineTimeout::Keyword);
  ops.request("Sys_getDriverInfo", &M::Sys_getDriverInfo, "", "list[str]", "Model name, mode and firmware version.")
      .request("Sys_getPythonVersion", &M::Sys_getPythonVersion, "", "str",
               "The version of this driver; nothing is sent.")
      .request("Sys_getDeviceAlias", &M::Sys_getDeviceAlias, "", "str", "The name given to the device.")
      .request(
          "Sys_setDeviceAlias", &M::Sys_setDeviceAlias, "alias: str", "int",
          "Names the device; it keeps the name. At most 64 printable ASCII characters, else InputDataNotInRangeError. "
          "Returns 0.")
      .request("Sys_getPinModeInPort", &M::Sys_getPinModeInPort, "port: int", "tuple[int, list[str]]",
               "How many pins the port has, and the mode of each of eight pins, pin 0 first: \"Disabled\", \"Idle\", "
               "\"DI\", \"DO\", \"UART\", \"I2C\", \"SPI\", \"CAN\", \"PWM\" or \"ADC\".")
      .request("Sys_getRTC", &M::Sys_getRTC, "", "str", "The device's clock as \"YYYY-MM-DD, hh:mm:ss\".")
      .request(
          "Sys_setRTC", &M::Sys_setRTC, "year: int, month: int, day: int, hour: int, minute: int, second: int", "int",
          "Sets the clock. Year 1900..2155, month 1..12, day 1..31, hour 0..23, minute and second 0..59. Returns 0.")
      .request("Sys_startRTCAlarm", &M::Sys_startRTCAlarm, "mode: int, day: int, hour: int, minute: int, second: int",
               "int", "Starts the alarm. Mode 0: day of the month 1..31; mode 1: day of the week 1..7. Returns 0.")
      .request("Sys_stopRTCAlarm", &M::Sys_stopRTCAlarm, "", "int", "Stops the alarm. Returns 0.")
      .request("Sys_getSerialNumber", &M::Sys_getSerialNumber, "", "str", "The serial number, 8 characters.")
      .request("Sys_reboot", &M::Sys_reboot, "", "int", "Restarts the device, which ends the connection. Returns 0.")
      .request("Sys_getMode", &M::Sys_getMode, "slot: int", "str",
               "The mode of a slot (1, 2 or 4): \"Idle\", \"DI\", \"DO\", \"DIO\", \"Motion\", \"AIO\" or \"Switch\". "
               "Raises "
               "LUMAPortNotAvaliableError.")
      .request("Sys_setIdleMode", &M::Sys_setMode<0>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"Idle\". Returns 0.")
      .request("Sys_setDIMode", &M::Sys_setMode<1>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"DI\". Returns 0.")
      .request("Sys_setDOMode", &M::Sys_setMode<2>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"DO\". Returns 0.")
      .request("Sys_setDIOMode", &M::Sys_setMode<3>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"DIO\". Returns 0.")
      .request("Sys_setMotionMode", &M::Sys_setMode<4>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"Motion\". Returns 0.")
      .request("Sys_setAIOMode", &M::Sys_setMode<5>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"AIO\". Returns 0.")
      .request("Sys_setSwitchMode", &M::Sys_setMode<6>, "slot: int", "int",
               "Switches a slot (1, 2 or 4) to \"Switch\". Returns 0.")
      .request("_Sys_setSlotMode", &M::_Sys_setSlotMode, "slot: int, mode: int", "int",
               "Switches a slot (1, 2 or 4) to a mode by number, 0..6. Returns 0.")
      .request("_Sys_getRTCAlarmState", &M::_Sys_getRTCAlarmState, "", "str", "\"on\" or \"off\".")
      .request("_Sys_getRTCAlarmConfig", &M::_Sys_getRTCAlarmConfig, "", "str",
               "The moment of the alarm as \"YYYY-MM-DD, hh:mm:ss\".")
      .request("_Sys_rebootOnBootloader", &M::_Sys_rebootOnBootloader, "", "int",
               "Restarts the device into its firmware loader. Returns 0.")
      .request("_getEEPROMPage", &M::_getEEPROMPage, "page_number: int", "list[int]", "The bytes of an EEPROM page.")
      .request("_setEEPROMPage", &M::_setEEPROMPage, "page_number: int, int_list: list[int]", "int",
               "Writes the first bytes of an EEPROM page, at most 64; the others stay. Returns 0.")
      .request("_getEEPROMDevice", &M::_getEEPROMDevice, "device_number: int", "list[int]",
               "The identification record of an EEPROM.")
      .request("_setEEPROMByte", &M::_setEEPROMByte, "page_number: int, byte_index: int, value: int", "int",
               "Writes one byte of an EEPROM page. Returns 0.")
      .request("_getDriverInfo_dev", &M::_getDriverInfo_dev, "mode: int", "str", "Driver information by number.")
      .request("_getThreads", &M::_getThreads, "", "str", "What the firmware's threads are doing.")
      .request("_resetFactory", &M::_resetFactory, "", "int", "Restores the factory settings. Returns 0.")
      .request("_setSerialNumber", &M::_setSerialNumber, "serial_num: str", "int",
               "Writes the serial number. Returns 0.");
}

}  // namespace qvx::binding
