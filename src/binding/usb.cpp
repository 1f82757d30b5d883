// USB: its client, its handle, and the list of what is attached.
#include "transport/usb.h"

#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/operations.h"
#include "binding/transports.h"
#include "core/constants.h"
#include "protocol/usb_device.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindUsbClient(py::module_& module) {
  module.def(
      "getLibUSB1",
      [] {
        const Unlocked unlocked;
        getLibUSB1();
      },
      "getLibUSB1() -> None\n\nLooks for a libusb-1.0.dll beside the module and in ../ext_lib. Where neither is there, "
      "issues ExtLibNotFoundWarning, once in a process. The system's libusb-1.0 is used in any case.");

  py::class_<USBClient, Client, std::shared_ptr<USBClient>>(module, "USBClient", "A device's bulk endpoints over USB.")
      .def(py::init([](const Argument& serial_num) {
             const std::string& serial = checkedText(serial_num, "serial_num");
             const Unlocked unlocked;
             return std::make_shared<USBClient>(serial);
           }),
           py::arg("serial_num"),
           "USBClient(serial_num: str)\n\nOpens the device with this serial number, the first of all for \"default\". "
           "Raises USBConnectionError.")
      .def("takeSerialNumber", &USBClient::takeSerialNumber,
           "takeSerialNumber() -> str\n\nThe device's serial-number string descriptor.")
      .def("takeProductName", &USBClient::takeProductName,
           "takeProductName() -> str\n\nThe device's product string descriptor.")
      .def_property_readonly("device", &USBClient::place,
                             "-> str | None\n\nWhere the device is, as \"bus/address\"; None when disconnected.")
      .def_property_readonly("config", &USBClient::configuration,
                             "-> int\n\nbConfigurationValue of the active configuration.")
      .def_property_readonly("interface", &USBClient::interface, "-> int\n\nbInterfaceNumber of its first interface.")
      .def_property_readonly(
          "ep_in", [](const USBClient&) { return USB_EP_IN; }, "-> int\n\nThe bulk IN endpoint.")
      .def_property_readonly(
          "ep_out", [](const USBClient&) { return USB_EP_OUT; }, "-> int\n\nThe bulk OUT endpoint.")
      .def("setTimeout", &setReadTimeout<USBClient>, py::arg("t"),
           "setTimeout(t: float | None) -> None\n\nSeconds a read waits; None waits without limit.");
}

void bindUsbHandle(py::module_& module) {
  py::class_<USBDevice, Device, std::shared_ptr<USBDevice>> cls(module, "USBDevice", "A device reached over USB.",
                                                                py::dynamic_attr(),
                                                                py::custom_type_setup(&DeviceType<USBDevice>::setUp));
  cls.def(py::init([](bool verbose) { return makeDevice<USBDevice>(ProductId::None, verbose); }),
          py::arg("verbose") = true, "USBDevice(verbose: bool = True)")
      .def(
          "connect",
          [](USBDevice& self, const Argument& serial_num) {
            const Unlocked unlocked;
            return self.connect(serial_num);
          },
          Signature("serial_num: str = \"default\""),
          docstring("connect", "serial_num: str = \"default\"", "bool",
                    "Connects to the device with this serial number, by default to the first one attached. Raises "
                    "USBConnectionError. \"tcp://ADDRESS:PORT\" connects to a virtual device instead; raises "
                    "NetworkConnectionError."))
      .def(
          "connect_async",
          [](const py::object& self, const Argument& serial_num) {
            auto& device = self.cast<USBDevice&>();
            return makeCoroutineOf("connect_async", self, [&device, serial_num] { return device.connect(serial_num); });
          },
          Signature("serial_num: str = \"default\""),
          docstring("connect_async", "serial_num: str = \"default\"", "Coroutine[bool]",
                    "As connect, without blocking the event loop."))
      .def(
          "disconnect",
          [](USBDevice& self) {
            const Unlocked unlocked;
            self.disconnect();
          },
          "disconnect() -> None\n\nCloses the connection; connect() may follow. Safe to repeat.")
      .def_property_readonly(
          "serial_num", [](const USBDevice& self) { return self.identifier(); },
          "-> str\n\nWhat it was connected to last, as connect() was told.");
  defineCommandChannel(cls);
}

}  // namespace

void bindUsb(py::module_& module) {
  bindUsbClient(module);
  bindUsbHandle(module);
  const py::object engine = module.attr("Packet_based");
  engine.attr("_getAllUSBDevices") = py::cpp_function(
      [](const Packet_based&) {
        const Unlocked unlocked;
        return listUSB();
      },
      py::name("_getAllUSBDevices"), py::is_method(engine),
      "_getAllUSBDevices() -> list[tuple[str, str]]\n\nSerial number and product name of every attached device. Raises "
      "USBConnectionError when devices are attached but none may be opened.");
}

}  // namespace qvx::binding
