// Digital input and output.
//
// Pins are grouped in ports. A pin is opened as input (DI) or output (DO), is read or written, and is closed again.
// Wherever operations take a `pin`, it is a pin number or a list of them; wherever they take or give the states of a
// port's pins, it is a list of 0 and 1, pin 0 first. On the wire both are u16, bit n for pin n.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Arguments are checked before anything is sent: a port that the product has not raises
// DIPortNotAvaliableError or DOPortNotAvaliableError, a pin that the port has not PinsNotExistError, values that do not
// match the pins PinsValueNotDefineError, a wrong type InputTypeNotCorrectError. Each also raises
// ReceivePacketTimeoutError, the connection's class, and the class of a firmware status other than 0. "Status" results
// are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace qvx {

// Port number to its pin numbers, ascending.
using PinMap = std::map<int, std::vector<int>>;
// A 0 or 1 for each pin of a port, pin 0 first.
using PinStates = std::vector<int>;

// Pins of one port, in the caller's order.
struct PinSelection {
  int port;
  std::vector<int> pins;

  std::uint16_t mask() const;
};

// What a product gives its DIO module.
struct DIOConfiguration {
  PinMap inputs;
  PinMap outputs;
  int pins_per_port = 8;  // states in a reply, 1..16
};

class DIOBased {
 public:
  DIOBased(Link link, DIOConfiguration configuration);
  virtual ~DIOBased() = default;

  const PinMap di_dict;
  const PinMap do_dict;
  const int dio_num_pins_per_port;

  // A selection of pins as a list or as a mask. Raises PinsNotExistError for what can be no pin (0..15), and for none
  // at all.
  static std::vector<int> _getPinIndexInList(const Argument& pin);
  static std::uint16_t _getPinIndexInInt(const Argument& pin);

  PinMap DI_getPinMap() const { return di_dict; }
  PinMap DO_getPinMap() const { return do_dict; }

  // Return what the caller has chosen: a port, or pins that it has.
  int _checkDIPort(const Argument& port) const { return select(Direction::Input, port, nullptr).port; }
  int _checkDOPort(const Argument& port) const { return select(Direction::Output, port, nullptr).port; }
  PinSelection _checkDIPortAndPin(const Argument& port, const Argument& pin) const {
    return select(Direction::Input, port, &pin);
  }
  PinSelection _checkDOPortAndPin(const Argument& port, const Argument& pin) const {
    return select(Direction::Output, port, &pin);
  }

 protected:
  enum class Direction : std::uint8_t { Input, Output };

  // The class of errors about ports of this direction.
  static ErrorId portError(Direction direction);
  // `pin`: nullptr stands for all pins that the port has in this direction.
  PinSelection select(Direction direction, const Argument& port, const Argument* pin) const;
  // An int or a list of ints: its items.
  static std::vector<Argument> checkPinType(const Argument& pin);
  // The pins that `pin` names, each one of `there`; else PinsNotExistError.
  static std::vector<int> pinsAmong(const std::vector<int>& there, const Argument& pin);
  // A port of either direction.
  int checkAnyPort(const Argument& port) const;
  // All pins that a port of either direction has.
  PinSelection selectAll(const Argument& port) const;
  // The states of a whole port: an int, bit n for pin n, or a list with a value for each pin.
  std::uint16_t checkStates(const Argument& states, std::string_view what) const;
  // A list of ints of one type, one for each of `pins`; below 0 is 0 and above 1 is 1.
  static std::uint16_t checkValues(const std::vector<int>& pins, const Argument& value, std::string_view what);

  Link link_;
};

class DIOOperations : public DIOBased {
 public:
  using DIOBased::DIOBased;

