#include "core/host.h"

#include "binding/bindings.h"
#include "runtime/fiber.h"

#include <utility>

namespace qvx::binding {

namespace {

// The core's window on the interpreter. Lives as long as the process; any thread, each call takes the interpreter's
// lock for itself. An exception of Python propagates on a thread that runs Python; elsewhere nobody could receive it,
// and it goes to sys.unraisablehook.
class InterpreterHost : public Host {
 public:
  explicit InterpreterHost(unsigned long main_thread) : main_thread_(main_thread) {}

  void print(const std::string& line) override {
    // What a device calls itself need not be UTF-8.
    const auto work = [&line] {
      const auto text = py::reinterpret_steal<py::str>(
          PyUnicode_DecodeUTF8(line.data(), static_cast<py::ssize_t>(line.size()), "replace"));
      if (!text) {
        throw py::error_already_set();
      }
      printLine(text);
      log("info", text);
    };
    if (!withInterpreter(work)) {
      Host::print(line);
    }
  }

  void reportFailure(const Failure& failure, bool printed) override {
    const auto work = [&failure, printed] {
      const py::str text = textOfError(makeError(failure));
      if (printed) {
        printLine(text);
      }
      log("error", text);
    };
    if (!withInterpreter(work)) {
      Host::reportFailure(failure, printed);
    }
  }

  void warn(ErrorId id, const std::optional<std::string>& message) override {
    if (!withInterpreter([&] { makeError(Failure(id, message)); })) {
      Host::warn(id, message);
    }
  }

  // Signals are handled on the main thread alone.
  bool interruptible() override { return PyThread_get_thread_ident() == main_thread_; }

  void checkInterrupt() override {
    const Locked lock;
    if (PyErr_CheckSignals() != 0) {
      throw py::error_already_set();
    }
  }

 private:
  // False when the interpreter is ending: a thread that asked for its lock then would never come back.
  template <class Work>
  static bool withInterpreter(const Work& work) {
    if (Py_IsInitialized() == 0 || _Py_IsFinalizing() != 0) {
      return false;
    }
    // A coroutine's stack is too small for Python.
    Fiber::outside([&work] {
      const bool runs_python = PyGILState_GetThisThreadState() != nullptr;
      const Locked lock;
      try {
        work();
      } catch (py::error_already_set& error) {
        if (runs_python) {
          throw;
        }
        error.discard_as_unraisable("pyqvx");
      }
    });
    return true;
  }

  const unsigned long main_thread_;
};

}  // namespace

void installHost(py::module_& /*module*/) {
  const py::object main = py::module_::import("threading").attr("main_thread")();
  // Never destroyed: threads may report until the process ends.
  setHost(new InterpreterHost(py::cast<unsigned long>(main.attr("ident"))));
}

}  // namespace qvx::binding
