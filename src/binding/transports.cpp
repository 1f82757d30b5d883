#include "binding/transports.h"

#include "binding/argument_caster.h"
#include "binding/pools.h"
#include "transport/tcp.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

py::list makeFrames(const std::vector<Frame>& frames) {
  py::list list;
  for (const Frame& frame : frames) {
    list.append(py::make_tuple(frame.code, makeBytes(frame.payload)));
  }
  return list;
}

// An application's own transport: any object with a client's methods. Used by any thread; holds the interpreter's lock
// while it runs, and no C++ mutex.
class PythonTransport final : public Transport {
 public:
  explicit PythonTransport(py::object object) : object_(std::move(object)), reads_by_parts_(overridesParts(object_)) {}
  ~PythonTransport() override {
    const Locked locked;
    object_ = py::object();
  }

  const py::object& object() const { return object_; }

  void sendPacket(ByteView frame) override { send("sendPacket", frame); }
  void sendBcstPacket(ByteView frame) override { send("sendBcstPacket", frame); }

  bool connect(const std::string& address, int number) override {
    const Locked locked;
    object_.attr("connect")(address, number);
    return true;
  }

  void disconnect() override {
    const Locked locked;
    object_.attr("disconnect")();
  }

  // Runs on the receive thread, where nobody catches a Python exception: it becomes a failure to report.
  std::vector<Frame> recvAndSplitPacket(std::size_t size) override {
    const Locked locked;
    try {
      std::vector<Frame> frames;
      for (const py::handle pair : reads_by_parts_ ? readByParts(size) : object_.attr("recvAndSplitPacket")(size)) {
        const auto parts = pair.cast<py::sequence>();
        frames.push_back({py::object(parts[0]).cast<int>(), bytesOf(py::object(parts[1]))});
      }
      return frames;
    } catch (py::error_already_set& error) {
      failAs(error);
    } catch (const Failure&) {
      throw;
    } catch (const std::exception& error) {  // one of pybind11's
      fail(ErrorId::NetworkConnectionLostError,
           std::string("recvAndSplitPacket gave no (code, payload) pairs: ") + error.what());
    }
  }

 private:
  void send(const char* method, ByteView frame) {
    const Locked locked;
    py::list bytes(frame.size());
    for (std::size_t i = 0; i < frame.size(); ++i) {
      bytes[i] = py::int_(frame[i]);
    }
    object_.attr(method)(bytes);
  }

  // Whether an object is a native client whose reading has been changed in one of its parts, and not as a whole.
  static bool overridesParts(const py::object& object) {
    if (!py::isinstance<Client>(object)) {
      return false;
    }
    const py::type native = py::type::of<Client>();
    const auto overrides = [&, type = py::type::of(object)](const char* method) {
      return !type.attr(method).is(native.attr(method));
    };
    return (overrides("recvPacket") || overrides("_splitPacket")) && !overrides("recvAndSplitPacket");
  }

  // What a client's recvAndSplitPacket does, by methods that Python may override.
  py::object readByParts(std::size_t size) const {
    const py::object bytes = object_.attr("recvPacket")(size);
    if (py::len(bytes) != 0) {
      object_.attr("stream") = py::object(object_.attr("stream")) + bytes;
    }
    return object_.attr("_splitPacket")();
  }

  [[noreturn]] static void failAs(const py::error_already_set& error) {
    for (const ErrorKind& kind : errorKinds()) {
      if (error.matches(errorClass(kind.id))) {
        fail(kind.id, textOf(error.value(), "msg"));
      }
    }
    const std::string name = textOf(error.type(), "__name__");
    fail(ErrorId::NetworkConnectionLostError, name + ": " + textOf(error.value(), nullptr));
  }

  // The text of an object or of its attribute; empty where that raises.
  static std::string textOf(const py::object& object, const char* attribute) {
    try {
      return py::str(attribute == nullptr ? object : py::object(object.attr(attribute)));
    } catch (const py::error_already_set&) {
      return "";
    }
  }

  py::object object_;
  const bool reads_by_parts_;
};

// A read makes room for all of it first.
constexpr int kLargestRead = 1 << 24;

std::size_t readSize(const Argument& size) {
  return static_cast<std::size_t>(checkedRange(size, "size", 0, kLargestRead));
}

}  // namespace

