// Discovery: the UDP client, the handle that listens for answers, and what is asked with them.
#include "models/discovery.h"
#include "binding/coroutine.h"
#include "binding/devices.h"
#include "binding/modules.h"
#include "binding/operations.h"
#include "binding/pools.h"
#include "core/constants.h"
#include "transport/udp.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindUdpClient(py::module_& module) {
  py::class_<UDPClient, NetworkClient, std::shared_ptr<UDPClient>> cls(
      module, "UDPClient", "Broadcasts to every attached network, and receives the answers.");
  cls.def(py::init<>(), "UDPClient()");
  // A handle connects its transport, whatever that means to it.
  for (const char* name : {"bind", "connect"}) {
    cls.def(
        name,
        [](UDPClient& self, const Argument& ip_addr, const Argument& port) {
          const std::string& address = checkedText(ip_addr, "ip_addr");
          const int number = checkedRange(port, "port", 0, 65535);
          const Unlocked released;
          return self.bind(address, number);
        },
        py::arg("ip_addr"), py::arg("port"),
        docstring(
            name, "ip_addr: str, port: int", "bool",
            "Listens on a UDP port (0: any that is free) of a local IPv4 address (\"\": all), beside other programs "
            "that do. Raises NetworkConnectionError."));
  }
  cls.def(
      "sendBcstPacket",
      [](UDPClient& self, const py::object& packet) {
        const Bytes bytes = bytesOf(packet);
        const Unlocked released;
        self.sendBcstPacket(bytes);
      },
      py::arg("packet"),
      "sendBcstPacket(packet: list[int]) -> None\n\nSends one frame to every device, from each local IPv4 address. "
      "Raises "
      "NetworkConnectionError when it could leave from none.");
}

py::tuple fieldsOf(const DeviceRecord& record) {
  return py::make_tuple(record.model, record.name, record.serial, record.ip, record.subnet_mask, record.mac,
                        record.firmware);
}

std::string describe(const DeviceRecord& record) {
  constexpr const char* kFormat =
      "DeviceRecord(model={!r}, name={!r}, serial={!r}, ip={!r}, subnet_mask={!r}, mac={!r}, firmware={!r})";
  return py::str(kFormat).attr("format")(*fieldsOf(record)).cast<std::string>();
}

void bindRecord(py::module_& module) {
  py::class_<DeviceRecord>(module, "DeviceRecord",
                           "What a device on the network says of itself. Records with equal fields are equal.")
      .def_readonly("model", &DeviceRecord::model, "-> str\n\nThe product, such as \"Ferox-A\".")
      .def_readonly("name", &DeviceRecord::name, "-> str\n\nThe name given to it, its alias.")
      .def_readonly("serial", &DeviceRecord::serial, "-> str\n\nThe serial number.")
      .def_readonly("ip", &DeviceRecord::ip, "-> str\n\nThe IPv4 address in effect.")
      .def_readonly("subnet_mask", &DeviceRecord::subnet_mask, "-> str\n\nThe subnet mask in effect.")
      .def_readonly("mac", &DeviceRecord::mac, "-> str\n\nThe MAC address, such as \"02:51:56:00:00:01\".")
      .def_readonly("firmware", &DeviceRecord::firmware, "-> str\n\nThe version of the firmware.")
      .def("__eq__",
           [](const DeviceRecord& self, const py::object& other) {
             return py::isinstance<DeviceRecord>(other) && self == other.cast<const DeviceRecord&>();
           })
      .def("__hash__", [](const DeviceRecord& self) { return py::hash(fieldsOf(self)); })
      .def("__repr__", &describe);
}

// The callable as the core takes it; nothing for None. It must outlive the function.
BroadcastOperations::Progress progressOf(const py::object& progress) {
  if (progress.is_none()) {
    return nullptr;
  }
  return [function = py::handle(progress)](const DeviceRecord& record) {
    const Locked locked;
    function(record);
  };
}

void checkProgress(const py::object& progress) {
  if (!progress.is_none() && PyCallable_Check(progress.ptr()) == 0) {
    fail(ErrorId::InputTypeNotCorrectError, "progress takes a function of one argument, or None");
  }
}

class FindBody final : public CoroutineBody {
 public:
  FindBody(BroadcastOperations& operations, Argument expected, Argument timeout, py::object progress)
      : operations_(operations),
        expected_(std::move(expected)),
        timeout_(std::move(timeout)),
        progress_(std::move(progress)) {}
  void run() override { found_ = operations_.Broadcast_findDevices(expected_, timeout_, progressOf(progress_)); }
  py::object result() override { return py::cast(std::move(found_)); }

 private:
  BroadcastOperations& operations_;
  const Argument expected_;
  const Argument timeout_;
  const py::object progress_;
  std::vector<DeviceRecord> found_;
};

