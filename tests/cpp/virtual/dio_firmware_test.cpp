#include "bench_fixture.h"

#include "core/constants.h"

namespace qvx::bench {
namespace {

DeviceSetup model(const char* name, const std::vector<const char*>& wires = {}) {
  DeviceSetup setup = feroxA();
  setup.model = findModel(name);
  for (const char* wire : wires) {
    setup.wires.push_back(Wire::parse(wire));
  }
  return setup;
}

class DioFirmwareTest : public BenchTest {
 protected:
  explicit DioFirmwareTest(const DeviceSetup& setup = model("CordlogF1D", {"do0=di1", "do0.7=di2.7"}))
      : BenchTest(setup) {}
};

class FeroxDTest : public DioFirmwareTest {
 protected:
  FeroxDTest() : DioFirmwareTest(model("FeroxD", {"do0=di1"})) {}
};

// SET_DIO_CURRENT: port, mask, enabled, direction, state
TEST_F(DioFirmwareTest, PinsOpenCloseAndConflict) {
  play({
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x11, 0x00, 0x11, 0x11}},
      {SET_DIO_CURRENT, {2, 0, 0x43, 0, 0x43, 0, 0x02, 0, 0x02}, {2, 0}},
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x12, 0x00, 0x11, 0x32}},
      {GET_DIO_CURRENT, {2, 0, 0xCF}, {2, 0, 0, 0x43, 0, 0x02, 0, 0x02}},
      {GET_DIO_CURRENT, {2, 0, 0x01}, {2, 0, 0, 0x01, 0, 0, 0, 0}},
      {SET_DIO_CURRENT, {2, 0, 0x03, 0, 0x03, 0, 0x01, 0, 0}, {2, 0}},  // the other way round
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x12, 0x00, 0x11, 0x23}},
      {TOGGLE_DIO_DIR, {2, 0, 0x03, 0, 0x02}, {2, 0}},
      {GET_DIO_CURRENT, {2, 0, 0x03}, {2, 0, 0, 0x03, 0, 0x02, 0, 0x02}},
      {TOGGLE_DIO_DIR, {2, 0, 0x0C, 0, 0}, {2, 10}},                  // not open
      {SET_DIO_CURRENT, {2, 0, 0x10, 0, 0x10, 0, 0, 0, 0}, {2, 11}},  // not led out
      {SET_DIO_CURRENT, {9, 0, 0x01, 0, 0x01, 0, 0, 0, 0}, {9, 11}},
      {SET_DIO_CURRENT, {2, 0, 0x41, 0, 0x01, 0, 0, 0, 0}, {2, 0}},  // pin 6 is not enabled any more
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x11, 0x00, 0x11, 0x32}},
      {SET_SLOT_DI, {2}, {2, 0}},
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x22, 0x00, 0x22, 0x22}},
      {SET_SLOT_DO, {2}, {2, 0}},
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x33, 0x00, 0x33, 0x33}},
      {SET_SLOT_IDLE, {2}, {2, 0}},
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x11, 0x00, 0x11, 0x11}},
      {SET_SLOT_IDLE, {7}, {7, 11}},
      {SET_DIO_CURRENT, {2, 0, 0x41}, {2, 80}},
  });
}

TEST_F(DioFirmwareTest, StartupIsInEffectFromTheNextRestartOn) {
  play({
      {SAVE_DIO_STARTUP, {2, 0, 0x83, 0, 0x02, 0, 0x02}, {2, 0}},
      {SAVE_DIO_STARTUP, {2, 0, 0x10, 0, 0, 0, 0}, {2, 11}},
      {SET_SLOT_DO, {0}, {0, 0}},
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x11, 0x00, 0x11, 0x11}},
      {REBOOT, {}, {0}},
  });
  device_.rebooted();
  play({
      {GET_PIN_MODE_OF_SLOT, {2}, {0, 6, 0x21, 0x00, 0x11, 0x32}},
      {GET_PIN_MODE_OF_SLOT, {0}, {0, 8, 0x11, 0x11, 0x11, 0x11}},
      {RESET_FACTORY, {}, {0}},
      {LOAD_DIO_STARTUP, {2}, {2, 0, 0, 0, 0, 0, 0, 0}},
  });
}

TEST_F(FeroxDTest, DirectionsAreFixed) {
  play({
      {GET_PIN_MODE_OF_SLOT, {0}, {0, 8, 0x33, 0x33, 0x33, 0x33}},
      {GET_PIN_MODE_OF_SLOT, {1}, {0, 8, 0x22, 0x22, 0x22, 0x22}},
      {SET_AND_WRITE_DO, {0, 0, 0xFF, 0, 0xA5}, {0, 0, 0, 0xA5}},
      {READ_AND_GET_DI, {1, 0, 0xFF}, {1, 0, 0, 0xA5}},
      {SET_AND_WRITE_DO, {1, 0, 0xFF, 0, 0xA5}, {1, 10}},
      {SET_DIO_CURRENT, {1, 0, 0x01, 0, 0x01, 0, 0x01, 0, 0}, {1, 50}},
      {SET_DIO_CURRENT, {1, 0, 0x01, 0, 0x01, 0, 0, 0, 0}, {1, 0}},
      {TOGGLE_DIO_DIR, {0, 0, 0x01, 0, 0}, {0, 50}},
      {SET_SLOT_IDLE, {0}, {0, 50}},
      {SET_SLOT_DI, {0}, {0, 50}},
      {SET_SLOT_DO, {0}, {0, 0}},
      {SET_DIO_CURRENT, {0, 0, 0x80, 0, 0, 0, 0, 0, 0}, {0, 0}},  // closing drives 0 and changes no direction
      {READ_AND_GET_DI, {1, 0, 0xFF}, {1, 0, 0, 0x25}},
      {GET_PIN_MODE_OF_SLOT, {0}, {0, 8, 0x33, 0x33, 0x33, 0x33}},
  });
}

}  // namespace
}  // namespace qvx::bench
