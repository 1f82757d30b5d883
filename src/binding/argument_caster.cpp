#include "binding/argument_caster.h"

namespace qvx::binding {
namespace py = pybind11;
namespace {

Argument makeInt(PyObject* object) {
  int overflow = 0;
  const long long value = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) {
    return Argument::hugeInt(overflow < 0);
  }
  return PyLong_CheckExact(object) ? Argument(static_cast<std::int64_t>(value))
                                   : Argument::intOf(value, Py_TYPE(object)->tp_name);
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

template <class Size, class Item>
Argument makeList(PyObject* object, Size size, Item item) {
  std::vector<Argument> items;
  const auto count = static_cast<std::size_t>(size(object));
  items.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    items.push_back(item(static_cast<Py_ssize_t>(i)));
  }
  return {std::move(items), Py_TYPE(object)->tp_name};
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
  if (PyList_Check(object) && depth < kDeepest) {
    return makeList(object, PyList_Size,
                    [&](Py_ssize_t i) { return makeNested(PyList_GET_ITEM(object, i), depth + 1); });
  }
  if (PyTuple_Check(object) && depth < kDeepest) {
    return makeList(object, PyTuple_Size,
                    [&](Py_ssize_t i) { return makeNested(PyTuple_GET_ITEM(object, i), depth + 1); });
  }
  if (PyBytes_Check(object)) {
    const char* bytes = PyBytes_AS_STRING(object);
    return makeList(object, PyBytes_Size,
                    [&](Py_ssize_t i) { return Argument(static_cast<int>(static_cast<unsigned char>(bytes[i]))); });
  }
  if (PyByteArray_Check(object)) {
    const char* bytes = PyByteArray_AS_STRING(object);
    return makeList(object, PyByteArray_Size,
                    [&](Py_ssize_t i) { return Argument(static_cast<int>(static_cast<unsigned char>(bytes[i]))); });
  }
  return Argument::other(Py_TYPE(object)->tp_name);
}

}  // namespace

Argument makeArgument(py::handle value) {
  return makeNested(value.ptr(), 0);
}

}  // namespace qvx::binding
