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

// In place of pybind11's own, which ends the process when it is to make an instance of its base class, as Python does
// to pickle an object by protocol 0 or 1.
PyObject* newInstance(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
  if (py::detail::all_type_info(type).empty()) {
    PyErr_Format(PyExc_TypeError, "cannot create '%.200s' instances", type->tp_name);
    return nullptr;
  }
  return py::detail::make_new_instance(type);
}

// What pybind11 would do without: call methods on memory that is no C++ object yet, because __init__ has not run.
// Objects are pickled by protocol 2 at least.
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

void fill(py::module_& module) {
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

}  // namespace

// PYBIND11_MODULE's own, but for sub-interpreters, which pybind11 cannot tell from the main one and waits in for ever.
// So Python must come here for each import, and not make copies of the module by itself.
extern "C" PYBIND11_EXPORT PyObject* PyInit_pyqvx() {
  if (PyInterpreterState_Get() != PyInterpreterState_Main()) {
    PyErr_SetString(PyExc_ImportError, "pyqvx works in the main interpreter only, not in a sub-interpreter");
    return nullptr;
  }
  PYBIND11_CHECK_PYTHON_VERSION
  try {
    static PyObject* imported = nullptr;
    if (imported == nullptr) {
      // pybind11's data are this module's own (CMakeLists.txt), so this changes no other's types.
      reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base)->tp_new = &newInstance;
      static py::module_::module_def definition;
      auto module = py::module_::create_extension_module("pyqvx", nullptr, &definition);
      definition.m_size = 0;
      fill(module);
      imported = module.release().ptr();
    }
    return py::handle(imported).inc_ref().ptr();
  }
  PYBIND11_CATCH_INIT_EXCEPTIONS
}
