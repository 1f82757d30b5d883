// The packet engine.
#include "binding/devices.h"

#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/numbers.h"
#include "binding/operations.h"
#include "binding/pools.h"
#include "binding/transports.h"
#include "core/constants.h"
#include "core/host.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

int commandCode(const Argument& cmd) {
  return checkedRange(cmd, "cmd", 0, 0xFFFF);
}

py::object makeReply(const std::optional<Bytes>& reply) {
  return reply ? py::object(makeBytes(*reply)) : py::object(py::none());
}

[[noreturn]] void failUnanswered() {
  fail(ErrorId::ReceivePacketTimeoutError);
}

py::object makeResend(Resend rule) {
  return rule == Resend::Safe ? py::object(py::str("safe")) : py::object(py::bool_(rule == Resend::All));
}

Resend resendOf(const py::object& rule) {
  if (PyBool_Check(rule.ptr())) {
    return rule.cast<bool>() ? Resend::All : Resend::None;
  }
  if (!py::isinstance<py::str>(rule) || rule.cast<std::string>() != "safe") {
    fail(ErrorId::InputTypeNotCorrectError, "resend is \"safe\", True or False");
  }
  return Resend::Safe;
}

// A coroutine body whose result is a reply or None.
class ReplyBody final : public CoroutineBody {
 public:
  explicit ReplyBody(std::function<std::optional<Bytes>()> body) : body_(std::move(body)) {}
  void run() override { reply_ = body_(); }
  py::object result() override { return makeReply(reply_); }

 private:
  std::function<std::optional<Bytes>()> body_;
  std::optional<Bytes> reply_;
};

// Any queue with the methods of queue.Queue: what native queues do by being woken is done here by its own means.
class ForeignQueueBody final : public CoroutineBody {
 public:
  ForeignQueueBody(const py::object& queue, std::int64_t num_samples, double delay)
      : queue_(queue), num_samples_(num_samples), delay_(delay) {
    if (!py::hasattr(queue, "qsize") || !py::hasattr(queue, "get_nowait")) {
      fail(ErrorId::InputTypeNotCorrectError, "queue_ takes a queue");
    }
    if (delay < 0) {
      fail(ErrorId::InputDataNotInRangeError, "delay takes seconds from 0");
    }
  }

  // Without the interpreter's lock, on a fiber or not.
  void run() override {
    while (num_samples_ > -1 && size() < num_samples_) {
      pauseUntil(deadlineAfter(delay_));
    }
  }

  py::object result() override {
    py::list items;
    for (std::int64_t i = num_samples_ > -1 ? num_samples_ : size(); i > 0; --i) {
      items.append(queue_.attr("get_nowait")());
    }
    return items;
  }

 private:
  // A queue's methods may be native: then no Python runs here in which a signal would be handled.
  std::int64_t size() const {
    std::int64_t count = 0;
    Fiber::outside([&] {
      host().checkInterrupt();
      const Locked locked;
      count = queue_.attr("qsize")().cast<std::int64_t>();
    });
    return count;
  }

  py::object queue_;
  std::int64_t num_samples_;
  double delay_;
};

py::list makeList(const std::vector<Bytes>& items) {
  py::list list;
  for (const Bytes& item : items) {
    list.append(makeBytes(item));
  }
  return list;
}

using RequestOf = std::optional<Bytes> (Packet_based::*)(int, ByteView, double);

// _echoPacket and _echoPacketWithRetry differ in nothing else than the body and the default of the coroutine's timeout.
void defineRequest(py::class_<Packet, Packet_based, std::shared_ptr<Packet>>& blocking,
                   py::class_<Packet_async, Packet_based, std::shared_ptr<Packet_async>>& coroutine, const char* name,
                   RequestOf request, const char* doc) {
  blocking.def(
      name,
      [request](Packet_based& self, const Argument& cmd, const py::object& data_out, const Argument& timeout) {
        const int code = commandCode(cmd);
        const Bytes data = bytesOf(data_out);
        const double seconds = checkedTimeout(timeout);
        std::optional<Bytes> reply;
        {
          const Unlocked unlocked;
          reply = (self.*request)(code, data, seconds);
        }
        if (!reply) {
          failUnanswered();
        }
        return makeBytes(*reply);
      },
      Signature("cmd: int, data_out: list[int], timeout: float"),
      docstring(name, "cmd: int, data_out: list[int], timeout: float", "bytes", doc));
  const char* full_name = keep(std::string(name) + "_async");
  coroutine.def(
      full_name,
      [request, full_name](const py::object& self, const Argument& cmd, const py::object& data_out,
                           const Argument& timeout) {
        auto& engine = self.cast<Packet_based&>();
        return makeCoroutine(full_name, self,
                             std::make_unique<ReplyBody>([&engine, request, code = commandCode(cmd),
                                                          data = bytesOf(data_out), seconds = checkedTimeout(timeout)] {
                               return (engine.*request)(code, data, seconds);
                             }));
      },
      Signature("cmd: int, data_out: list[int], timeout: float = 3"),
      docstring(full_name, "cmd: int, data_out: list[int], timeout: float = 3", "Coroutine[bytes | None]",
                "As the blocking form; None when no reply came."));
}

