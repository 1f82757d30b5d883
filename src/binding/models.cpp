#include "models/models.h"
#include "binding/devices.h"
#include "binding/modules.h"

namespace qvx::binding {
namespace {

// One row a product: class and its bases in the order of method resolution.
template <class Class, class... Bases>
void bindModel(py::module_& module, const char* name, const char* doc) {
  py::class_<Class, Bases..., std::shared_ptr<Class>>(module, name, doc, py::dynamic_attr())
      .def(py::init([](bool verbose) { return makeDevice<Class>(verbose); }), py::arg("verbose") = true,
           "__init__(verbose: bool = True) -> None\n\nLive from construction; `verbose` False keeps its messages off "
           "standard output.");
}

template <class Class>
void bindWirelessAnalogInput(py::module_& module, const char* name, const char* doc) {
  bindModel<Class, WifiDevice, SystemModule, SystemAnalogModule, NetworkModule, WifiModule, AIModule,
            SystemModule_async, SystemAnalogModule_async, NetworkModule_async, WifiModule_async, AIModule_async>(
      module, name, doc);
}

}  // namespace

void bindModels(py::module_& module) {
  bindWirelessAnalogInput<SkylogE3A>(
      module, "SkylogE3A", "Skylog-E3-A: 8 channels of 16-bit analog input, +-10 V, up to 10 kHz, over Wi-Fi.");
  bindWirelessAnalogInput<SkylogF4A>(
      module, "SkylogF4A", "Skylog-F4-A: 8 channels of 16-bit analog input, +-10 V, up to 20 kHz, over Wi-Fi.");
  bindModel<FeroxA, ETHDevice, SystemModule, NetworkModule, AIModule, SystemModule_async, NetworkModule_async,
            AIModule_async>(module, "FeroxA", "Ferox-A: 8 channels of 16-bit analog input, +-10 V, over Ethernet.");
}

}  // namespace qvx::binding
