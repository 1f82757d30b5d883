#include "core/convert.h"
#include "modules/digital/dio.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace qvx {
namespace {

constexpr int kHighestPin = 15;

}  // namespace

std::uint16_t PinSelection::mask() const {
  return static_cast<std::uint16_t>(convertIndexListToInt(pins));
}

DIOBased::DIOBased(Link link, DIOConfiguration configuration)
    : di_dict(std::move(configuration.inputs)),
      do_dict(std::move(configuration.outputs)),
      dio_num_pins_per_port(configuration.pins_per_port),
      link_(link) {}

std::vector<Argument> DIOBased::checkPinType(const Argument& pin) {
  std::vector<Argument> each;
  if (pin.kind() != Argument::Kind::List) {
    each.push_back(pin);
  }
  for (const Argument& item : pin.items()) {
    each.push_back(item);
  }
  for (const Argument& item : each) {
    checkedInt(item, "pin");
  }
  return each;
}

std::vector<int> DIOBased::_getPinIndexInList(const Argument& pin) {
  std::vector<int> pins;
  for (const Argument& item : checkPinType(pin)) {
    pins.push_back(checkedRange(item, "pin", 0, kHighestPin, ErrorId::PinsNotExistError));
  }
  if (pins.empty()) {
    refuse(ErrorId::PinsNotExistError, "pin", "at least one pin is needed");
  }
  return pins;
}

std::uint16_t DIOBased::_getPinIndexInInt(const Argument& pin) {
  return PinSelection{0, _getPinIndexInList(pin)}.mask();
}

ErrorId DIOBased::portError(Direction direction) {
  return direction == Direction::Input ? ErrorId::DIPortNotAvaliableError : ErrorId::DOPortNotAvaliableError;
}

PinSelection DIOBased::select(Direction direction, const Argument& port, const Argument* pin) const {
  const PinMap& ports = direction == Direction::Input ? di_dict : do_dict;
  const int number = checkedKey(port, "port", ports, portError(direction));
  const std::vector<int>& there = ports.at(number);
  return {number, pin != nullptr ? pinsAmong(there, *pin) : there};
}

std::vector<int> DIOBased::pinsAmong(const std::vector<int>& there, const Argument& pin) {
  std::vector<int> pins = _getPinIndexInList(pin);
  for (const int chosen : pins) {
    if (std::find(there.begin(), there.end(), chosen) == there.end()) {
      refuseChoice(ErrorId::PinsNotExistError, chosen, "pin", there);
    }
  }
  return pins;
}

int DIOBased::checkAnyPort(const Argument& port) const {
  return selectAll(port).port;
}

PinSelection DIOBased::selectAll(const Argument& port) const {
  PinMap ports = di_dict;
  for (const auto& [number, outputs] : do_dict) {
    const std::vector<int> inputs = std::exchange(ports[number], {});
    std::set_union(inputs.begin(), inputs.end(), outputs.begin(), outputs.end(), std::back_inserter(ports[number]));
  }
  const int number = checkedKey(port, "port", ports, ErrorId::DIPortNotAvaliableError);
  return {number, ports.at(number)};
}

std::uint16_t DIOBased::checkStates(const Argument& states, std::string_view what) const {
  if (states.kind() != Argument::Kind::List) {
    return static_cast<std::uint16_t>(checkedRange(states, what, 0, 0xFFFF));
  }
  std::vector<int> pins(static_cast<std::size_t>(dio_num_pins_per_port));
  std::iota(pins.begin(), pins.end(), 0);
  return checkValues(pins, states, what);
}

std::uint16_t DIOBased::checkValues(const std::vector<int>& pins, const Argument& value, std::string_view what) {
  const auto items = checkedList(value, what);
  for (const Argument& item : items) {
    if (item.typeName() != items[0].typeName()) {
      refuse(ErrorId::InputTypeNotConsistentError, what,
             items[0].typeName() + " and " + item.typeName() + " in one list");
    }
  }
  std::vector<int> bits;
  bits.reserve(items.size());
  for (const Argument& item : items) {
    bits.push_back(static_cast<int>(std::clamp<std::int64_t>(checkedInt(item, what), 0, 1)));
  }
  if (bits.size() != pins.size()) {
    refuse(ErrorId::PinsValueNotDefineError, what,
           std::to_string(bits.size()) + " values for " + std::to_string(pins.size()) + " pins");
  }
  return static_cast<std::uint16_t>(convertIndexAndBinaryListsToInt(pins, bits));
}

}  // namespace qvx
