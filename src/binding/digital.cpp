#include "binding/modules.h"
#include "binding/operations.h"
#include "modules/digital/dio.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindDIOBased(py::class_<DIOBased, std::shared_ptr<DIOBased>>& based) {
  based.def_readonly("di_dict", &DIOBased::di_dict, "-> dict[int, list[int]]\n\nThe DI ports: port number to its pins.")
      .def_readonly("do_dict", &DIOBased::do_dict, "-> dict[int, list[int]]\n\nThe DO ports: port number to its pins.")
      .def_readonly("dio_num_pins_per_port", &DIOBased::dio_num_pins_per_port,
                    "-> int\n\nHow many states a list of a port's states has.");
  Operations(based)
      .plain("DI_getPinMap", &DIOBased::DI_getPinMap, "", "dict[int, list[int]]",
             "The DI ports: port number to its pins. Nothing is sent.")
      .plain("DO_getPinMap", &DIOBased::DO_getPinMap, "", "dict[int, list[int]]",
             "The DO ports: port number to its pins. Nothing is sent.")
      .instant("_getPinIndexInList", &DIOBased::_getPinIndexInList, "pin: list[int] | int", "list[int]",
               "A selection of pins, 0..15, as a list. Raises PinsNotExistError.")
      .instant("_getPinIndexInInt", &DIOBased::_getPinIndexInInt, "pin: list[int] | int", "int",
               "A selection of pins, 0..15, as a mask, bit n for pin n. Raises PinsNotExistError.")
      .check("_checkDIPort", &DIOBased::_checkDIPort, "port: int", "Raises DIPortNotAvaliableError.")
      .check("_checkDOPort", &DIOBased::_checkDOPort, "port: int", "Raises DOPortNotAvaliableError.")
      .check("_checkDIPortAndPin", &DIOBased::_checkDIPortAndPin, "port: int, pin: list[int] | int",
             "Raises DIPortNotAvaliableError, PinsNotExistError.")
      .check("_checkDOPortAndPin", &DIOBased::_checkDOPortAndPin, "port: int, pin: list[int] | int",
             "Raises DOPortNotAvaliableError, PinsNotExistError.");
}

using DIO = Operations<py::class_<DIOModule, DIOBased, std::shared_ptr<DIOModule>>,
                       py::class_<DIOModule_async, DIOBased, std::shared_ptr<DIOModule_async>>>;

constexpr const char* kPort = "port: int";
constexpr const char* kPins = "port: int, pin: list[int] | int";

void bindDIO(DIO& ops) {
  using M = DIOOperations;
  ops.request("DI_openPins", &M::DI_openPins, kPins, "int",
              "Opens pins (a number or a list) as inputs. Raises DIPortNotAvaliableError, also when another function "
              "uses one of them, and PinsNotExistError. On products whose pins have a fixed direction (FeroxD, "
              "SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a closed device is not "
              "noticed. Returns 0.")
      .request("DI_openPort", &M::DI_openPort, kPort, "int",
               "Opens all pins of a port as inputs, as DI_openPins does. Raises DIPortNotAvaliableError. Returns 0.")
      .request("DO_openPins", &M::DO_openPins, kPins, "int",
               "Opens pins (a number or a list) as outputs, which then drive 0. Raises DOPortNotAvaliableError, also "
               "when another function uses one of them, and PinsNotExistError. On products whose pins have a fixed "
               "direction (FeroxD, SkylogE3AOD, CordlogF1DSNK) it does nothing, for whatever port and pins, and a "
               "closed device is not noticed. Returns 0.")
      .request("DO_openPort", &M::DO_openPort, kPort, "int",
               "Opens all pins of a port as outputs, as DO_openPins does. Raises DOPortNotAvaliableError. Returns 0.")
      .request("DI_closePins", &M::DI_closePins, kPins, "int",
               "Closes pins (a number or a list). Raises DIPortNotAvaliableError, PinsNotExistError. Returns 0.")
      .request("DI_closePort", &M::DI_closePort, kPort, "int",
               "Closes all pins of a port. Raises DIPortNotAvaliableError. Returns 0.")
      .request("DO_closePins", &M::DO_closePins, kPins, "int",
               "Closes pins (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError. Returns 0.")
      .request("DO_closePort", &M::DO_closePort, kPort, "int",
               "Closes all pins of a port. Raises DOPortNotAvaliableError. Returns 0.")
      .request("DI_readPins", &M::DI_readPins, kPins, "list[int]",
               "The states of the chosen pins (a number or a list), 0 or 1, in their order. Raises "
               "DIPortNotAvaliableError, PinsNotExistError.")
      .request("DI_readPort", &M::DI_readPort, kPort, "list[int]",
               "The states of all pins of a port, 0 or 1, pin 0 first. Raises DIPortNotAvaliableError.")
      .request("DO_writePins", &M::DO_writePins, "port: int, pin: list[int] | int, value: list[int] | int", "list[int]",
               "Sets outputs: `value` has a 0 or 1 for each of `pin`, or is one for a single pin. Raises "
               "DOPortNotAvaliableError, PinsNotExistError, PinsValueNotDefineError when the numbers differ, "
               "InputTypeNotConsistentError when the values are of several types, as True and 1 are, and "
               "FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive "
               "now, pin 0 first.")
      .request(
          "DO_writePort", &M::DO_writePort, "port: int, value: list[int] | int", "list[int]",
          "Sets all outputs of a port: `value` has a 0 or 1 for each pin that the port has, or for each state that "
          "DI_readPort gives, or is an int 0..65535 with bit n for pin n. Raises DOPortNotAvaliableError, "
          "PinsValueNotDefineError for another number of values, InputTypeNotConsistentError, InputDataNotInRangeError "
          "for another int, and FirmwareEnableError unless all pins are open as outputs. Returns what they drive now, "
          "pin 0 first.")
      .request("DO_togglePins", &M::DO_togglePins, kPins, "list[int]",
               "Inverts outputs (a number or a list). Raises DOPortNotAvaliableError, PinsNotExistError, and "
               "FirmwareEnableError for pins that are not open as outputs. Returns what all outputs of the port drive "
               "now, pin 0 first.")
      .request("DO_togglePort", &M::DO_togglePort, kPort, "list[int]",
               "Inverts all outputs of a port. Raises DOPortNotAvaliableError, and FirmwareEnableError unless all pins "
               "are open as outputs. Returns what they drive now, pin 0 first.")
      .request("DIO_loadStartup", &M::DIO_loadStartup, kPort, "list[list[int]]",
               "What the pins of a port are when the device starts: the lists enabled, direction (1 output) and state, "
               "pin 0 first. Raises DIPortNotAvaliableError.")
      .request(
          "_DIO_saveStartup", &M::_DIO_saveStartup,
          "port: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int", "int",
          "Stores what the pins of a port are when the device starts: lists as DIO_loadStartup gives them, or ints "
          "0..65535 with bit n for pin n. Raises DIPortNotAvaliableError, PinsValueNotDefineError for another number "
          "of "
          "states, InputTypeNotConsistentError, InputDataNotInRangeError for another int, and FirmwarePinIndexError "
          "for "
          "a pin that the port does not have. Returns 0.")
      .request("_DIO_setPortIdle", &M::_DIO_setPortIdle, kPort, "int",
               "Makes all pins of a port idle. Raises "
               "DIPortNotAvaliableError, and FirmwareDIOError where directions are fixed. Returns 0.")
      .request("_DIO_setPortDI", &M::_DIO_setPortDI, kPort, "int",
               "Makes all pins of a port inputs. Raises "
               "DIPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0.")
      .request("_DIO_setPortDO", &M::_DIO_setPortDO, kPort, "int",
               "Makes all pins of a port outputs. Raises "
               "DOPortNotAvaliableError, and FirmwareDIOError where another function uses one. Returns 0.");
}

