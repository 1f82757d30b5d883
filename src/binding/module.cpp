// The module's initialiser: what is registered, in order of dependence.
#include "binding/bindings.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/modules.h"
#include "binding/pools.h"
#include "binding/transports.h"

PYBIND11_MODULE(pyqvx, module) {
  using namespace qvx::binding;
  py::options options;
  options.disable_function_signatures();
  module.doc() = "QVX Python driver: construct the class named after the device, connect, measure.";
  bindErrors(module);
  installHost(module);
  bindConstants(module);
  bindConvert(module);
  bindMasks(module);
  bindCoroutine(module);
  bindPools(module);
  bindTransports(module);
  bindEngine(module);
  bindDevices(module);
  bindUsb(module);
  bindSerial(module);
  bindWifi(module);
  bindSystem(module);
  bindNetwork(module);
  bindDiscovery(module);
  bindAnalog(module);
  bindAnalogOutput(module);
  bindDigital(module);
  bindI2C(module);
  bindSPI(module);
  bindModels(module);
}
