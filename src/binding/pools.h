// Bytes between C++ and Python, and the classes of the pools.
#pragma once

#include "binding/bindings.h"
#include "core/bytes.h"
#include "protocol/signal_queue.h"

#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qvx::binding {

py::bytes makeBytes(ByteView bytes);
// Takes bytes, bytearray, memoryview, or a list of ints 0..255.
Bytes bytesOf(const py::handle& value);

void bindPools(py::module_& module);

// Python's own rule for `block` and `timeout`: nothing is waited for, forever, or for so many seconds.
Deadline blockingDeadline(bool block, const std::optional<double>& timeout);
// Raises queue.Empty or queue.Full.
[[noreturn]] void throwQueue(const char* name);

// The methods that every queue shares with queue.Queue, and that follow from qsize, get and put.
template <class Class>
void defineQueue(Class& cls) {
  cls.def(
      "empty", [](const py::object& self) { return self.attr("qsize")().template cast<std::size_t>() == 0; },
      "empty() -> bool\n\nWhether nothing is queued.");
  cls.def(
      "get_nowait", [](const py::object& self) { return self.attr("get")(false); },
      "get_nowait() -> object\n\nTakes the oldest entry; raises queue.Empty when there is none.");
  cls.def(
      "put_nowait", [](const py::object& self, const py::object& item) { self.attr("put")(item); }, py::arg("item"),
      "put_nowait(item) -> None\n\nAppends an entry; raises queue.Full when a bounded queue is full.");
  cls.def("__len__", [](const py::object& self) { return self.attr("qsize")().template cast<std::size_t>(); });
}

// What the docstrings of a queue call its entries, and their type in Python.
struct QueueTexts {
  std::string entries;
  std::string type;
};

// The class of a bounded queue between a decoder and the application. `read` makes the values of one row of a Python
// object, `make` a Python object of them.
template <class Queue, class Read, class Make>
void bindSignalQueue(py::module_& module, const char* name, const char* doc, const QueueTexts& texts, Read read,
                     Make make) {
  py::class_<Queue, std::shared_ptr<Queue>> cls(module, name, doc);
  cls.def("qsize", &Queue::size, ("qsize() -> int\n\nHow many " + texts.entries + " are queued.").c_str())
      .def(
          "full", [](const Queue& queue) { return queue.size() >= queue.capacity(); }, "full() -> bool")
      .def_property_readonly("maxsize", &Queue::capacity, ("-> int\n\nHow many " + texts.entries + " fit.").c_str())
      .def_property_readonly(
          "dropped", &Queue::dropped,
          ("-> int\n\nHow many " + texts.entries + " were dropped so far because the queue was full.").c_str())
      .def(
          "put",
          [read](Queue& queue, const py::object& item, bool, const std::optional<double>&) {
            if (!queue.tryPut(read(item))) {
              throwQueue("Full");
            }
          },
          py::arg("item"), py::arg("block") = true, py::arg("timeout") = py::none(),
          ("put(item: " + texts.type +
           ", block: bool = True, timeout: float | None = None) -> None\n\nNever waits: raises queue.Full.")
              .c_str())
      .def(
          "get",
          [make](Queue& queue, bool block, const std::optional<double>& timeout) {
            const Deadline deadline = blockingDeadline(block, timeout);
            decltype(queue.take(1)) taken;
            {
              const Unlocked unlocked;
              while ((taken = queue.take(1)).empty() && queue.waitForSize(1, deadline)) {
              }
            }
            if (taken.empty()) {
              throwQueue("Empty");
            }
            return make(taken.front().values);
          },
          py::arg("block") = true, py::arg("timeout") = py::none(),
          ("get(block: bool = True, timeout: float | None = None) -> " + texts.type +
           "\n\nTakes the oldest entry; raises queue.Empty when none came in time.")
              .c_str());
  defineQueue(cls);
}

}  // namespace qvx::binding
