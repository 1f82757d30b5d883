#include "modules/analog/ao.h"

#include "core/constants.h"
#include "modules/system/system.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string>

namespace qvx {
namespace {

// Values that one SET_AO_PUSH_TO_BUFFER carries.
constexpr std::size_t kMostValues = 13;

// A number that binary32 can hold.
double checkedReal(const Argument& value, std::string_view what) {
  const double number = checkedNumber(value, what);
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (number < -kLargest || number > kLargest) {
    refuse(ErrorId::InputDataNotInRangeError, what, value.show() + " is not finite as a real of 32 bits");
  }
  return number;
}

Bytes realFields(std::span<const double> values) {
  Bytes fields;
  for (const double value : values) {
    appendField(fields, f32(value));
  }
  return fields;
}

}  // namespace

AOBased::AOBased(Link link, const AOConfiguration& configuration)
    : ao_dict(configuration.ports),
      ao_volt_min(configuration.volt_min),
      ao_volt_max(configuration.volt_max),
      ao_channel(configuration.channels),
      ao_rate(configuration.max_rate),
      link_(link) {}

std::vector<int> AOBased::AO_getPort() {
  std::vector<int> ports;
  for (const auto& [port, pins] : ao_dict) {
    ports.push_back(port);
  }
  return ports;
}

std::vector<int> AOBased::_AO_getPinMapPort(const Argument& port) {
  return ao_dict.at(_checkAOPort(port));
}

int AOBased::_checkAOPort(const Argument& port) const {
  return checkedKey(port, "port", ao_dict, ErrorId::AOPortNotAvaliableError);
}

int AOBased::_checkAOChannel(const Argument& channel) {
  return checkedRange(channel, "channel", 0, 7, ErrorId::AOChannelNotAvaliableError);
}

int AOBased::_checkAOMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 2, ErrorId::AOModeNotVaildError);
}

int AOBased::_checkAOForm(const Argument& form) {
  return checkedRange(form, "form", 1, 3, ErrorId::AOFormNotAvaliableError);
}

int AOBased::_checkAOSpan(const Argument& span) {
  return checkedRange(span, "span", 0, 4, ErrorId::AOSpanNotVaildError);
}

int AOBased::_ckeckAOSamplingRate(const Argument& rate) const {
  return checkedRange(rate, "sampling_rate", 1, ao_rate, ErrorId::AORateNotVaildError);
}

bool AOBased::_checkAONumOfValues(const Argument& count) {
  return checkedInt(count, "num_of_val") <= static_cast<std::int64_t>(kMostValues);
}

void AOBased::_checkAOPinState(const Argument& port, const Argument& timeout) {
  const int number = _checkAOPort(port);
  checkPinsAre(link_, "Idle", number, checkedTimeout(timeout), ErrorId::AOPortNotAvaliableError);
}

int AOBased::portOfSlot(const Argument& slot) const {
  if (link_.product() == ProductId::LUMA) {
    return _checkAOPort(checkedRange(slot, "slot", 1, 256, ErrorId::AOPortNotAvaliableError) - 1);
  }
  return _checkAOPort(slot);
}

double AOBased::checkedVolts(const Argument& value, std::string_view what) const {
  const double volts = checkedNumber(value, what);
  if (volts < ao_volt_min || volts > ao_volt_max) {
    refuse(ErrorId::InputDataNotInRangeError, what,
           value.show() + " is not in " + Argument(ao_volt_min).show() + ".." + Argument(ao_volt_max).show() + " V");
  }
  return volts;
}

std::vector<double> AOBased::checkedVoltsList(const Argument& values, std::string_view what) const {
  std::vector<double> volts;
  for (const Argument& value : checkedList(values, what)) {
    volts.push_back(checkedVolts(value, std::string(what) + "[" + std::to_string(volts.size()) + "]"));
  }
  return volts;
}

Reply AOBased::request(int cmd, const Bytes& payload, const Argument& timeout, Repeat repeat) const {
  return link_.request(cmd, payload, checkedTimeout(timeout), repeat);
}

