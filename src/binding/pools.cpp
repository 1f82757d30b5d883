// Pools, queues, gates and threads, as Python sees them: mappings, queue.Queue, a lock, a thread.
#include "binding/pools.h"

#include "binding/argument_caster.h"
#include "binding/numbers.h"
#include "core/argument.h"
#include "modules/analog/ai.h"
#include "protocol/engine.h"
#include "protocol/worker.h"

#include <optional>

namespace qvx::binding {
namespace {

// Whether it offers memory in items of that size; others are sequences of numbers.
bool isBuffer(const py::handle& value, py::ssize_t item_size) {
  Py_buffer view;
  if (PyObject_CheckBuffer(value.ptr()) == 0) {
    return false;
  }
  if (PyObject_GetBuffer(value.ptr(), &view, PyBUF_FULL_RO) != 0) {
    throw py::error_already_set();
  }
  const bool fits = view.itemsize == item_size;
  PyBuffer_Release(&view);
  return fits;
}

int replyKeyOf(const Argument& key) {
  return checkedRange(key, "key", INT32_MIN, INT32_MAX);
}

py::object missing(const py::object& key) {
  throwPython(py::reinterpret_borrow<py::object>(PyExc_KeyError)(key));
}

// Takes over methods that an abstract base class of Python's defines by the few that `cls` has itself.
void adopt(py::object cls, const char* base_name, std::initializer_list<const char*> methods) {
  const py::object base = py::module_::import("collections.abc").attr(base_name);
  for (const char* method : methods) {
    cls.attr(method) = base.attr(method);
  }
  base.attr("register")(cls);
}

// Whether `make` makes a key of what may be none.
template <class Make>
auto keyOrNothing(Make make) -> std::optional<decltype(make())> {
  try {
    return make();
  } catch (const Failure&) {
    return std::nullopt;
  }
}

void bindReplyPool(py::module_& module) {
  py::class_<ReplyPool> cls(
      module, "ReplyPool",
      "Replies by key, at most one for each; a newer one overwrites an older one. A mapping of int to bytes.");
  cls.def("__len__", &ReplyPool::size)
      .def("__contains__",
           [](const ReplyPool& pool, const py::object& key) {
             const auto wanted = keyOrNothing([&] { return replyKeyOf(makeArgument(key)); });
             return wanted && pool.peek(*wanted).has_value();
           })
      .def("__getitem__",
           [](const ReplyPool& pool, const py::object& key) {
             const auto reply = pool.peek(replyKeyOf(makeArgument(key)));
             return reply ? makeBytes(*reply) : missing(key);
           })
      .def("__setitem__", [](ReplyPool& pool, const Argument& key,
                             const py::object& reply) { pool.put(replyKeyOf(key), bytesOf(reply)); })
      .def("__delitem__",
           [](ReplyPool& pool, const py::object& key) {
             if (!pool.take(replyKeyOf(makeArgument(key)))) {
               missing(key);
             }
           })
      .def("__iter__", [](const ReplyPool& pool) { return py::iter(py::cast(pool.keys())); })
      .def("keys", &ReplyPool::keys, "keys() -> list[int]")
      .def(
          "get",
          [](const ReplyPool& pool, const Argument& key, const py::object& fallback) -> py::object {
            const auto reply = pool.peek(replyKeyOf(key));
            return reply ? makeBytes(*reply) : fallback;
          },
          py::arg("key"), py::arg("default") = py::none(),
          "get(key: int, default: object = None) -> object\n\nThe reply, which stays.")
      .def(
          "pop",
          [](ReplyPool& pool, const py::object& key, const py::args& fallback) -> py::object {
            const auto reply = pool.take(replyKeyOf(makeArgument(key)));
            if (reply) {
              return makeBytes(*reply);
            }
            return fallback.empty() ? missing(key) : py::object(fallback[0]);
          },
          py::arg("key"), "pop(key: int, *default: object) -> object\n\nTakes the reply.")
      .def(
          "items",
          [](const ReplyPool& pool) {
            py::list items;
            for (const int key : pool.keys()) {
              if (const auto reply = pool.peek(key)) {
                items.append(py::make_tuple(key, makeBytes(*reply)));
              }
            }
            return items;
          },
          "items() -> list[tuple[int, bytes]]")
      .def("clear", &ReplyPool::clear, "clear() -> None")
      .def("__repr__",
           [](const ReplyPool& pool) { return "<pyqvx.ReplyPool with " + std::to_string(pool.size()) + " replies>"; });
  adopt(cls, "MutableMapping", {"values", "popitem", "setdefault", "update", "__eq__"});
}

void bindRawQueue(py::module_& module) {
  py::class_<RawQueue, std::shared_ptr<RawQueue>> cls(
      module, "RawQueue", "Streamed items as bytes, oldest first, unbounded: a queue.Queue. An item has no port byte.");
  cls.def(py::init<>(), "RawQueue()")
      .def("qsize", &RawQueue::size, "qsize() -> int\n\nHow many items are queued.")
      .def(
          "full", [](const RawQueue&) { return false; }, "full() -> bool")
      .def_property_readonly(
          "maxsize", [](const RawQueue&) { return 0; }, "-> int\n\n0: unbounded.")
      .def(
          "put",
          [](RawQueue& queue, const py::object& item, bool, const std::optional<double>&) { queue.put(bytesOf(item)); },
          py::arg("item"), py::arg("block") = true, py::arg("timeout") = py::none(),
          "put(item: bytes, block: bool = True, timeout: float | None = None) -> None")
      .def(
          "get",
          [](RawQueue& queue, bool block, const std::optional<double>& timeout) {
            const Deadline deadline = blockingDeadline(block, timeout);
            std::optional<RawItem> item;
            {
              const Unlocked unlocked;
              while (!(item = queue.take()) && queue.waitForSize(1, deadline)) {
              }
            }
            if (!item) {
              throwQueue("Empty");
            }
            return makeBytes(item->bytes);
          },
          py::arg("block") = true, py::arg("timeout") = py::none(),
          "get(block: bool = True, timeout: float | None = None) -> bytes\n\nTakes the oldest item; raises queue.Empty "
          "when none came in time.");
  defineQueue(cls);
}

void bindSampleQueue(py::module_& module) {
  bindSignalQueue<SampleQueue>(
      module, "SampleQueue", "Decoded samples, each a list of volts, oldest first: a bounded queue.Queue.",
      {"samples", "list[float]"},
      [](const py::handle& item) {
        auto sample = item.cast<std::vector<double>>();
        if (sample.empty()) {
          throw py::value_error("a sample has at least one channel");
        }
        return sample;
      },
      [](const std::vector<double>& sample) { return py::cast(sample); });
}

template <class Pool, class MakeKey, class FromKey>
void bindEntryPool(py::module_& module, const char* name, const char* doc, MakeKey make_key, FromKey from_key) {
  py::class_<Pool> cls(module, name, doc);
  cls.def("__len__", [](const Pool& pool) { return pool.entries().size(); })
      .def("__contains__",
           [=](const Pool& pool, const py::object& key) {
             const auto wanted = keyOrNothing([&] { return from_key(key); });
             return wanted && pool.contains(*wanted);
           })
      .def(
          "get",
          [=](Pool& pool, const py::object& key, const py::object& fallback) {
            const auto wanted = from_key(key);
            return pool.contains(wanted) ? py::cast(pool.at(wanted)) : fallback;
          },
          py::arg("key"), py::arg("default") = py::none(),
          "get(key, default: object = None) -> object\n\nThe entry, if there is one already.")
      .def("__getitem__", [=](Pool& pool, const py::object& key) { return pool.at(from_key(key)); })
      .def("__delitem__",
           [=](Pool& pool, const py::object& key) {
             if (!pool.erase(from_key(key))) {
               missing(key);
             }
           })
      .def("__iter__",
           [=](const Pool& pool) {
             py::list keys;
             for (const auto& [key, entry] : pool.entries()) {
               keys.append(make_key(key));
             }
             return py::iter(keys);
           })
      .def(
          "keys",
          [=](const Pool& pool) {
            py::list keys;
            for (const auto& [key, entry] : pool.entries()) {
              keys.append(make_key(key));
            }
            return keys;
          },
          "keys() -> list")
      .def(
          "items",
          [=](const Pool& pool) {
            py::list items;
            for (const auto& [key, entry] : pool.entries()) {
              items.append(py::make_tuple(make_key(key), entry));
            }
            return items;
          },
          "items() -> list");
  adopt(cls, "Mapping", {"values", "__eq__"});
}

void bindAnswerSet(py::module_& module) {
  const auto snapshot = [](const AnswerSet& answers) {
    py::set set;
    for (const Bytes& answer : answers.snapshot()) {
      set.add(makeBytes(answer));
    }
    return set;
  };
  py::class_<AnswerSet, std::shared_ptr<AnswerSet>> cls(module, "AnswerSet",
                                                        "Distinct answers to a broadcast, as bytes: a set.");
  cls.def("__len__", [](const AnswerSet& answers) { return answers.snapshot().size(); })
      .def("__contains__",
           [](const AnswerSet& answers, const py::object& answer) {
             const auto wanted = keyOrNothing([&] { return bytesOf(answer); });
             return wanted && answers.snapshot().contains(*wanted);
           })
      .def("__iter__", [snapshot](const AnswerSet& answers) { return py::iter(snapshot(answers)); })
      .def("__eq__",
           [snapshot](const AnswerSet& answers, const py::object& other) { return snapshot(answers).equal(other); })
      .def(
          "add", [](AnswerSet& answers, const py::object& answer) { answers.add(bytesOf(answer)); }, py::arg("answer"),
          "add(answer: bytes) -> None")
      .def("clear", &AnswerSet::clear, "clear() -> None")
      .def("__repr__", [snapshot](const AnswerSet& answers) {
        return "AnswerSet(" + py::repr(snapshot(answers)).cast<std::string>() + ")";
      });
  // What comes of two sets is a plain one.
  cls.def_static(
      "_from_iterable", [](const py::iterable& answers) { return py::set(answers); }, py::arg("answers"),
      "_from_iterable(answers: Iterable[bytes]) -> set[bytes]");
  adopt(cls, "Set",
        {"__le__", "__lt__", "__ge__", "__gt__", "__and__", "__rand__", "__or__", "__ror__", "__sub__", "__rsub__",
         "__xor__", "__rxor__", "isdisjoint"});
}

void bindGate(py::module_& module) {
  const auto acquire = [](Gate& gate, bool blocking, double timeout) {
    const Unlocked unlocked;
    return gate.acquire(blocking ? (timeout < 0 ? Deadline() : deadlineAfter(timeout)) : deadlineAfter(0));
  };
  const auto release = [](Gate& gate) {
    if (!gate.release()) {
      throw std::runtime_error("release unlocked lock");
    }
  };
  py::class_<Gate, std::shared_ptr<Gate>>(module, "Gate", "A lock that parks a thread while its owner holds it.")
      .def("acquire", acquire, py::arg("blocking") = true, py::arg("timeout") = -1.0,
           "acquire(blocking: bool = True, timeout: float = -1) -> bool\n\nCloses the gate; False when it stayed held.")
      .def("release", release, "release() -> None\n\nOpens the gate; RuntimeError when it is open.")
      .def("locked", &Gate::locked, "locked() -> bool\n\nWhether the gate is closed.")
      .def("__enter__", [acquire](Gate& gate) { return acquire(gate, true, -1); })
      .def("__exit__", [release](Gate& gate, const py::args&) { release(gate); });
}

void bindWorker(py::module_& module) {
  py::class_<Worker>(module, "Worker", "A thread of the driver. It ends when its device is closed.")
      .def("is_alive", &Worker::alive, "is_alive() -> bool\n\nWhether the thread runs or waits at its gate.")
      .def(
          "join",
          [](Worker& worker, const std::optional<double>& timeout) {
            const Unlocked unlocked;
            worker.join(timeout ? deadlineAfter(*timeout) : Deadline());
          },
          py::arg("timeout") = py::none(),
          "join(timeout: float | None = None) -> None\n\nWaits until the thread has ended.")
      .def_property_readonly("name", &Worker::name, "-> str")
      .def_property_readonly(
          "daemon", [](const Worker&) { return false; }, "-> bool");
}

}  // namespace

Deadline blockingDeadline(bool block, const std::optional<double>& timeout) {
  if (!block) {
    return deadlineAfter(0);
  }
  if (!timeout) {
    return std::nullopt;
  }
  if (*timeout < 0) {
    throw py::value_error("'timeout' must be a non-negative number");
  }
  return deadlineAfter(*timeout);
}

void throwQueue(const char* name) {
  throwPython(py::module_::import("queue").attr(name)());
}

py::bytes makeBytes(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Bytes bytesOf(const py::handle& value) {
  if (isBuffer(value, 1)) {
    const auto text = owned(PyBytes_FromObject(value.ptr()));
    const auto* data = reinterpret_cast<const std::uint8_t*>(PyBytes_AS_STRING(text.ptr()));
    return {data, data + PyBytes_GET_SIZE(text.ptr())};
  }
  if (PySequence_Check(value.ptr()) == 0 || PyUnicode_Check(value.ptr()) != 0) {
    return checkedByteList(makeArgument(value), "data");
  }
  const auto items = owned(PySequence_List(value.ptr()));
  py::list numbers;
  for (const py::handle item : items) {  // whatever stands for an int, as numpy's do
    numbers.append(PyIndex_Check(item.ptr()) != 0 ? owned(PyNumber_Index(item.ptr()))
                                                  : py::reinterpret_borrow<py::object>(item));
  }
  return checkedByteList(makeArgument(numbers), "data");
}

void bindPools(py::module_& module) {
  bindReplyPool(module);
  bindRawQueue(module);
  bindSampleQueue(module);
  bindAnswerSet(module);
  bindGate(module);
  bindWorker(module);
  bindEntryPool<StreamPool>(
      module, "StreamPool", "Raw queues by (command code, port), made when they are first asked for.",
      [](const StreamKey& key) { return py::make_tuple(key.first, key.second); },
      [](const py::object& key) {
        if (!py::isinstance<py::tuple>(key) || py::len(key) != 2) {
          fail(ErrorId::InputTypeNotCorrectError, "the key of a stream is a tuple (command code, port)");
        }
        const py::tuple pair = key;
        return StreamKey{checkedRange(makeArgument(pair[0]), "command code", 0, 0xFFFF),
                         checkedRange(makeArgument(pair[1]), "port", 0, 255)};
      });
  bindEntryPool<BroadcastPool>(
      module, "BroadcastPool", "Sets of answers by command code, made when they are first asked for.",
      [](int key) { return py::int_(key); },
      [](const py::object& key) { return checkedRange(makeArgument(key), "command code", 0, 0xFFFF); });
}

}  // namespace qvx::binding
