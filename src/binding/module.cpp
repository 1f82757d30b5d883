// The module's initialiser: what is registered, in order of dependence.
#include "binding/bindings.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/modules.h"
#include "binding/operations.h"
#include "binding/pools.h"
#include "binding/transports.h"

#include <algorithm>

namespace {

// What pybind11 would do without: call methods on memory that is no C++ object yet, because __init__ has not run; end
// the process when an object is pickled by protocol 0 or 1, for which Python makes an instance of pybind11's own base
// class.
void guardInstances(const py::module_& module) {
  const auto reduce = [](const py::object& self, int protocol) {
    return py::handle(reinterpret_cast<PyObject*>(&PyBaseObject_Type))
        .attr("__reduce_ex__")(self, std::max(protocol, 2));
  };
  for (const auto& [name, value] : module.attr("__dict__").cast<py::dict>()) {
    auto* type = reinterpret_cast<PyTypeObject*>(value.ptr());
    if (auto* info = PyType_Check(value.ptr()) != 0 ? py::detail::get_type_info(type) : nullptr) {
      info->operator_new = [](std::size_t) -> void* {
        throw py::type_error("this object has not been initialised: call super().__init__() first");
      };
      value.attr("__reduce_ex__") = py::cpp_function(reduce, py::name("__reduce_ex__"), py::is_method(value));
    }
  }
}

}  // namespace

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
  bindUart(module);
  bindCan(module);
  bindDigital(module);
  bindI2C(module);
  bindSPI(module);
  bindModels(module);
  guardInstances(module);
  publishSignatures(module);
}
