// The bench with serial ports and a CAN bus.
#pragma once

#include "modules/bus/can.h"
#include "modules/bus/uart.h"
#include "tests/cpp/modules/bench.h"

namespace qvx::test {

struct BusBench : Bench {
  UARTOperations uart{Link(device), {{{1, {{2, 0}, {2, 1}}}, {2, {{2, 2}, {3, 3}}}}}};
  CANOperations can{Link(device), {{{1, {{1, 4}, {1, 5}}}}}};

  ~BusBench() { device.close(); }

  // The frames that `call` sent, in hexadecimal.
  template <class Call>
  std::vector<std::string> framesOf(Call call) {
    transport->sent();
    call();
    return transport->sent();
  }
};

#define QVX_BUS_CALL(call) [](Bench& b) { return show(static_cast<BusBench&>(b).call); }
#define QVX_BUS_REFUSAL(call) [](Bench& b) { static_cast<BusBench&>(b).call; }

// The reply to a query of pin modes: status, 8 pins, their modes as hexadecimal digits, pin 7 first.
inline Bytes pinModes(std::uint32_t modes) {
  return payload(u8(0), u8(8), u32(modes));
}

}  // namespace qvx::test