int AOBased::setting(int cmd, int port, const Bytes& fields, const Argument& timeout, Repeat repeat) const {
  return request(cmd, payload(u8(port), fields), timeout, repeat).status(1);
}

Reply AOBased::reading(int cmd, int port, const Argument& timeout) const {
  Reply reply = request(cmd, payload(u8(port)), timeout);
  reply.status(1);
  return reply;
}

bool AOOperations::isAlwaysOpen() const {
  return link_.product() == ProductId::FeroxO || link_.product() == ProductId::LUMA;
}

int AOOperations::AO_open(const Argument& port, const Argument& timeout) {
  const int number = _checkAOPort(port);
  checkedTimeout(timeout);
  if (isAlwaysOpen()) {
    return 0;
  }
  // The outputs of these share their pins with nothing.
  if (link_.product() != ProductId::SkylogE3AO && link_.product() != ProductId::SkylogE3AOD) {
    _checkAOPinState(port, timeout);
  }
  return setting(OPEN_AO, number, {}, timeout);
}

int AOOperations::AO_close(const Argument& port, const Argument& timeout) {
  const int number = _checkAOPort(port);
  checkedTimeout(timeout);
  return isAlwaysOpen() ? 0 : setting(CLOSE_AO, number, {}, timeout);
}

int AOOperations::AO_writeOneChannel(const Argument& port, const Argument& channel, const Argument& value,
                                     const Argument& timeout) {
  const int number = portOfSlot(port);
  const int chosen = _checkAOChannel(channel);
  const double volts = checkedVolts(value, "value");
  return setting(WRITE_AO_BY_CHANNEL, number, payload(u8(chosen), f32(volts)), timeout);
}

int AOOperations::AO_writeAllChannels(const Argument& port, const Argument& value_list, const Argument& timeout) {
  const int number = portOfSlot(port);
  std::vector<double> volts = checkedVoltsList(value_list, "value_list");
  const auto channels = static_cast<std::size_t>(ao_channel);
  if (volts.size() > channels) {
    refuse(ErrorId::PinsValueNotDefineError, "value_list",
           std::to_string(volts.size()) + " values for " + std::to_string(channels) + " channels");
  }
  volts.resize(channels);
  return setting(WRITE_AO_SYNCHRONIZED, number, realFields(volts), timeout);
}

// reply: port, status, mode u8, rate f32
AOSettings AOStreamingOperations::AO_openStreaming(const Argument& port, const Argument& timeout) {
  const Reply reply = reading(OPEN_AO_STREAMING, _checkAOPort(port), timeout);
  return {reply.get<std::uint8_t>(2), static_cast<double>(reply.get<float>(3))};
}

int AOStreamingOperations::AO_startStreaming(const Argument& port) {
  link_.send(START_AO_STREAMING, payload(u8(_checkAOPort(port))));
  return 0;
}

int AOStreamingOperations::AO_closeStreaming(const Argument& port, const Argument& timeout) {
  return setting(CLOSE_AO_STREAMING, _checkAOPort(port), {}, timeout);
}

int AOStreamingOperations::_AO_stopStreaming(const Argument& port, const Argument& timeout) {
  return setting(STOP_AO_STREAMING, _checkAOPort(port), {}, timeout);
}

int AOStreamingOperations::AO_setMode(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkAOPort(port);
  return setting(SET_AO_MODE, number, payload(u8(_checkAOMode(mode))), timeout);
}

int AOStreamingOperations::AO_setSamplingRate(const Argument& port, const Argument& sampling_rate,
                                              const Argument& timeout) {
  const int number = _checkAOPort(port);
  return setting(SET_AO_SAMPLING_RATE, number, payload(f32(_ckeckAOSamplingRate(sampling_rate))), timeout);
}

int AOStreamingOperations::AO_setNumSamples(const Argument& port, const Argument& num_samples,
                                            const Argument& timeout) {
  const int number = _checkAOPort(port);
  return setting(SET_AO_NUM_SAMPLES, number, payload(u32(checkedU32(num_samples, "num_samples"))), timeout);
}