  // Opens pins that are idle or have the direction already; else the port error of the direction. Products whose pins
  // have a fixed direction need no opening: nothing is sent, and which ports and pins there are is not asked. Reading,
  // writing and closing check that as everywhere.
  int DI_openPins(const Argument& port, const Argument& pin, const Argument& timeout);
  int DI_openPort(const Argument& port, const Argument& timeout);
  int DO_openPins(const Argument& port, const Argument& pin, const Argument& timeout);
  int DO_openPort(const Argument& port, const Argument& timeout);
  int DI_closePins(const Argument& port, const Argument& pin, const Argument& timeout);
  int DI_closePort(const Argument& port, const Argument& timeout);
  int DO_closePins(const Argument& port, const Argument& pin, const Argument& timeout);
  int DO_closePort(const Argument& port, const Argument& timeout);

  // The states of the chosen pins, in their order.
  std::vector<int> DI_readPins(const Argument& port, const Argument& pin, const Argument& timeout);
  PinStates DI_readPort(const Argument& port, const Argument& timeout);
  // The following return what all outputs of the port drive afterwards.
  PinStates DO_writePins(const Argument& port, const Argument& pin, const Argument& value, const Argument& timeout);
  // `value`: an int, bit n for pin n; or a list with a value for each pin that the port has, or for each state that a
  // read gives.
  PinStates DO_writePort(const Argument& port, const Argument& value, const Argument& timeout);
  PinStates DO_togglePins(const Argument& port, const Argument& pin, const Argument& timeout);
  PinStates DO_togglePort(const Argument& port, const Argument& timeout);

  // What the pins are when the device starts: enabled, direction (1 output), state.
  std::vector<PinStates> DIO_loadStartup(const Argument& port, const Argument& timeout);
  int _DIO_saveStartup(const Argument& port, const Argument& enabled, const Argument& direction, const Argument& state,
                       const Argument& timeout);
  int _DIO_setPortIdle(const Argument& port, const Argument& timeout);
  int _DIO_setPortDI(const Argument& port, const Argument& timeout);
  int _DIO_setPortDO(const Argument& port, const Argument& timeout);

  // One command each. `mask`, an int, chooses the pins that a command is about; others stay as they are.
  int _setDIOCurrent(const Argument& port, const Argument& mask, const Argument& enabled, const Argument& direction,
                     const Argument& state, const Argument& timeout);
  std::vector<PinStates> _getDIOCurrent(const Argument& port, const Argument& mask, const Argument& timeout);
  int _setDIOState(const Argument& port, const Argument& mask, const Argument& state, const Argument& timeout);
  PinStates _getDIOState(const Argument& port, const Argument& mask, const Argument& timeout);
  int _toggleDIODirection(const Argument& port, const Argument& mask, const Argument& state, const Argument& timeout);
  PinStates _readAndGetDI(const Argument& port, const Argument& mask, const Argument& timeout);
  PinStates _setAndWriteDO(const Argument& port, const Argument& mask, const Argument& state, const Argument& timeout);
  PinStates _toggleAndWriteDO(const Argument& port, const Argument& mask, const Argument& timeout);
  int _readDI(const Argument& port, const Argument& timeout);
  int _writeDO(const Argument& port, const Argument& timeout);
  int _closeDIOInPins(const Argument& port, const Argument& pin, const Argument& timeout);
  int _closeDIOInPort(const Argument& port, const Argument& timeout);

 private:
  // Every command is the port and some words, and every reply the port, a status and some words.
  Reply request(int cmd, int port, std::initializer_list<std::uint16_t> words, const Argument& timeout,
                Repeat repeat = Repeat::Harmless) const;
  int status(int cmd, int port, std::initializer_list<std::uint16_t> words, const Argument& timeout,
             Repeat repeat = Repeat::Harmless) const;
  // The `index`th word of a reply.
  PinStates states(const Reply& reply, std::size_t index = 0) const;

  // `pin`: nullptr stands for the whole port.
  int open(Direction direction, const Argument& port, const Argument* pin, const Argument& timeout) const;
  int close(const PinSelection& selected, const Argument& timeout) const;
  PinStates write(const PinSelection& selected, std::uint16_t values, const Argument& timeout) const;
  PinStates toggle(const PinSelection& selected, const Argument& timeout) const;
};

using DIOModule = BlockingFace<DIOOperations>;
using DIOModule_async = CoroutineFace<DIOOperations>;

}  // namespace qvx
