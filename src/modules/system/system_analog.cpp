#include "modules/system/system_analog.h"

#include "core/constants.h"

namespace qvx {

Reply SystemAnalogOperations::request(int cmd, const Argument& timeout) const {
  Reply reply = link_.request(cmd, {}, checkedTimeout(timeout));
  reply.status(0);
  return reply;
}

// reply: status, per cent u8
int SystemAnalogOperations::Wifi_readBattery(const Argument& timeout) {
  return request(GET_BATTERY, timeout).get<std::uint8_t>(1);
}

// reply: status, x f32, y f32, z f32
std::vector<double> SystemAnalogOperations::_Wifi_readAcceleration(const Argument& timeout) {
  const Reply reply = request(READ_ACCELERATION, timeout);
  return {reply.get<float>(1), reply.get<float>(5), reply.get<float>(9)};
}

// reply: status, degrees f32
double SystemAnalogOperations::_Wifi_readThermometer(const Argument& timeout) {
  return request(GET_THERMOMETER, timeout).get<float>(1);
}

}  // namespace qvx
