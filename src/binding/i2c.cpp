#include "modules/bus/i2c.h"
#include "binding/modules.h"
#include "binding/operations.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindI2CBased(py::class_<I2CBased, std::shared_ptr<I2CBased>>& based) {
  based.def_readonly("I2C_dict", &I2CBased::I2C_dict,
                     "-> dict[int, list[tuple[int, int]]]\n\nThe I2C ports: port number to its pins (clock, data), "
                     "each a digital port and a pin of it.");
  Operations(based)
      .plain("I2C_getPinMap", &I2CBased::I2C_getPinMap, "", "dict[int, list[tuple[int, int]]]",
             "The I2C ports: port number to its pins (clock, data), each a digital port and a pin of it. Nothing is "
             "sent.")
      .check("_checkI2CPort", &I2CBased::_checkI2CPort, "port: int", "Raises I2CPortNotAvaliableError.")
      .check("_checkI2CClockRate", &I2CBased::_checkI2CClockRate, "mode: int", "0..3; else I2CClockNotSupportError.")
      .check("_checkI2CAddressSize", &I2CBased::_checkI2CAddressSize, "mode: int",
             "0 or 1; else I2CAddressSizeNotVaildError.")
      .request("_checkI2CPinState", &I2CBased::_checkI2CPinState, "port: int, allow_state: list[str]", "None",
               "Raises I2CPortNotAvaliableError unless each pin of the port is in one of these modes, such as "
               "[\"Idle\", \"DI\", \"DO\"].");
}

}  // namespace

void bindI2C(py::module_& module) {
  py::class_<I2CBased, std::shared_ptr<I2CBased>> based(module, "I2CBased", "Ports, pins and checks of I2C.");
  bindI2CBased(based);

  using M = I2COperations;
  Operations ops(py::class_<I2CModule, I2CBased, std::shared_ptr<I2CModule>>(module, "I2CModule", "I2C masters."),
                 py::class_<I2CModule_async, I2CBased, std::shared_ptr<I2CModule_async>>(module, "I2CModule_async",
                                                                                         "I2C masters as coroutines."),
                 CoroutineTimeout::None);
  ops.request(
         "I2C_open", &M::I2C_open, "port: int", "int",
         "Opens a port; its pins must be idle or digital lines. Raises I2CPortNotAvaliableError, also when another "
         "function uses one of them or an earlier program left the port open: I2C_close frees it. Returns 0.")
      .request("I2C_close", &M::I2C_close, "port: int", "int",
               "Closes a port; its pins are idle then. Raises I2CPortNotAvaliableError. Returns 0.")
      .request("I2C_setClockRate", &M::I2C_setClockRate, "port: int, mode: int", "int",
               "The clock: 0 standard (100 kHz), 1 fast (400 kHz), 2 fast plus (1 MHz), 3 high speed (3.4 MHz). Raises "
               "I2CClockNotSupportError. Returns 0.")
      .request("I2C_setAddressSize", &M::I2C_setAddressSize, "port: int, mode: int", "int",
               "0: addresses of 7 bits; 1: of 10. To be set again when the device has restarted. Raises "
               "I2CAddressSizeNotVaildError. Returns 0.")
      .request(
          "I2C_write", &M::I2C_write, "port: int, write_address: int, write_data: list[int]", "int",
          "Sends bytes, 0..255 each, to the slave at an address, 0..127, or 0..1023 with 10 bits (else "
          "InputDataNotInRangeError); without bytes it only asks whether the slave is there. The device takes at most "
          "255. Raises FirmwareI2CError for more and when nobody acknowledges; more than 65532 (65531 with 10 bits) "
          "fit in no packet: InputDataNotInRangeError. Waits until they are sent; what takes longer than 0.01 s is "
          "sent again unless `resend` is False. Returns 0.")
      .request("I2C_read", &M::I2C_read, "port: int, read_address: int, bytes_to_read: int", "list[int]",
               "What the slave at an address, 0..127, or 0..1023 with 10 bits, sends in 0..255 bytes (else "
               "InputDataNotInRangeError). Raises FirmwareI2CError when nobody acknowledges. What takes longer than "
               "0.01 s, as 110 bytes do at 100 kHz, is asked for again unless `resend` is False; the answers to that "
               "pass for those of the next reads.")
      .request("I2C_reset", &M::I2C_reset, "port: int", "int",
               "Restores the default settings of a port: 100 kHz, addresses of 7 bits. Returns 0.");
}

}  // namespace qvx::binding