constexpr const char* kFindSignature =
    "expected: int = 0, timeout: float = 5, progress: Callable[[DeviceRecord], object] | None = None";
constexpr const char* kFindDoc =
    "The devices that answer within `timeout` seconds, each once, in the order of their answers. Returns as soon as "
    "`expected` devices (0: no number) have answered. `progress` is called with each record when its device is found; "
    "what it raises ends the search.";

using BlockingClass = py::class_<BroadcastModule, BroadcastBased, std::shared_ptr<BroadcastModule>>;
using CoroutineClass = py::class_<BroadcastModule_async, BroadcastBased, std::shared_ptr<BroadcastModule_async>>;

void bindFind(BlockingClass& blocking, CoroutineClass& coroutine) {
  blocking.def(
      "Broadcast_findDevices",
      [](BroadcastModule& self, const Argument& expected, const Argument& timeout, const py::object& progress) {
        checkProgress(progress);
        const Unlocked unlocked;
        return self.Broadcast_findDevices(expected, timeout, progressOf(progress));
      },
      Signature(kFindSignature), docstring("Broadcast_findDevices", kFindSignature, "list[DeviceRecord]", kFindDoc));
  coroutine.def(
      "Broadcast_findDevices_async",
      [](const py::object& self, const Argument& expected, const Argument& timeout, const py::object& progress) {
        checkProgress(progress);
        return makeCoroutine(
            "Broadcast_findDevices_async", self,
            std::make_unique<FindBody>(self.cast<BroadcastModule_async&>(), expected, timeout, progress));
      },
      Signature(kFindSignature),
      docstring("Broadcast_findDevices_async", kFindSignature, "Coroutine[list[DeviceRecord]]", kFindDoc));
}

void bindModule(py::module_& module) {
  py::class_<BroadcastBased, std::shared_ptr<BroadcastBased>>(module, "BroadcastBased",
                                                              "What both forms of the broadcast module share.");
  BlockingClass blocking(module, "BroadcastModule", "Finds devices on the attached networks, and gives them orders.");
  CoroutineClass coroutine(module, "BroadcastModule_async", "The broadcast module as coroutines.");
  bindFind(blocking, coroutine);
  using M = BroadcastOperations;
  Operations(blocking, coroutine, CoroutineTimeout::Keyword)
      .plain("Broadcast_setIP", &M::Broadcast_setIP,
             "mac_addr: str, ip_addr: str, subnet_mask: str = '255.255.255.0', timeout: float = 5", "int",
             "Gives the device with this MAC address an IPv4 address, which it keeps and uses from its next start on "
             "(Broadcast_reboot). Raises ReceivePacketTimeoutError when no such device answers. Returns 0.")
      .plain("Broadcast_reboot", &M::Broadcast_reboot, "mac_addr: str, timeout: float = 5", "int",
             "Restarts the device with this MAC address. Raises ReceivePacketTimeoutError when no such device answers. "
             "Returns 0.")
      .plain("Broadcast_ring", &M::Broadcast_ring, "mac_addr: str, timeout: float = 5", "int",
             "Makes the device with this MAC address blink or sound, so that it is found among others. Raises "
             "ReceivePacketTimeoutError when no such device answers. Returns 0.");
}

void bindBroadcastHandle(py::module_& module) {
  py::class_<Discovery, Device, BroadcastModule, BroadcastModule_async, std::shared_ptr<Discovery>> cls(
      module, "BroadcastDevice", "Every device on the attached networks, found by UDP broadcast.", py::dynamic_attr(),
      py::custom_type_setup(&DeviceType<Discovery>::setUp));
  cls.def(py::init([](bool verbose) { return makeDevice<Discovery>(verbose); }), py::arg("verbose") = true,
          "__init__(verbose: bool = True) -> None\n\nLive from construction; `verbose` False keeps its messages off "
          "standard output.")
      .def("connect", &Discovery::connect, py::call_guard<Unlocked>(),
           "connect() -> bool\n\nListens for answers on UDP port 6667 of all addresses. Raises NetworkConnectionError.")
      .def(
          "connect_async",
          [](const py::object& self) {
            auto& device = self.cast<Discovery&>();
            return makeCoroutineOf("connect_async", self, [&device] { return device.connect(); });
          },
          "connect_async() -> Coroutine[bool]\n\nAs connect, without blocking the event loop.")
      .def(
          "disconnect",
          [](Discovery& self) {
            const Unlocked unlocked;
            self.disconnect();
          },
          "disconnect() -> None\n\nStops listening; connect() may follow. Safe to repeat.");
  defineChannel(cls, "udp", [](Discovery& self) -> Channel& { return self.udpChannel(); });
}

}  // namespace

void bindDiscovery(py::module_& module) {
  bindUdpClient(module);
  bindRecord(module);
  bindModule(module);
  bindBroadcastHandle(module);
}

}  // namespace qvx::binding