// States are ints, bit n for pin n, or lists, pin 0 first. What all raise stands at the class.
void bindDIOCommands(DIO& ops) {
  using M = DIOOperations;
  constexpr const char* kMask = "port: int, mask: int";
  constexpr const char* kMaskState = "port: int, mask: int, state: list[int] | int";
  ops.request("_setDIOCurrent", &M::_setDIOCurrent,
              "port: int, mask: int, enabled: list[int] | int, direction: list[int] | int, state: list[int] | int",
              "int", "Configures the pins of `mask`; direction 1 is output. Returns 0.")
      .request("_getDIOCurrent", &M::_getDIOCurrent, kMask, "list[list[int]]",
               "The lists enabled, direction and state of the pins of `mask`.")
      .request("_setDIOState", &M::_setDIOState, kMaskState, "int",
               "Sets the state register of a port; its outputs follow with _writeDO. Returns 0.")
      .request("_getDIOState", &M::_getDIOState, kMask, "list[int]", "The state register of a port.")
      .request("_toggleDIODirection", &M::_toggleDIODirection, kMaskState, "int",
               "Inverts the direction of open pins; those that become outputs drive `state`. Returns 0.")
      .request("_readAndGetDI", &M::_readAndGetDI, kMask, "list[int]", "The levels at the pins of `mask`.")
      .request("_setAndWriteDO", &M::_setAndWriteDO, kMaskState, "list[int]",
               "Sets outputs; gives what all outputs of the port drive.")
      .request("_toggleAndWriteDO", &M::_toggleAndWriteDO, kMask, "list[int]",
               "Inverts outputs; gives what all outputs of the port drive.")
      .request("_readDI", &M::_readDI, kPort, "int", "Reads the inputs of a port into its state register. Returns 0.")
      .request("_writeDO", &M::_writeDO, kPort, "int",
               "Makes the outputs of a port drive its state register. Returns 0.")
      .request("_closeDIOInPins", &M::_closeDIOInPins, kPins, "int",
               "Closes pins, whatever their direction. Returns 0.")
      .request("_closeDIOInPort", &M::_closeDIOInPort, kPort, "int", "Closes all pins of a port. Returns 0.");
}

}  // namespace

void bindDigital(py::module_& module) {
  py::class_<DIOBased, std::shared_ptr<DIOBased>> based(module, "DIOBased",
                                                        "Pin tables and checks of digital input and output.");
  bindDIOBased(based);
  DIO ops(
      {module, "DIOModule",
       "Digital input and output.\n\nOperations that name neither input nor output raise DIPortNotAvaliableError for a "
       "port that is neither. Masks and states are ints 0..65535, else InputDataNotInRangeError; lists of states have "
       "one for each pin, pin 0 first, else PinsValueNotDefineError."},
      {module, "DIOModule_async", "Digital input and output as coroutines."}, CoroutineTimeout::None);
  bindDIO(ops);
  bindDIOCommands(ops);
}

}  // namespace qvx::binding
