#include "core/convert.h"

#include "binding/bindings.h"
#include "binding/numbers.h"

#include <string>
#include <type_traits>
#include <utility>

namespace qvx::binding {

namespace {

template <std::integral T>
T toWireInt(const py::handle& value) {
  if (PyIndex_Check(value.ptr()) == 0) {
    return truncateTo<T>(toReal(value));
  }
  const py::int_ number = toInt(value);
  int overflow = 0;
  const long long narrow = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
  if (overflow == 0 && std::in_range<T>(narrow)) {
    return static_cast<T>(narrow);
  }
  if (std::is_same_v<T, std::uint64_t> && overflow > 0) {
    const unsigned long long wide = PyLong_AsUnsignedLongLong(number.ptr());
    if (PyErr_Occurred() == nullptr) {
      return static_cast<T>(wide);
    }
    PyErr_Clear();
  }
  fail(ErrorId::InputDataNotInRangeError);
}

template <WireNumber T>
T toWire(const py::handle& value) {
  if constexpr (std::is_integral_v<T>) {
    return toWireInt<T>(value);
  } else {
    return static_cast<T>(toReal(value));  // beyond binary32 this is an infinity
  }
}

// A list, bytes or another sequence of ints 0..255.
Bytes toBytes(const py::object& values) {
  if (PySequence_Check(values.ptr()) == 0 || PyUnicode_Check(values.ptr()) != 0) {
    fail(ErrorId::InputTypeNotCorrectError);
  }
  Bytes bytes;
  for (const py::handle item : owned(PySequence_Fast(values.ptr(), "a sequence is needed"))) {
    bytes.push_back(toWireInt<std::uint8_t>(toInt(item)));
  }
  return bytes;
}

template <class Values>
py::list toList(const Values& values) {
  py::list list;
  for (const auto value : values) {
    list.append(value);
  }
  return list;
}

std::string toText(const py::object& value) {
  if (PyUnicode_Check(value.ptr()) == 0) {
    fail(ErrorId::InputTypeNotCorrectError);
  }
  py::ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (text == nullptr) {
    PyErr_Clear();  // a lone surrogate
    fail(ErrorId::InputDataNotInRangeError);
  }
  return {text, static_cast<std::size_t>(size)};
}

// Numbers <-> bytes.

template <WireNumber T>
py::object fromBytes(const py::object& int_list) {
  const Bytes bytes = toBytes(int_list);
  if (bytes.size() != sizeof(T)) {
    fail(ErrorId::InputDataNotInRangeError);
  }
  return py::cast(readBig<T>(bytes));
}

template <WireNumber T>
py::list intoBytes(const py::object& value) {
  Bytes bytes;
  appendBig(bytes, toWire<T>(value));
  return toList(bytes);
}

template <WireNumber T>
void bindNumber(py::module_& module, const char* from, const char* into, const std::string& kind) {
  const std::string type = std::is_integral_v<T> ? "int" : "float";
  const std::string size = std::to_string(sizeof(T));
  const std::string from_doc = std::string(from) + "(int_list: list[int]) -> " + type + "\n\nThe " + kind + " in " +
                               size + (sizeof(T) == 1 ? " byte" : " bytes") + ", most significant first.";
  const std::string limit = std::is_integral_v<T>
                                ? "A float is truncated toward zero; a value that does not fit raises "
                                  "InputDataNotInRangeError."
                                : "A value beyond the largest finite one becomes an infinity.";
  const std::string into_doc = std::string(into) + "(value: float) -> list[int]\n\n`value` as a " + kind + " in " +
                               size + " bytes, most significant first.\n" + limit;
  module.def(from, typed(&fromBytes<T>), py::arg("int_list"), from_doc.c_str());
  module.def(into, typed(&intoBytes<T>), py::arg("value"), into_doc.c_str());
}

void bindNumbers(py::module_& module) {
  bindNumber<std::uint16_t>(module, "convert2U8ToU16", "convertU16To2U8", "16-bit unsigned int");
  bindNumber<std::uint32_t>(module, "convert4U8ToU32", "convertU32To4U8", "32-bit unsigned int");
  bindNumber<std::uint64_t>(module, "convert8U8ToU64", "convertU64To8U8", "64-bit unsigned int");
  bindNumber<std::int16_t>(module, "convert2U8ToI16", "convertI16To2U8", "16-bit signed int");
  bindNumber<std::int32_t>(module, "convert4U8ToI32", "convertI32To4U8", "32-bit signed int");
  bindNumber<std::int64_t>(module, "convert8U8ToI64", "convertI64To8U8", "64-bit signed int");
  bindNumber<float>(module, "convert4U8ToF32", "convertF32To4U8", "binary32 float");
  bindNumber<double>(module, "convert8U8ToF64", "convertF64To8U8", "binary64 float");
}

// Angles, texts and addresses.

double degToRad(const py::object& degrees) {
  return convertDegToRad(toReal(degrees));
}

double radToDeg(const py::object& radians) {
  return convertRadToDeg(toReal(radians));
}

py::object bytesToText(const py::object& int_list) {
  const std::string text = convertU8ListToStr(toBytes(int_list));
  return owned(PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "strict"));
}

// Not by way of UTF-8: a Python text may hold lone surrogates, which are code points like any other here.
py::list textToPoints(const py::object& text) {
  if (PyUnicode_Check(text.ptr()) == 0) {
    fail(ErrorId::InputTypeNotCorrectError);
  }
  py::list points;
  for (py::ssize_t i = 0; i < PyUnicode_GET_LENGTH(text.ptr()); ++i) {
    points.append(static_cast<std::uint32_t>(PyUnicode_READ_CHAR(text.ptr(), i)));
  }
  return points;
}

py::list ipToBytes(const py::object& value) {
  return toList(convertIPAddrTo4U8(toText(value)));
}

py::list macToBytes(const py::object& text) {
  return toList(convertMACAddrTo6U8(toText(text)));
}

void bindTexts(py::module_& module) {
  module.def("convertDegToRad", typed(degToRad), py::arg("degrees"),
             "convertDegToRad(degrees: float) -> float\n\nDegrees as radians.");
  module.def("convertRadToDeg", typed(radToDeg), py::arg("radians"),
             "convertRadToDeg(radians: float) -> float\n\nRadians as degrees.");
  module.def("convertU8ListToStr", typed(bytesToText), py::arg("int_list"),
             "convertU8ListToStr(int_list: list[int]) -> str\n\n"
             "The UTF-8 text in `int_list`, up to its first NUL. Bytes that are not UTF-8 raise UnicodeDecodeError.");
  module.def("convertStrToU8List", textToPoints, py::arg("str_"),
             "convertStrToU8List(str_: str) -> list[int]\n\n"
             "The code point of each character; above 255 outside Latin-1. No terminator is added.");
  module.def("convertIPAddrTo4U8", ipToBytes, py::arg("value"),
             "convertIPAddrTo4U8(value: str) -> list[int]\n\n"
             "The four octets of a dotted IPv4 address in written order. The forms of inet_aton are accepted, others\n"
             "raise InputDataNotInRangeError.");
  module.def("convertMACAddrTo6U8", macToBytes, py::arg("str_"),
             "convertMACAddrTo6U8(str_: str) -> list[int]\n\n"
             "The base-16 numbers between the colons of `str_`, as many as there are. A malformed one raises\n"
             "InputDataNotInRangeError.");
}

}  // namespace

void bindConvert(py::module_& module) {
  py::options options;
  options.disable_function_signatures();
  bindNumbers(module);
  bindTexts(module);
}

}  // namespace qvx::binding
