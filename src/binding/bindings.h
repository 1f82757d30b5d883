// What the files of the binding offer each other and the module's initialiser.
#pragma once

#include "core/errors.h"

#include <pybind11/pybind11.h>

#include <cxxabi.h>

#include <exception>

namespace py = pybind11;

namespace qvx::binding {

// While it lives the thread runs without the interpreter's lock. A thread that comes back when the interpreter is
// ending sleeps until the process is gone (unwinding.cpp).
class Unlocked {
 public:
  Unlocked() : state_(PyEval_SaveThread()) {}
  ~Unlocked() { PyEval_RestoreThread(state_); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  PyThreadState* state_;
};

// While it lives the thread, of Python or not, holds the interpreter's lock; with the same care.
class Locked {
 public:
  Locked() : state_(PyGILState_Ensure()) {}
  ~Locked() { PyGILState_Release(state_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  PyGILState_STATE state_;
};

// Each adds its names to the module. bindErrors comes first: the others raise its classes.
void bindErrors(py::module_& module);
void bindConstants(py::module_& module);
void bindConvert(py::module_& module);
void bindMasks(py::module_& module);

// Makes the interpreter the core's host: text goes to Python's sys.stdout, warnings to Python's, waits on the main
// thread end on Ctrl-C.
void installHost(py::module_& module);

// The functions below need the interpreter's lock.

py::object errorClass(ErrorId id);
// The Python object of a failure, built as `cls()` or `cls(message)`. Constructing a warning class reports it; when a
// warnings filter turns that into an exception, the exception is thrown.
py::object makeError(const Failure& failure);
// Raises a Python exception object.
[[noreturn]] void throwPython(const py::object& error);
// print(line) in one write to Python's sys.stdout, so that the lines of several threads do not mix.
void printLine(const py::str& line);
// Python's error from what C++ threw.
void setError(const std::exception_ptr& thrown);
// Calls C++ for Python without pybind11: what it throws becomes Python's error.
template <class Result, class Call>
Result guarded(Result on_error, const Call& call) {
  try {
    return call();
  } catch (const abi::__forced_unwind&) {
    throw;  // the thread is being ended
  } catch (...) {
    setError(std::current_exception());
    return on_error;
  }
}
// A function as a PyType_Slot takes it.
template <class Function>
void* slot(Function* function) {
  return reinterpret_cast<void*>(function);
}
// Tells the logger "pyqvx", if the application has given it or its parents a handler.
void log(const char* level, const py::str& line);
// "ClassName: text of the error".
py::str textOfError(const py::object& error);

}  // namespace qvx::binding
