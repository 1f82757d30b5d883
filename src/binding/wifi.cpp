// The handle of the Wi-Fi products.
#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/operations.h"
#include "binding/transports.h"
#include "protocol/wifi_device.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

constexpr const char* kConnect = "ip_addr: str, port: int = 1336, verbose: bool | None = None, cmd_port: int = 7";

}  // namespace

void bindWifi(py::module_& module) {
  py::class_<WifiDevice, NetworkDevice, std::shared_ptr<WifiDevice>> cls(
      module, "WifiDevice", "A device reached over Wi-Fi: a command channel and a data channel.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<WifiDevice>::setUp));
  cls.def(py::init([](bool verbose) { return makeDevice<WifiDevice>(ProductId::None, verbose); }),
          py::arg("verbose") = true, "WifiDevice(verbose: bool = True)")
      .def(
          "connect",
          [](WifiDevice& self, const Argument& ip_addr, const Argument& port, std::optional<bool> verbose,
             const Argument& cmd_port) {
            const Unlocked unlocked;
            return self.connect(ip_addr, port, cmd_port, verbose);
          },
          Signature(kConnect),
          docstring("connect", kConnect, "bool",
                    "Connects both channels to the device at an IPv4 address (dotted text), within 5 s each; `port` is "
                    "the data channel's. `verbose` overrules the handle's own for the messages about this connection. "
                    "Raises NetworkConnectionError, and then neither is connected."))
      .def(
          "connect_async",
          [](const py::object& self, const Argument& ip_addr, const Argument& port, std::optional<bool> verbose,
             const Argument& cmd_port) {
            auto& device = self.cast<WifiDevice&>();
            return makeCoroutineOf("connect_async", self, [&device, ip_addr, port, verbose, cmd_port] {
              return device.connect(ip_addr, port, cmd_port, verbose);
            });
          },
          Signature(kConnect),
          docstring("connect_async", kConnect, "Coroutine[bool]", "As connect, without blocking the event loop."))
      .def(
          "disconnect",
          [](WifiDevice& self, std::optional<bool> verbose) {
            const Unlocked unlocked;
            self.disconnect(verbose);
          },
          py::arg("verbose") = py::none(),
          "disconnect(verbose: bool | None = None) -> None\n\nCloses both channels; connect() may follow. `verbose` is "
          "whether that is printed, by default as for connect(). Safe to repeat.")
      .def_property(
          "client_data", [](const WifiDevice& self) { return objectOf(self.clientData()); },
          [](WifiDevice& self, const py::object& client) { self.setClientData(transportOf(client)); },
          "-> object\n\nWhere bulk data comes from: a client, or any object with a client's methods.");
  defineChannel(cls, "data", [](WifiDevice& self) -> Channel& { return self.dataChannel(); });
}

}  // namespace qvx::binding