// Packets that arrive are filed by threads that don't call Python. A class of Python's that expects to be called for
// each is told so when it is defined.
void initSubclass(const py::type& defined, const py::kwargs& keywords) {
  const py::module_ module = py::module_::import("pyqvx");
  const py::type device = module.attr("Device");
  for (const char* method : {"_putToDataPool", "_checkCommandType"}) {
    if (PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(defined.ptr()),
                         reinterpret_cast<PyTypeObject*>(device.ptr())) != 0 &&
        !defined.attr(method).is(device.attr(method))) {
      throw py::type_error(
          defined.attr("__name__").cast<std::string>() + " cannot override " + method +
          ": packets are filed without calling it. What arrives is changed in a transport, in client_cmd");
    }
  }
  py::module_::import("builtins")
      .attr("super")(module.attr("Packet_based"), defined)
      .attr("__init_subclass__")(**keywords);
}

}  // namespace

void bindEngine(py::module_& module) {
  py::class_<Packet_based, std::shared_ptr<Packet_based>> based(
      module, "Packet_based", "What both forms of the packet engine share: the transports and the three pools.");
  based.attr("__init_subclass__") = owned(PyClassMethod_New(
      py::cpp_function(
          initSubclass, py::name("__init_subclass__"),
          py::doc(
              "__init_subclass__(**keywords: object) -> None\n\nRaises TypeError for a handle that overrides what is "
              "not called: _putToDataPool, _checkCommandType."))
          .ptr()));
  based
      .def(
          "_preparePacket",
          [](const Packet_based&, const Argument& cmd, const py::object& data) {
            return buildFrame(commandCode(cmd), bytesOf(data));
          },
          py::arg("cmd"), py::arg("data"),
          "_preparePacket(cmd: int, data: list[int]) -> list[int]\n\nThe frame of a command.")
      .def_property(
          "client_cmd", [](const Packet_based& self) { return objectOf(self.clientCmd()); },
          [](Packet_based& self, const py::object& client) { self.setClientCmd(transportOf(client)); },
          "-> object\n\nWhere commands go: a client, or any object with a client's methods.")
      .def_property(
          "client_udp", [](const Packet_based& self) { return objectOf(self.clientUdp()); },
          [](Packet_based& self, const py::object& client) { self.setClientUdp(transportOf(client)); },
          "-> object\n\nWhere broadcasts go.")
      .def_property(
          "resend", [](const Packet_based& self) { return makeResend(self.resend); },
          [](Packet_based& self, const py::object& rule) { self.resend = resendOf(rule); },
          "-> bool | str\n\nWhich commands are sent again while their reply is late. \"safe\", as it is at first: all "
          "but "
          "those that act again when a device carries them out twice, such as toggles and transfers on a bus. True: "
          "all, "
          "False: none, which waits as long for the one reply.")
      .def_property(
          "late_replies", [](const Packet_based& self) { return self.data_pool_echo.lateReplies(); },
          [](Packet_based& self, const py::object& kept) {
            if (!PyBool_Check(kept.ptr())) {
              fail(ErrorId::InputTypeNotCorrectError, "late_replies is True or False");
            }
            self.data_pool_echo.setLateReplies(kept.cast<bool>());
          },
          "-> bool\n\nWhether a reply whose request has given up, timed out or cancelled, answers the next request "
          "with the "
          "same command, True at first; the first one on a connection is reported by LateReplyWarning. With False no "
          "operation takes a reply that was there before it asked.")
      .def_property_readonly(
          "data_pool_echo", [](Packet_based& self) -> ReplyPool& { return self.data_pool_echo; },
          py::return_value_policy::reference_internal, "-> ReplyPool\n\nReplies to commands.")
      .def_property_readonly(
          "data_pool_strm", [](Packet_based& self) -> StreamPool& { return self.data_pool_strm; },
          py::return_value_policy::reference_internal, "-> StreamPool\n\nRaw queues of streamed items.")
      .def_property_readonly(
          "data_pool_bcst", [](Packet_based& self) -> BroadcastPool& { return self.data_pool_bcst; },
          py::return_value_policy::reference_internal, "-> BroadcastPool\n\nAnswers to broadcasts.");

  py::class_<Packet, Packet_based, std::shared_ptr<Packet>> blocking(module, "Packet", "The packet engine, blocking.");
  py::class_<Packet_async, Packet_based, std::shared_ptr<Packet_async>> coroutine(module, "Packet_async",
                                                                                  "The packet engine, as coroutines.");
  blocking.def(py::init<>(), "Packet()");
  coroutine.def(py::init<>(), "Packet_async()");

  defineRequest(blocking, coroutine, "_echoPacket", &Packet_based::echoPacket,
                "Sends a command once and waits for its reply. Raises ReceivePacketTimeoutError.");
  defineRequest(
      blocking, coroutine, "_echoPacketWithRetry", &Packet_based::echoPacketWithRetry,
      "Sends a command, again while no reply comes, and waits for its reply. Raises ReceivePacketTimeoutError.");

  blocking.def(
      "_sendPacketWithoutReply",
      [](Packet_based& self, const Argument& cmd, const py::object& data_out) {
        const int code = commandCode(cmd);
        const Bytes data = bytesOf(data_out);
        const Unlocked unlocked;
        self.sendPacketWithoutReply(code, data);
      },
      py::arg("cmd"), py::arg("data_out"),
      "_sendPacketWithoutReply(cmd: int, data_out: list[int]) -> None\n\nSends a command.");
  coroutine.def(
      "_sendPacketWithoutReply_async",
      [](const py::object& self, const Argument& cmd, const py::object& data_out) {
        auto& engine = self.cast<Packet_based&>();
        return makeCoroutineOf("_sendPacketWithoutReply_async", self,
                               [&engine, code = commandCode(cmd), data = bytesOf(data_out)] {
                                 engine.sendPacketWithoutReply(code, data);
                               });
      },
      py::arg("cmd"), py::arg("data_out"),
      "_sendPacketWithoutReply_async(cmd: int, data_out: list[int]) -> Coroutine[None]\n\nSends a command.");

  blocking.def(
      "_getReplyFromPool",
      [](Packet_based& self, const Argument& cmd, const Argument& timeout) {
        const int key = checkedRange(cmd, "cmd", INT32_MIN, INT32_MAX);
        const double seconds = checkedTimeout(timeout);
        std::optional<Bytes> reply;
        {
          const Unlocked unlocked;
          reply = self.getReplyFromPool(key, seconds);
        }
        if (!reply) {
          failUnanswered();
        }
        return makeBytes(*reply);
      },
      py::arg("cmd"), py::arg("timeout"),
      "_getReplyFromPool(cmd: int, timeout: float) -> bytes\n\nTakes the reply with this key as soon as it is there. "
      "Raises ReceivePacketTimeoutError.");
  coroutine.def(
      "_getReplyFromPool_async",
      [](const py::object& self, const Argument& cmd) {
        auto& engine = self.cast<Packet_based&>();
        return makeCoroutine(
            "_getReplyFromPool_async", self,
            std::make_unique<ReplyBody>([&engine, key = checkedRange(cmd, "cmd", INT32_MIN, INT32_MAX)] {
              return engine.data_pool_echo.waitFor(key, std::nullopt);
            }));
      },
      py::arg("cmd"),
      "_getReplyFromPool_async(cmd: int) -> Coroutine[bytes]\n\nTakes the reply with this key, however long it takes.");

  blocking.def(
      "_getStreamingFromPool",
      [](Packet_based& self, const py::object& queue, const Argument& num_samples,
         const Argument& delay) -> py::object {
        const auto count = checkedInt(num_samples, "num_samples");
        const double seconds = checkedNumber(delay, "delay");
        if (py::isinstance<RawQueue>(queue)) {
          const auto raw = queue.cast<std::shared_ptr<RawQueue>>();
          std::vector<Bytes> items;
          {
            const Unlocked unlocked;
            items = self.getStreamingFromPool(*raw, count);
          }
          return makeList(items);
        }
        if (py::isinstance<SampleQueue>(queue)) {
          const auto samples = queue.cast<std::shared_ptr<SampleQueue>>();
          Samples taken;
          {
            const Unlocked unlocked;
            if (count > -1) {
              samples->waitForSize(static_cast<std::size_t>(count), std::nullopt);
            }
            taken = samples->take(count > -1 ? static_cast<std::size_t>(count) : SIZE_MAX);
          }
          return makeSampleLists(taken);
        }
        ForeignQueueBody body(queue, count, seconds);
        {
          const Unlocked unlocked;
          body.run();
        }
        return body.result();
      },
      py::arg("queue_"), py::arg("num_samples"), py::arg("delay"),
      "_getStreamingFromPool(queue_: object, num_samples: int, delay: float) -> list\n\nWaits for `num_samples` items, "
      "however long that takes, and takes them; -1 takes what is there. `delay` is the longest time, in seconds, until "
      "an "
      "item is noticed.");
  coroutine.def(
      "_getStreamingFromPool_async",
      [](const py::object& self, const py::object& queue, const Argument& num_samples, const Argument& delay) {
        const auto count = checkedInt(num_samples, "num_samples");
        const double seconds = checkedNumber(delay, "delay");
        const auto wanted = count > -1 ? static_cast<std::size_t>(count) : SIZE_MAX;
        if (py::isinstance<SampleQueue>(queue)) {
          return makeCoroutineOf("_getStreamingFromPool_async", self,
                                 [samples = queue.cast<std::shared_ptr<SampleQueue>>(), wanted] {
                                   if (wanted != SIZE_MAX) {
                                     samples->waitForSize(wanted, std::nullopt);
                                   }
                                   return samples->take(wanted);
                                 });
        }
        if (!py::isinstance<RawQueue>(queue)) {
          return makeCoroutine("_getStreamingFromPool_async", self,
                               std::make_unique<ForeignQueueBody>(queue, count, seconds));
        }
        class Body final : public CoroutineBody {
         public:
          Body(Packet_based& engine, std::shared_ptr<RawQueue> raw, std::int64_t wanted_items)
              : engine_(engine), queue_(std::move(raw)), wanted_(wanted_items) {}
          void run() override { items_ = engine_.getStreamingFromPool(*queue_, wanted_); }
          py::object result() override { return makeList(items_); }

         private:
          Packet_based& engine_;
          std::shared_ptr<RawQueue> queue_;
          std::int64_t wanted_;
          std::vector<Bytes> items_;
        };
        return makeCoroutine(
            "_getStreamingFromPool_async", self,
            std::make_unique<Body>(self.cast<Packet_based&>(), queue.cast<std::shared_ptr<RawQueue>>(), count));
      },
      py::arg("queue_"), py::arg("num_samples"), py::arg("delay"),
      "_getStreamingFromPool_async(queue_: object, num_samples: int, delay: float) -> Coroutine[list]\n\nAs the "
      "blocking form.");

  blocking.def(
      "_broadcastPacket",
      [](Packet_based& self, const Argument& cmd, const py::object& data_out) {
        const int code = commandCode(cmd);
        const Bytes data = bytesOf(data_out);
        const Unlocked unlocked;
        return self.broadcastPacket(code, data);
      },
      py::arg("cmd"), py::arg("data_out"),
      "_broadcastPacket(cmd: int, data_out: list[int]) -> AnswerSet\n\nSends a broadcast three times and collects "
      "answers for 5 s.");
  coroutine.def(
      "_broadcastPacket_async",
      [](const py::object& self, const Argument& cmd, const py::object& data_out) {
        auto& engine = self.cast<Packet_based&>();
        return makeCoroutineOf("_broadcastPacket_async", self,
                               [&engine, code = commandCode(cmd), data = bytesOf(data_out)] {
                                 return engine.broadcastPacket(code, data);
                               });
      },
      py::arg("cmd"), py::arg("data_out"),
      "_broadcastPacket_async(cmd: int, data_out: list[int]) -> Coroutine[AnswerSet]\n\nAs the blocking form.");
}

}  // namespace qvx::binding
