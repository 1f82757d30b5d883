#include "modules/digital/dio.h"

#include "core/constants.h"
#include "core/convert.h"
#include "modules/system/system.h"

namespace qvx {
namespace {

// Every pin of these is an input or an output for good.
bool hasFixedDirections(ProductId product) {
  switch (product) {
    case ProductId::FeroxL:
    case ProductId::FeroxD:
    case ProductId::CordlogF1DSNK:
    case ProductId::LUMA:
    case ProductId::SkylogE3AOD:
      return true;
    default:
      return false;
  }
}

std::uint16_t checkedMask(const Argument& mask) {
  return static_cast<std::uint16_t>(checkedRange(mask, "mask", 0, 0xFFFF));
}

}  // namespace

// payload: port u8, words u16
Reply DIOOperations::request(int cmd, int port, std::initializer_list<std::uint16_t> words, const Argument& timeout,
                             Repeat repeat) const {
  Bytes fields = payload(u8(port));
  for (const std::uint16_t word : words) {
    appendBig(fields, word);
  }
  return link_.request(cmd, fields, checkedTimeout(timeout), repeat);
}

int DIOOperations::status(int cmd, int port, std::initializer_list<std::uint16_t> words, const Argument& timeout,
                          Repeat repeat) const {
  return request(cmd, port, words, timeout, repeat).status(1);
}

// reply: port, status, words u16
PinStates DIOOperations::states(const Reply& reply, std::size_t index) const {
  reply.status(1);
  return convertIntToBinaryList(reply.get<std::uint16_t>(2 + 2 * index), dio_num_pins_per_port);
}

int DIOOperations::open(Direction direction, const Argument& port, const Argument* pin, const Argument& timeout) const {
  if (hasFixedDirections(link_.product())) {
    checkedInt(port, "port");
    if (pin != nullptr) {
      checkPinType(*pin);
    }
    checkedTimeout(timeout);
    return 0;
  }
  const PinSelection selected = select(direction, port, pin);
  const auto modes = readPinModes(link_, selected.port, checkedTimeout(timeout)).second;
  for (const int chosen : selected.pins) {
    const auto index = static_cast<std::size_t>(chosen);
    const std::string mode = index < modes.size() ? modes[index] : "not there";
    if (mode != "Idle" && mode != (direction == Direction::Input ? "DI" : "DO")) {
      refuse(portError(direction), "port",
             std::to_string(selected.port) + ", pin " + std::to_string(chosen) + " is " + mode);
    }
  }
  const std::uint16_t mask = selected.mask();
  const std::uint16_t outputs = direction == Direction::Output ? mask : 0;
  return status(SET_DIO_CURRENT, selected.port, {mask, mask, outputs, 0}, timeout);
}

int DIOOperations::close(const PinSelection& selected, const Argument& timeout) const {
  return status(SET_DIO_CURRENT, selected.port, {selected.mask(), 0, 0, 0}, timeout);
}

PinStates DIOOperations::write(const PinSelection& selected, std::uint16_t values, const Argument& timeout) const {
  const std::uint16_t mask = selected.mask();
  const auto masked = static_cast<std::uint16_t>(values & mask);
  return states(request(SET_AND_WRITE_DO, selected.port, {mask, masked}, timeout));
}

PinStates DIOOperations::toggle(const PinSelection& selected, const Argument& timeout) const {
  return states(request(TOGGLE_AND_WRITE_DO, selected.port, {selected.mask()}, timeout, Repeat::Acts));
}

int DIOOperations::DI_openPins(const Argument& port, const Argument& pin, const Argument& timeout) {
  return open(Direction::Input, port, &pin, timeout);
}

int DIOOperations::DI_openPort(const Argument& port, const Argument& timeout) {
  return open(Direction::Input, port, nullptr, timeout);
}

int DIOOperations::DO_openPins(const Argument& port, const Argument& pin, const Argument& timeout) {
  return open(Direction::Output, port, &pin, timeout);
}

int DIOOperations::DO_openPort(const Argument& port, const Argument& timeout) {
  return open(Direction::Output, port, nullptr, timeout);
}

int DIOOperations::DI_closePins(const Argument& port, const Argument& pin, const Argument& timeout) {
  return close(_checkDIPortAndPin(port, pin), timeout);
}

int DIOOperations::DI_closePort(const Argument& port, const Argument& timeout) {
  return close(select(Direction::Input, port, nullptr), timeout);
}

int DIOOperations::DO_closePins(const Argument& port, const Argument& pin, const Argument& timeout) {
  return close(_checkDOPortAndPin(port, pin), timeout);
}

int DIOOperations::DO_closePort(const Argument& port, const Argument& timeout) {
  return close(select(Direction::Output, port, nullptr), timeout);
}

int DIOOperations::_closeDIOInPins(const Argument& port, const Argument& pin, const Argument& timeout) {
  const PinSelection all = selectAll(port);
  return close({all.port, pinsAmong(all.pins, pin)}, timeout);
}

int DIOOperations::_closeDIOInPort(const Argument& port, const Argument& timeout) {
  return close(selectAll(port), timeout);
}

std::vector<int> DIOOperations::DI_readPins(const Argument& port, const Argument& pin, const Argument& timeout) {
  const PinSelection selected = _checkDIPortAndPin(port, pin);
  const auto read = states(request(READ_AND_GET_DI, selected.port, {selected.mask()}, timeout));
  std::vector<int> chosen;
  for (const int index : selected.pins) {
    chosen.push_back(read.at(static_cast<std::size_t>(index)));
  }
  return chosen;
}

PinStates DIOOperations::DI_readPort(const Argument& port, const Argument& timeout) {
  const PinSelection all = select(Direction::Input, port, nullptr);
  return states(request(READ_AND_GET_DI, all.port, {all.mask()}, timeout));
}

PinStates DIOOperations::DO_writePins(const Argument& port, const Argument& pin, const Argument& value,
                                      const Argument& timeout) {
  const PinSelection selected = _checkDOPortAndPin(port, pin);
  return write(selected, checkValues(selected.pins, value, "value"), timeout);
}

PinStates DIOOperations::DO_writePort(const Argument& port, const Argument& value, const Argument& timeout) {
  const PinSelection all = select(Direction::Output, port, nullptr);
  const bool each = value.kind() == Argument::Kind::List && value.items().size() == all.pins.size();
  return write(all, each ? checkValues(all.pins, value, "value") : checkStates(value, "value"), timeout);
}

PinStates DIOOperations::DO_togglePins(const Argument& port, const Argument& pin, const Argument& timeout) {
  return toggle(_checkDOPortAndPin(port, pin), timeout);
}

PinStates DIOOperations::DO_togglePort(const Argument& port, const Argument& timeout) {
  return toggle(select(Direction::Output, port, nullptr), timeout);
}

std::vector<PinStates> DIOOperations::DIO_loadStartup(const Argument& port, const Argument& timeout) {
  const Reply reply = request(LOAD_DIO_STARTUP, checkAnyPort(port), {}, timeout);
  return {states(reply, 0), states(reply, 1), states(reply, 2)};
}

int DIOOperations::_DIO_saveStartup(const Argument& port, const Argument& enabled, const Argument& direction,
                                    const Argument& state, const Argument& timeout) {
  const int number = checkAnyPort(port);
  return status(SAVE_DIO_STARTUP, number,
                {checkStates(enabled, "enabled"), checkStates(direction, "direction"), checkStates(state, "state")},
                timeout);
}

int DIOOperations::_DIO_setPortIdle(const Argument& port, const Argument& timeout) {
  return status(SET_SLOT_IDLE, checkAnyPort(port), {}, timeout);
}

int DIOOperations::_DIO_setPortDI(const Argument& port, const Argument& timeout) {
  return status(SET_SLOT_DI, _checkDIPort(port), {}, timeout);
}

int DIOOperations::_DIO_setPortDO(const Argument& port, const Argument& timeout) {
  return status(SET_SLOT_DO, _checkDOPort(port), {}, timeout);
}

int DIOOperations::_setDIOCurrent(const Argument& port, const Argument& mask, const Argument& enabled,
                                  const Argument& direction, const Argument& state, const Argument& timeout) {
  const int number = checkAnyPort(port);
  return status(SET_DIO_CURRENT, number,
                {checkedMask(mask), checkStates(enabled, "enabled"), checkStates(direction, "direction"),
                 checkStates(state, "state")},
                timeout);
}

std::vector<PinStates> DIOOperations::_getDIOCurrent(const Argument& port, const Argument& mask,
                                                     const Argument& timeout) {
  const int number = checkAnyPort(port);
  const Reply reply = request(GET_DIO_CURRENT, number, {checkedMask(mask)}, timeout);
  return {states(reply, 0), states(reply, 1), states(reply, 2)};
}

int DIOOperations::_setDIOState(const Argument& port, const Argument& mask, const Argument& state,
                                const Argument& timeout) {
  const int number = checkAnyPort(port);
  return status(SET_DIO_STATE, number, {checkedMask(mask), checkStates(state, "state")}, timeout);
}

PinStates DIOOperations::_getDIOState(const Argument& port, const Argument& mask, const Argument& timeout) {
  const int number = checkAnyPort(port);
  return states(request(GET_DIO_STATE, number, {checkedMask(mask)}, timeout));
}

int DIOOperations::_toggleDIODirection(const Argument& port, const Argument& mask, const Argument& state,
                                       const Argument& timeout) {
  const int number = checkAnyPort(port);
  return status(TOGGLE_DIO_DIR, number, {checkedMask(mask), checkStates(state, "state")}, timeout, Repeat::Acts);
}

PinStates DIOOperations::_readAndGetDI(const Argument& port, const Argument& mask, const Argument& timeout) {
  const int number = checkAnyPort(port);
  return states(request(READ_AND_GET_DI, number, {checkedMask(mask)}, timeout));
}

PinStates DIOOperations::_setAndWriteDO(const Argument& port, const Argument& mask, const Argument& state,
                                        const Argument& timeout) {
  const int number = checkAnyPort(port);
  return states(request(SET_AND_WRITE_DO, number, {checkedMask(mask), checkStates(state, "state")}, timeout));
}

PinStates DIOOperations::_toggleAndWriteDO(const Argument& port, const Argument& mask, const Argument& timeout) {
  const int number = checkAnyPort(port);
  return states(request(TOGGLE_AND_WRITE_DO, number, {checkedMask(mask)}, timeout, Repeat::Acts));
}

int DIOOperations::_readDI(const Argument& port, const Argument& timeout) {
  return status(READ_DI, checkAnyPort(port), {}, timeout);
}

int DIOOperations::_writeDO(const Argument& port, const Argument& timeout) {
  return status(WRITE_DO, checkAnyPort(port), {}, timeout);
}

}  // namespace qvx