int AOStreamingOperations::AO_setEnableChannels(const Argument& port, const Argument& channel_list,
                                                const Argument& timeout) {
  const int number = portOfSlot(port);
  int mask = 0;
  for (const Argument& channel : checkedList(channel_list, "channel_list")) {
    mask |= 1 << _checkAOChannel(channel);
  }
  return setting(SET_AO_ENABLED_CHANNELS, number, payload(u8(mask)), timeout);
}

int AOStreamingOperations::AO_setForm(const Argument& port, const Argument& channel, const Argument& form,
                                      const Argument& timeout) {
  const int number = _checkAOPort(port);
  const int chosen = _checkAOChannel(channel);
  return setting(SET_AO_FORM, number, payload(u8(chosen), u8(_checkAOForm(form))), timeout);
}

int AOStreamingOperations::AO_setFormParam(const Argument& port, const Argument& channel, const Argument& amplitude,
                                           const Argument& offset, const Argument& frequency, const Argument& phase,
                                           const Argument& duty_cycle, const Argument& timeout) {
  const int number = _checkAOPort(port);
  const int chosen = _checkAOChannel(channel);
  const std::array parameters{checkedReal(amplitude, "amplitude"), checkedReal(offset, "offset"),
                              checkedReal(frequency, "frequency"), checkedReal(phase, "phase"),
                              checkedReal(duty_cycle, "duty_cycle")};
  return setting(SET_AO_FORM_PARAM, number, payload(u8(chosen), realFields(parameters)), timeout);
}

std::vector<double> AOStreamingOperations::AO_getValues(const Argument& port, const Argument& timeout) {
  const Reply reply = reading(GET_AO_VALUES, _checkAOPort(port), timeout);
  std::vector<double> volts;
  for (const std::uint32_t bits : reply.u32List(2)) {
    volts.push_back(static_cast<double>(std::bit_cast<float>(bits)));
  }
  return volts;
}

int AOStreamingOperations::_AO_setSpan(const Argument& port, const Argument& span, const Argument& timeout) {
  const int number = _checkAOPort(port);
  return setting(SET_AO_SPAN, number, payload(u8(_checkAOSpan(span))), timeout);
}

int AOStreamingOperations::_AO_getMode(const Argument& port, const Argument& timeout) {
  return reading(GET_AO_MODE, _checkAOPort(port), timeout).get<std::uint8_t>(2);
}

int AOStreamingOperations::_AO_getState(const Argument& port, const Argument& timeout) {
  return reading(GET_AO_STATE, _checkAOPort(port), timeout).get<std::uint8_t>(2);
}

std::vector<std::uint32_t> AOStreamingOperations::_AO_getCounters(const Argument& port, const Argument& timeout) {
  return reading(GET_AO_COUNTERS, _checkAOPort(port), timeout).u32List(2);
}

std::uint32_t AOStreamingOperations::_AO_initialBuffer(const Argument& port, const Argument& timeout) {
  return reading(INIT_AO_BUFFER, _checkAOPort(port), timeout).get<std::uint32_t>(2);
}

int AOStreamingOperations::_AO_pushToBuffer(const Argument& port, const Argument& num_of_val,
                                            const Argument& value_list, const Argument& timeout) {
  const int number = portOfSlot(port);
  const auto count = checkedInt(num_of_val, "num_of_val");
  const std::vector<double> volts = checkedVoltsList(value_list, "value_list");
  if (count != static_cast<std::int64_t>(volts.size())) {
    refuse(ErrorId::PinsValueNotDefineError, "num_of_val",
           num_of_val.show() + " for " + std::to_string(volts.size()) + " values");
  }
  std::span<const double> rest = volts;
  do {
    const auto part = rest.first(std::min(rest.size(), kMostValues));
    setting(SET_AO_PUSH_TO_BUFFER, number, payload(u8(part.size()), realFields(part)), timeout, Repeat::Acts);
    rest = rest.subspan(part.size());
  } while (!rest.empty());
  return 0;
}

}  // namespace qvx
