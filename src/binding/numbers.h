// Numbers of Python's at the border: any object that stands for one, and the library's own errors for those that don't.
// Everything here needs the interpreter's lock.
#pragma once

#include "binding/bindings.h"
#include "core/errors.h"

namespace qvx::binding {

// Calls `body` so that a TypeError of Python's becomes the library's own.
template <class Body>
auto withOwnTypeError(const Body& body) {
  try {
    return body();
  } catch (const py::error_already_set& error) {
    if (!error.matches(PyExc_TypeError)) {
      throw;
    }
  }
  fail(ErrorId::InputTypeNotCorrectError);
}

// The same for a whole function.
template <class Result, class... Arguments>
auto typed(Result (*function)(Arguments...)) {
  return [function](Arguments... arguments) -> Result {
    return withOwnTypeError([&]() -> Result { return function(arguments...); });
  };
}

inline py::object owned(PyObject* result) {
  if (result == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::object>(result);
}

// Any object that stands for an int (numpy's do), as a Python int.
inline py::int_ toInt(const py::handle& value) {
  return owned(PyNumber_Index(value.ptr()));
}

inline py::ssize_t toSize(const py::handle& value) {
  const py::ssize_t size = PyNumber_AsSsize_t(value.ptr(), PyExc_OverflowError);
  if (size == -1 && PyErr_Occurred() != nullptr) {
    throw py::error_already_set();
  }
  return size;
}

inline double toReal(const py::handle& value) {
  const double number = PyFloat_AsDouble(value.ptr());
  if (number == -1.0 && PyErr_Occurred() != nullptr) {
    const py::error_already_set error;
    if (error.matches(PyExc_OverflowError)) {
      fail(ErrorId::InputDataNotInRangeError);
    }
    throw error;
  }
  return number;
}

}  // namespace qvx::binding