std::shared_ptr<Transport> transportOf(const py::object& client) {
  if (client.is_none()) {
    return nullptr;
  }
  // A Python subclass may override any method, so only the native classes themselves are called directly.
  if (py::isinstance<Client>(client) && py::type::of(client).attr("__module__").cast<std::string>() == "pyqvx") {
    return client.cast<std::shared_ptr<Client>>();
  }
  return std::make_shared<PythonTransport>(client);
}

PyObject* applicationsObject(const std::shared_ptr<Transport>& transport) {
  const auto* python = dynamic_cast<const PythonTransport*>(transport.get());
  return python != nullptr ? python->object().ptr() : nullptr;
}

py::object objectOf(const std::shared_ptr<Transport>& transport) {
  if (const auto python = std::dynamic_pointer_cast<PythonTransport>(transport)) {
    return python->object();
  }
  return py::cast(std::dynamic_pointer_cast<Client>(transport));
}

void bindTransports(py::module_& module) {
  const auto unlocked = py::call_guard<Unlocked>();
  py::class_<Client, std::shared_ptr<Client>>(
      module, "Client", "A transport: moves bytes to and from one device and cuts frames out of what it receives.")
      .def(py::init<>(), "Client()\n\nA client without a medium: its stream can be filled and split.")
      .def_property(
          "stream", [](const Client& self) { return makeBytes(self.stream()); },
          [](Client& self, const py::object& bytes) { self.setStream(bytesOf(bytes)); },
          "-> bytes\n\nReceived bytes not yet consumed.")
      .def_property("last_index", &Client::lastIndex, &Client::setLastIndex,
                    "-> int\n\nWhere in `stream` the search for the next frame end starts.")
      .def(
          "_splitPacket", [](Client& self) { return makeFrames(self.splitPacket()); },
          "_splitPacket() -> list[tuple[int, bytes]]\n\nTakes the whole frames from the front of `stream`, as (code, "
          "payload).")
      .def(
          "sendPacket",
          [](Client& self, const py::object& packet) {
            const Bytes bytes = bytesOf(packet);
            const Unlocked released;
            self.sendPacket(bytes);
          },
          py::arg("packet"), "sendPacket(packet: list[int]) -> None\n\nWrites one whole frame.")
      .def(
          "recvPacket",
          [](Client& self, const Argument& size) {
            const std::size_t most = readSize(size);
            Bytes bytes;
            {
              const Unlocked released;
              bytes = self.recvPacket(most);
            }
            return makeBytes(bytes);
          },
          py::arg("size"),
          "recvPacket(size: int) -> bytes\n\nWhat arrived within the read timeout, at most `size` bytes "
          "(0..16777216).")
      .def(
          "recvAndSplitPacket",
          [](Client& self, const Argument& size) {
            const std::size_t most = readSize(size);
            std::vector<Frame> frames;
            {
              const Unlocked released;
              frames = self.recvAndSplitPacket(most);
            }
            return makeFrames(frames);
          },
          py::arg("size"),
          "recvAndSplitPacket(size: int) -> list[tuple[int, bytes]]\n\nReads once and returns the frames that are now "
          "whole.")
      .def("disconnect", &Client::disconnect, unlocked, "disconnect() -> None\n\nCloses the medium. Safe to repeat.");

  py::class_<NetworkClient, Client, std::shared_ptr<NetworkClient>>(module, "NetworkClient", "A client over a socket.")
      .def_property_readonly("socket", &NetworkClient::socket,
                             "-> int\n\nThe socket's descriptor, 0 when none is open.")
      .def("setTimeout", &setReadTimeout<NetworkClient>, py::arg("t"),
           "setTimeout(t: float | None) -> None\n\nSeconds a read waits; None waits without limit.");

  py::class_<TCPClient, NetworkClient, std::shared_ptr<TCPClient>>(module, "TCPClient",
                                                                   "A command or data channel over TCP.")
      .def(py::init<>(), "TCPClient()")
      .def(
          "connect",
          [](TCPClient& self, const Argument& ip_addr, const Argument& port) {
            const std::string& address = checkedText(ip_addr, "ip_addr");
            const int number = checkedRange(port, "port", 1, 65535);
            const Unlocked released;
            return self.connect(address, number);
          },
          py::arg("ip_addr"), py::arg("port"),
          "connect(ip_addr: str, port: int) -> bool\n\nConnects within 5 s; raises NetworkConnectionError.");
}

}  // namespace qvx::binding
