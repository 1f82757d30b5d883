#include "core/convert.h"
#include "modules/digital/dio.h"

#include <algorithm>
#include <numeric>

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

std::vector<int> DIOBased::_getPinIndexInList(const Argument& pin) {
  std::vector<int> pins;
  if (pin.kind() != Argument::Kind::List) {
    return {checkedRange(pin, "pin", 0, kHighestPin, ErrorId::PinsNotExistError)};
  }
  for (const Argument& item : pin.items()) {
    pins.push_back(checkedRange(item, "pin", 0, kHighestPin, ErrorId::PinsNotExistError));
  }
  if (pins.empty()) {
    fail(ErrorId::PinsNotExistError, "pin names at least one pin.");
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
  const int number = checkedRange(port, "port", 0, 255, portError(direction));
  const auto found = ports.find(number);
  if (found == ports.end()) {
    fail(portError(direction));
  }
  const auto& there = found->second;
  PinSelection selected{number, pin != nullptr ? _getPinIndexInList(*pin) : there};
  for (const int chosen : selected.pins) {
    if (std::find(there.begin(), there.end(), chosen) == there.end()) {
      fail(ErrorId::PinsNotExistError);
    }
  }
  return selected;
}

int DIOBased::checkAnyPort(const Argument& port) const {
  const int number = checkedRange(port, "port", 0, 255, ErrorId::DIPortNotAvaliableError);
  if (!di_dict.contains(number) && !do_dict.contains(number)) {
    fail(ErrorId::DIPortNotAvaliableError);
  }
  return number;
}

PinSelection DIOBased::selectAll(const Argument& port) const {
  PinSelection selected{checkAnyPort(port), {}};
  for (const PinMap* ports : {&di_dict, &do_dict}) {
    if (const auto found = ports->find(selected.port); found != ports->end()) {
      selected.pins.insert(selected.pins.end(), found->second.begin(), found->second.end());
    }
  }
  return selected;
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
  if (value.kind() != Argument::Kind::List) {
    fail(ErrorId::InputTypeNotCorrectError, std::string(what) + " takes a list of ints, not " + value.typeName());
  }
  std::vector<int> bits;
  for (const Argument& item : value.items()) {
    if (item.typeName() != value.items().front().typeName()) {
      fail(ErrorId::InputTypeNotConsistentError);
    }
    bits.push_back(static_cast<int>(std::clamp<std::int64_t>(checkedInt(item, what), 0, 1)));
  }
  if (bits.size() != pins.size()) {
    fail(ErrorId::PinsValueNotDefineError);
  }
  return static_cast<std::uint16_t>(convertIndexAndBinaryListsToInt(pins, bits));
}

}  // namespace qvx
