#include "models/models.h"
#include "binding/devices.h"
#include "binding/modules.h"

namespace qvx::binding {
namespace {

template <class Class>
struct Binder;

// The bases in the order of method resolution: the handle, the blocking modules, their coroutines.
template <ProductId Product, class Handle, class... Operations>
struct Binder<Model<Product, Handle, Operations...>> {
  using Class = Model<Product, Handle, Operations...>;
  using PythonClass =
      py::class_<Class, Handle, BlockingFace<Operations>..., CoroutineFace<Operations>..., std::shared_ptr<Class>>;

  static void bind(py::module_& module, const char* doc) {
    PythonClass(module, productName(Product), doc, py::dynamic_attr(), py::custom_type_setup(&DeviceType<Class>::setUp))
        .def(py::init([](bool verbose) { return makeDevice<Class>(verbose); }), py::arg("verbose") = true,
             "__init__(verbose: bool = True) -> None\n\nLive from construction; `verbose` False keeps its messages off "
             "standard output.");
  }
};

}  // namespace

void bindModels(py::module_& module) {
  Binder<SkylogE3A>::bind(module, "Skylog-E3-A: 8 channels of 16-bit analog input, +-10 V, up to 10 kHz, over Wi-Fi.");
  Binder<SkylogE3AH>::bind(
      module, "Skylog-E3-AH: 8 channels of 16-bit analog input, +-10 V, up to 10 kHz, and attitude, over Wi-Fi.");
  Binder<SkylogE3AO>::bind(module, "Skylog-E3-AO: 8 channels of analog output, +-10 V, over Wi-Fi.");
  Binder<SkylogE3AOD>::bind(module,
                            "Skylog-E3-AOD: 8 channels of 16-bit analog input, up to 10 kHz, 4 of analog output, "
                            "+-10 V, 8 digital outputs (port 1) and 8 inputs (port 2), over Wi-Fi.");
  Binder<SkylogF4A>::bind(module, "Skylog-F4-A: 8 channels of 16-bit analog input, +-10 V, up to 20 kHz, over Wi-Fi.");
  Binder<FeroxA>::bind(module, "Ferox-A: 8 channels of 16-bit analog input, +-10 V, over Ethernet.");
  Binder<FeroxA2>::bind(module, "Ferox-A2: 8 channels of 24-bit analog input, +-10 V, up to 10 kHz, over Ethernet.");
  Binder<FeroxI>::bind(module, "Ferox-I: 24-bit analog input, +-25 or +-50 V, on demand, over Ethernet.");
  Binder<FeroxIA>::bind(module, "Ferox-IA: 24-bit analog input, +-25 or +-50 V, on demand, over Ethernet.");
  Binder<FeroxO>::bind(module,
                       "Ferox-O: 8 channels of analog output with generation of waveforms, +-10 V, over Ethernet.");
  Binder<FeroxD>::bind(module, "Ferox-D: 8 digital outputs (port 0) and 8 digital inputs (port 1), over Ethernet.");
  Binder<FeroxEXD>::bind(module, "Ferox-EX-D: 32 digital lines in 4 ports, input or output by choice, over Ethernet.");
  Binder<CordlogF1D>::bind(module, "Cordlog-F1-D: 26 digital lines in 4 ports, input or output by choice, over USB.");
  Binder<CordlogF1AD>::bind(module,
                            "Cordlog-F1-AD: a Cordlog-F1-D with 8 channels of 16-bit analog input, +-10 V, over USB.");
  Binder<CordlogF1TD>::bind(module, "Cordlog-F1-TD: a Cordlog-F1-D with thermocouple inputs, over USB.");
  Binder<CordlogF1CD>::bind(module, "Cordlog-F1-CD: a Cordlog-F1-D with a CAN bus, over USB.");
  Binder<CordlogF1RD>::bind(module, "Cordlog-F1-RD: a Cordlog-F1-D with resistance thermometer inputs, over USB.");
  Binder<CordlogF1DSNK>::bind(module, "Cordlog-F1-D-SNK: digital lines with current-sinking outputs, over USB.");
  Binder<CordlogF1AOD>::bind(module,
                             "Cordlog-F1-AOD: digital lines, 8 channels of 16-bit analog input and 4 of analog output "
                             "with generation of waveforms, +-10 V, over USB.");
}

}  // namespace qvx::binding
