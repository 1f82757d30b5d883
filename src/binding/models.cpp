#include "models/models.h"
#include "binding/devices.h"
#include "binding/modules.h"

namespace qvx::binding {
namespace {

// One row a product: class, its bases in the order of method resolution, identity.
template <class Class, class... Bases>
void bindModel(py::module_& module, const char* name, ProductId product, const char* doc) {
  py::class_<Class, Bases..., std::shared_ptr<Class>>(module, name, doc)
      .def(py::init([product](bool verbose) { return makeDevice<Class>(product, verbose); }), py::arg("verbose") = true,
           "__init__(verbose: bool = True) -> None\n\nLive from construction; `verbose` False keeps its messages off "
           "standard output.");
}

}  // namespace

void bindModels(py::module_& module) {
  bindModel<FeroxA, ETHDevice, SystemModule, AIModule, SystemModule_async, AIModule_async>(
      module, "FeroxA", ProductId::FeroxA, "Ferox-A: 8 channels of 16-bit analog input, +-10 V, over Ethernet.");
}

}  // namespace qvx::binding
