// What a wireless device measures of itself.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises ReceivePacketTimeoutError, the connection's class, and the class of a firmware status
// other than 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <vector>

namespace qvx {

// A product gives this module nothing.
struct SystemAnalogConfiguration {};

class SystemAnalogOperations {
 public:
  SystemAnalogOperations(Link link, SystemAnalogConfiguration /*unused*/) : link_(link) {}
  virtual ~SystemAnalogOperations() = default;

  // The charge that is left, 0 to 100 per cent.
  int Wifi_readBattery(const Argument& timeout);
  // Acceleration along x, y and z in m/s^2; at rest and level [0, 0, 9.81].
  std::vector<double> _Wifi_readAcceleration(const Argument& timeout);
  // Temperature inside the case, in degrees Celsius.
  double _Wifi_readThermometer(const Argument& timeout);

 private:
  Reply request(int cmd, const Argument& timeout) const;

  Link link_;
};

using SystemAnalogModule = BlockingFace<SystemAnalogOperations>;
using SystemAnalogModule_async = CoroutineFace<SystemAnalogOperations>;

}  // namespace qvx
