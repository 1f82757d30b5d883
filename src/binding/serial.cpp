// Serial lines: their client and their handle.
#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/operations.h"
#include "binding/transports.h"
#include "protocol/uart_device.h"
#include "transport/uart.h"

#include <pybind11/stl.h>

#include <limits>

namespace qvx::binding {
namespace {

void bindUartClient(py::module_& module) {
  py::class_<UARTClient, Client, std::shared_ptr<UARTClient>>(module, "UARTClient", "A serial line.")
      .def(py::init<>(), "UARTClient()")
      .def(
          "connect",
          [](UARTClient& self, const Argument& port, const Argument& baudrate) {
            const std::string& name = checkedText(port, "port");
            const int rate = checkedRange(baudrate, "baudrate", 1, std::numeric_limits<int>::max(),
                                          ErrorId::UARTBaudRateNotSupportError);
            const Unlocked released;
            return self.connect(name, rate);
          },
          py::arg("port"), py::arg("baudrate"),
          "connect(port: str, baudrate: int) -> bool\n\nOpens a serial device file such as \"/dev/ttyUSB0\" for this "
          "client alone: raw, 8 data bits, no parity, 1 stop bit. Raises UARTConnectionError.")
      .def_property_readonly("socket", &UARTClient::socket,
                             "-> int\n\nThe descriptor of the open port, 0 when none is open.")
      .def_property(
          "read_timeout", &UARTClient::readTimeout,
          [](UARTClient& self, const Argument& seconds) {
            self.setReadTimeout(checkedNumber(seconds, "read_timeout"));
          },
          "-> float\n\nSeconds that reads wait after the next connect.")
      .def("setTimeout", &setReadTimeout<UARTClient>, py::arg("t"),
           "setTimeout(t: float | None) -> None\n\nSeconds a read waits; None waits without limit.");
}

void bindUartHandle(py::module_& module) {
  py::class_<UARTDevice, Device, std::shared_ptr<UARTDevice>> cls(
      module, "UARTDevice", "A device reached over a serial line.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<UARTDevice>::setUp));
  cls.def(py::init([](const Argument& baudrate, bool verbose) {
            return makeDevice<UARTDevice>(ProductId::None, verbose, baudrate);
          }),
          Signature("baudrate: int = 115200, verbose: bool = True"),
          "UARTDevice(baudrate: int = 115200, verbose: bool = True)")
      .def(
          "connect",
          [](UARTDevice& self, const Argument& port) {
            const Unlocked unlocked;
            return self.connect(port);
          },
          py::arg("port"),
          docstring("connect", "port: str", "bool",
                    "Opens a serial device file such as \"/dev/ttyUSB0\" for this handle alone. Raises "
                    "UARTConnectionError. \"tcp://ADDRESS:PORT\" connects to a virtual device instead; raises "
                    "NetworkConnectionError."))
      .def(
          "connect_async",
          [](const py::object& self, const Argument& port) {
            auto& device = self.cast<UARTDevice&>();
            return makeCoroutineOf("connect_async", self, [&device, port] { return device.connect(port); });
          },
          py::arg("port"),
          docstring("connect_async", "port: str", "Coroutine[bool]", "As connect, without blocking the event loop."))
      .def(
          "disconnect",
          [](UARTDevice& self) {
            const Unlocked unlocked;
            self.disconnect();
          },
          "disconnect() -> None\n\nCloses the port; connect() may follow. Safe to repeat.")
      .def_property_readonly("baudrate", &UARTDevice::baudrate, "-> int\n\nThe rate of every connection, in bit/s.")
      .def_property_readonly(
          "port", [](const UARTDevice& self) { return self.identifier(); }, "-> str\n\nThe port connected to last.");
  defineCommandChannel(cls);
}

}  // namespace

void bindSerial(py::module_& module) {
  bindUartClient(module);
  bindUartHandle(module);
}

}  // namespace qvx::binding
