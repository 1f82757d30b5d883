#include "binding/devices.h"

#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/operations.h"
#include "binding/pools.h"
#include "core/constants.h"

#include <string>

namespace qvx::binding {
namespace {

const char* kindText(PacketKind kind) {
  switch (kind) {
    case PacketKind::Streaming:
      return "streaming";
    case PacketKind::Broadcast:
      return "broadcast";
    case PacketKind::Ignore:
      return "ignore";
    case PacketKind::Echo:
      break;
  }
  return "echo";
}

constexpr const char* kOnConnectionLost = "on_connection_lost";

py::object getOnConnectionLost(const py::object& self) {
  return self.attr("__dict__").attr("get")(kOnConnectionLost, py::none());
}

// Calls what an application wants to be called at a loss. That stands in the device's own __dict__, where the collector
// sees it. Let go of by any thread.
struct LossCallback {
  py::weakref device;

  static void forget(LossCallback* gone) {
    if (Py_IsInitialized() == 0 || _Py_IsFinalizing() != 0) {
      return;  // with the process
    }
    const Locked locked;
    delete gone;
  }

  // On a thread that runs no Python otherwise: nobody there could receive an exception.
  void operator()() const {
    if (Py_IsInitialized() == 0 || _Py_IsFinalizing() != 0) {
      return;
    }
    const Locked locked;
    try {
      const py::object self = device();
      if (self.is_none()) {
        return;
      }
      if (const py::object wanted = getOnConnectionLost(self); !wanted.is_none()) {
        wanted(self);
      }
    } catch (py::error_already_set& error) {
      error.discard_as_unraisable(kOnConnectionLost);
    }
  }
};

void setOnConnectionLost(const py::object& self, const py::object& call) {
  if (!call.is_none() && PyCallable_Check(call.ptr()) == 0) {
    fail(ErrorId::InputTypeNotCorrectError, "on_connection_lost is a callable or None");
  }
  auto& device = self.cast<Device&>();
  self.attr("__dict__")[kOnConnectionLost] = call;
  const std::shared_ptr<LossCallback> callback(new LossCallback{py::weakref(self)}, &LossCallback::forget);
  device.onConnectionLost(call.is_none() ? std::function<void()>() : [callback] { (*callback)(); });
}

std::string describe(const py::object& self) {
  const auto& device = self.cast<const Device&>();
  std::string text = "<" + py::str(py::type::of(self).attr("__name__")).cast<std::string>();
  if (device.product() != ProductId::None) {
    text += " (" + device.deviceName() + ")";
  }
  if (device.closed()) {
    return text + " closed>";
  }
  if (device.forked()) {
    return text + " of the parent process>";
  }
  switch (device.state()) {
    case Connection::State::Lost:
      return text + " lost connection to " + device.identifier() + ">";
    case Connection::State::Connected:
      return text + " connected to " + device.identifier() + ">";
    default:
      return text + " not connected>";
  }
}

}  // namespace

void bindDevices(py::module_& module) {
  py::class_<Device, Packet, Packet_async, std::shared_ptr<Device>>(
      module, "Device", "What every device handle is: the three pools, and the order of its life.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<Device>::setUp))
      .def(py::init([] { return makeDevice<Device>(); }), "Device()")
      .def_property_readonly(
          "killed", [](const Device& self) { return self.killed.load(); },
          "-> bool\n\nSet by close(); ends the threads.")
      .def_property_readonly(
          "connection_lost", [](const Device& self) { return self.state() == Connection::State::Lost; },
          "-> bool\n\nWhether the connection has ended by itself; connect() makes a new one.")
      .def_property(
          "on_connection_lost", &getOnConnectionLost, &setOnConnectionLost,
          "-> Callable | None\n\nCalled with the device once for each loss of its connection, after that has been "
          "printed, on a thread of its own: it may wait, and call connect() or close().")
      .def(
          "connection_lost_async",
          [](const py::object& self) {
            auto& device = self.cast<Device&>();
            return makeCoroutineOf("connection_lost_async", self, [&device] { return device.waitLost(std::nullopt); });
          },
          "connection_lost_async() -> Coroutine[bool]\n\nWaits until the connection has ended by itself: True. False "
          "when "
          "there is none, or disconnect() or close() has ended it.")
      .def("_getDeviceName", &Device::deviceName, "_getDeviceName() -> str\n\nThe product's label.")
      .def(
          "_checkCommandType",
          [](const Device&, const Argument& cmd, const py::object& data) {
            return kindText(Packet_based::checkCommandType(checkedRange(cmd, "cmd", 0, 0xFFFF), bytesOf(data)));
          },
          py::arg("cmd"), py::arg("data"),
          "_checkCommandType(cmd: int, data: bytes) -> str\n\n\"streaming\", \"broadcast\", \"echo\" or \"ignore\".")
      .def(
          "_putToDataPool",
          [](Device& self, const Argument& cmd, const py::object& data) {
            self.putToDataPool(checkedRange(cmd, "cmd", 0, 0xFFFF), bytesOf(data));
          },
          py::arg("cmd"), py::arg("data"),
          "_putToDataPool(cmd: int, data: bytes) -> None\n\nFiles one received packet.")
      .def(
          "close", [](Device& self) { closeUnlocked(self); },
          "close() -> None\n\nDisconnects and ends every thread; waits in progress end. Safe to repeat.")
      .def("__enter__", [](const py::object& self) { return self; })
      .def("__exit__", [](Device& self, const py::args&) { closeUnlocked(self); })
      .def("__aenter__",
           [](const py::object& self) {
             class Body final : public CoroutineBody {
              public:
               explicit Body(py::handle self) : self_(self) {}
               void run() override {}
               py::object result() override { return py::reinterpret_borrow<py::object>(self_); }

              private:
               py::handle self_;  // the coroutine's owner
             };
             return makeCoroutine("__aenter__", self, std::make_unique<Body>(self));
           })
      .def("__aexit__",
           [](const py::object& self, const py::args&) {
             auto& device = self.cast<Device&>();
             return makeCoroutineOf("__aexit__", self, [&device] { device.close(); });
           })
      .def("__repr__", &describe);

  py::class_<NetworkDevice, Device, std::shared_ptr<NetworkDevice>> cls(
      module, "NetworkDevice", "A device reached over TCP.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<NetworkDevice>::setUp));
  cls.def(py::init([](bool verbose) { return makeDevice<NetworkDevice>(ProductId::None, verbose); }),
          py::arg("verbose") = true, "NetworkDevice(verbose: bool = True)")
      .def(
          "connect",
          [](NetworkDevice& self, const Argument& ip_addr, const Argument& port) {
            const Unlocked unlocked;
            return self.connect(ip_addr, port);
          },
          Signature("ip_addr: str, port: int = 7"),
          docstring(
              "connect", "ip_addr: str, port: int = 7", "bool",
              "Connects to the device at an IPv4 address (dotted text), within 5 s. Raises NetworkConnectionError."))
      .def(
          "connect_async",
          [](const py::object& self, const Argument& ip_addr, const Argument& port) {
            auto& device = self.cast<NetworkDevice&>();
            return makeCoroutineOf("connect_async", self,
                                   [&device, ip_addr, port] { return device.connect(ip_addr, port); });
          },
          Signature("ip_addr: str, port: int = 7"),
          docstring("connect_async", "ip_addr: str, port: int = 7", "Coroutine[bool]",
                    "As connect, without blocking the event loop."))
      .def(
          "disconnect",
          [](NetworkDevice& self) {
            const Unlocked unlocked;
            self.disconnect();
          },
          "disconnect() -> None\n\nCloses the connection; connect() may follow. Safe to repeat.")
      .def_property_readonly(
          "ip_addr", [](const NetworkDevice& self) { return self.identifier(); },
          "-> str\n\nThe address connected to last.");
  defineCommandChannel(cls);

  py::class_<ETHDevice, NetworkDevice, std::shared_ptr<ETHDevice>>(
      module, "ETHDevice", "The handle of the Ethernet products.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<ETHDevice>::setUp))
      .def(py::init([](bool verbose) { return makeDevice<ETHDevice>(ProductId::None, verbose); }),
           py::arg("verbose") = true, "ETHDevice(verbose: bool = True)");

  py::dict labels;
  for (const ProductLabel& row : productLabels()) {
    labels[row.class_name] = row.label;
  }
  module.attr("LABEL_DICT") = labels;
  closeDevicesAtExit();
}

}  // namespace qvx::binding
