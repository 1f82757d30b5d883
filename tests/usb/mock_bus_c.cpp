// The mock bus as C functions, for Python's ctypes. Nothing checks its arguments.
#include "tests/usb/mock_bus.h"

#define QVX_EXPORT extern "C" __attribute__((visibility("default")))

using qvx::test::MockBus;
using qvx::test::MockDevice;

// nullptr where umockdev is not preloaded.
QVX_EXPORT MockBus* qvx_mock_bus() {
  try {
    return new MockBus();
  } catch (const std::exception&) {
    return nullptr;
  }
}

QVX_EXPORT void qvx_mock_end(MockBus* bus) {
  delete bus;
}

// `options` are those of qvx-virtual, nullptr behind the last. nullptr where they are wrong.
QVX_EXPORT MockDevice* qvx_mock_plug(MockBus* bus, const char* serial, const char* const* options) {
  qvx::test::DeviceSetup setup{.serial = serial, .options = {}};
  while (*options != nullptr) {
    setup.options.emplace_back(*options++);
  }
  try {
    return &bus->plug(setup);
  } catch (const std::exception&) {
    return nullptr;
  }
}

QVX_EXPORT void qvx_mock_send(MockDevice* device, const std::uint8_t* bytes, std::size_t size) {
  device->send({bytes, size});
}

QVX_EXPORT int qvx_mock_claimed(const MockDevice* device) {
  return device->interfacesClaimed();
}
