#include "binding/argument_caster.h"

#include <optional>
#include <string_view>
#include <utility>

namespace qvx::binding {
namespace py = pybind11;
namespace {

Argument makeInt(PyObject* object) {
  int overflow = 0;
  const long long value = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) {
    return Argument::hugeInt(overflow < 0);
  }
  return PyBool_Check(object) ? Argument::intOf(value, "bool") : Argument(static_cast<std::int64_t>(value));
}

// Lists within lists: no operation takes more, and a list may contain itself.
constexpr int kDeepest = 4;

Argument makeText(PyObject* object) {
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(object, &size);
  if (text == nullptr) {
    PyErr_Clear();  // lone surrogates: no text that can be sent
    return Argument::other("str with lone surrogates");
  }
  return {std::string(text, static_cast<std::size_t>(size))};
}

py::object taken(PyObject* made) {
  if (made == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::object>(made);
}

// What a conversion that a type offers has come to; nothing where it refuses, as a numpy array of several items does.
template <class Convert>
std::optional<Argument> attempt(Convert convert) {
  try {
    return convert();
  } catch (const py::error_already_set& error) {
    if (!error.matches(PyExc_TypeError) && !error.matches(PyExc_ValueError)) {
      throw;
    }
  }
  return std::nullopt;
}

// A plain int or float, which need no Argument of their own.
std::optional<Argument::Number> plainNumber(PyObject* object) {
  if (PyFloat_CheckExact(object)) {
    return Argument::Number{.real = PyFloat_AS_DOUBLE(object)};
  }
  if (PyLong_CheckExact(object)) {
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(object, &overflow);
    if (overflow == 0) {
      return Argument::Number{.integer = value, .is_int = true};
    }
  }
  return std::nullopt;
}

Argument makeNested(PyObject* object, int depth);

// Converting an item may run Python, which may change the list.
Argument makeList(PyObject* sequence, int depth) {
  const char* const type = Py_TYPE(sequence)->tp_name;
  const py::object list = taken(PySequence_Fast(sequence, "not a sequence"));
  std::vector<Argument::Number> numbers;
  numbers.reserve(static_cast<std::size_t>(PySequence_Fast_GET_SIZE(list.ptr())));
  std::vector<Argument> items;
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(list.ptr()); ++i) {
    const auto item = py::reinterpret_borrow<py::object>(PySequence_Fast_GET_ITEM(list.ptr(), i));
    if (const auto number = items.empty() ? plainNumber(item.ptr()) : std::nullopt) {
      numbers.push_back(*number);
      continue;
    }
    Argument made = makeNested(item.ptr(), depth + 1);
    if (items.empty() && made.isInt() && made.asText().empty()) {
      numbers.push_back({.integer = made.asInt(), .is_int = true});
    } else if (items.empty() && made.kind() == Argument::Kind::Float) {
      numbers.push_back({.real = made.asFloat()});
    } else {
      const Argument plain = Argument::numbers(std::exchange(numbers, {}));
      for (const Argument& earlier : plain.items()) {
        items.push_back(earlier);
      }
      items.push_back(std::move(made));
    }
  }
  return items.empty() ? Argument::numbers(std::move(numbers), type) : Argument(std::move(items), type);
}

bool isNumpyBool(PyObject* object) {
  const std::string_view name = Py_TYPE(object)->tp_name;
  return name == "numpy.bool_" || name == "numpy.bool";
}

// A complex number offers its real part as a float, with a warning.
bool isComplex(PyObject* object) {
  const std::string_view name = Py_TYPE(object)->tp_name;
  return PyComplex_Check(object) != 0 || name.find("complex") != std::string_view::npos;
}

// What is no number, text or sequence by itself, but stands for one.
std::optional<Argument> makeFromProtocol(PyObject* object, int depth) {
  const Py_ssize_t size = PySequence_Check(object) != 0 ? PySequence_Size(object) : -1;
  if (size >= 0 && depth < kDeepest) {
    return attempt([&] { return makeList(object, depth); });
  }
  PyErr_Clear();  // an array without dimensions has no size
  if (isNumpyBool(object)) {
    return Argument::intOf(PyObject_IsTrue(object), "bool");
  }
  if (PyIndex_Check(object) != 0) {
    if (auto number = attempt([&] { return makeInt(taken(PyNumber_Index(object)).ptr()); })) {
      return number;
    }
  }
  const PyNumberMethods* const methods = Py_TYPE(object)->tp_as_number;
  if (methods != nullptr && methods->nb_float != nullptr && !isComplex(object)) {
    return attempt([&] { return Argument(PyFloat_AS_DOUBLE(taken(PyNumber_Float(object)).ptr())); });
  }
  return std::nullopt;
}

Argument makeNested(PyObject* object, int depth) {
  if (object == Py_None) {
    return {};
  }
  if (PyLong_Check(object)) {
    return makeInt(object);
  }
  if (PyFloat_Check(object)) {
    return {PyFloat_AS_DOUBLE(object)};
  }
  if (PyUnicode_Check(object)) {
    return makeText(object);
  }
  if (PyBytes_Check(object)) {
    return Argument::data({reinterpret_cast<const std::uint8_t*>(PyBytes_AS_STRING(object)),
                           static_cast<std::size_t>(PyBytes_GET_SIZE(object))});
  }
  if (PyByteArray_Check(object)) {
    return Argument::data({reinterpret_cast<const std::uint8_t*>(PyByteArray_AS_STRING(object)),
                           static_cast<std::size_t>(PyByteArray_GET_SIZE(object))},
                          "bytearray");
  }
  if (PyMemoryView_Check(object) && PyMemoryView_GET_BUFFER(object)->itemsize == 1) {
    return makeNested(taken(PyBytes_FromObject(object)).ptr(), depth);
  }
  if ((PyList_Check(object) || PyTuple_Check(object)) && depth < kDeepest) {
    return makeList(object, depth);
  }
  return makeFromProtocol(object, depth).value_or(Argument::other(Py_TYPE(object)->tp_name));
}

}  // namespace

Argument makeArgument(py::handle value) {
  return makeNested(value.ptr(), 0);
}

}  // namespace qvx::binding
