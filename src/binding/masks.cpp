#include "binding/bindings.h"
#include "binding/numbers.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace qvx::binding {

namespace {

// Bits of ints of any size.

py::object bitAt(const py::handle& index) {
  return py::int_(1) << toInt(index);
}

py::object clearPyBit(const py::object& number, const py::object& index) {
  return toInt(number) & ~bitAt(index);
}

py::object fillPyBit(const py::object& number, const py::object& index) {
  return toInt(number) | bitAt(index);
}

py::object readPyBit(const py::object& number, const py::object& index) {
  return (toInt(number) >> toInt(index)) & py::int_(1);
}

py::object writePyBit(const py::object& number, const py::object& index, const py::object& value) {
  if (value.equal(py::int_(0))) {
    return clearPyBit(number, index);
  }
  return value.equal(py::int_(1)) ? fillPyBit(number, index) : py::none();
}

// Calls visit(i) for every set bit i of a number that is not negative. One conversion of the whole number keeps this
// linear in its size.
template <class Visit>
void forEachBit(const py::object& number, const Visit& visit) {
  const auto digits = py::cast<std::string>(owned(PyNumber_ToBase(number.ptr(), 2)));  // "0b101"
  const std::size_t last = digits.size() - 1;
  for (std::size_t i = 0; i + 2 < digits.size(); ++i) {
    if (digits[last - i] == '1') {
      visit(i);
    }
  }
}

py::list toBinaryList(const py::object& value_int, const py::object& width) {
  const py::int_ value = toInt(value_int);
  const py::ssize_t size = std::max<py::ssize_t>(toSize(width), 0);
  py::list bits(static_cast<std::size_t>(size));
  for (py::ssize_t i = 0; i < size; ++i) {
    bits[static_cast<std::size_t>(i)] = 0;
  }
  const py::object mask = (py::int_(1) << py::int_(size)) - py::int_(1);
  forEachBit(value & mask, [&bits](std::size_t i) { bits[i] = 1; });
  return bits;
}

py::list toIndexList(const py::object& value_int) {
  const py::int_ value = toInt(value_int);
  if (value < py::int_(0)) {
    fail(ErrorId::InputDataNotInRangeError);  // its set bits never end
  }
  py::list indexes;
  forEachBit(value, [&indexes](std::size_t i) { indexes.append(i); });
  return indexes;
}

py::object fromIndexList(const py::object& index_list) {
  py::object value = py::int_(0);
  for (const py::handle index : index_list) {
    value = value | bitAt(index);
  }
  return value;
}

py::list coerceItems(const py::object& list, const py::object& lower, const py::object& upper) {
  py::list clipped;
  for (const py::handle item : list) {
    const auto raised = item < lower ? lower : py::reinterpret_borrow<py::object>(item);
    clipped.append(raised > upper ? upper : raised);
  }
  return clipped;
}

py::object fromIndexAndBinaryLists(const py::object& index_list, const py::object& binary_list) {
  const py::list bits = coerceItems(binary_list, py::int_(0), py::int_(1));
  py::object value = py::int_(0);
  std::size_t i = 0;
  for (const py::handle index : index_list) {
    if (i == bits.size()) {
      break;
    }
    value = value | (toInt(bits[i++]) << toInt(index));
  }
  return value;
}

void bindBits(py::module_& module) {
  module.def("clearBit", typed(clearPyBit), py::arg("number"), py::arg("index"),
             "clearBit(number: int, index: int) -> int\n\n`number` with bit `index` cleared; bit 0 is the lowest.");
  module.def("fillBit", typed(fillPyBit), py::arg("number"), py::arg("index"),
             "fillBit(number: int, index: int) -> int\n\n`number` with bit `index` set; bit 0 is the lowest.");
  module.def("readBit", typed(readPyBit), py::arg("number"), py::arg("index"),
             "readBit(number: int, index: int) -> int\n\nBit `index` of `number`, 0 or 1; bit 0 is the lowest.");
  module.def("writeBit", typed(writePyBit), py::arg("number"), py::arg("index"), py::arg("value"),
             "writeBit(number: int, index: int, value: int) -> int | None\n\n"
             "`number` with bit `index` cleared or set as `value` is 0 or 1; None for any other `value`.");
  module.def("convertIntToBinaryList", typed(toBinaryList), py::arg("value_int"), py::arg("width"),
             "convertIntToBinaryList(value_int: int, width: int) -> list[int]\n\n"
             "`width` elements 0 or 1, the lowest bit first.");
  module.def("convertIntToIndexList", typed(toIndexList), py::arg("value_int"),
             "convertIntToIndexList(value_int: int) -> list[int]\n\n"
             "The positions of the set bits, ascending. A negative number raises InputDataNotInRangeError.");
  module.def(
      "convertIndexListToInt", typed(fromIndexList), py::arg("index_list"),
      "convertIndexListToInt(index_list: list[int]) -> int\n\nThe number whose bits at these positions are set.");
  module.def("convertIndexAndBinaryListsToInt", typed(fromIndexAndBinaryLists), py::arg("index_list"),
             py::arg("binary_list"),
             "convertIndexAndBinaryListsToInt(index_list: list[int], binary_list: list[int]) -> int\n\n"
             "The number whose bits at these positions have these values, each clipped into 0..1 first; 0 elsewhere.");
  module.def("coerce", typed(coerceItems), py::arg("list_"), py::arg("lower") = 0, py::arg("upper") = 1,
             "coerce(list_: list[float], lower: float = 0, upper: float = 1) -> list[float]\n\n"
             "Each element clipped into lower..upper.");
}

// Lists and ports.

py::list adjustList(const py::object& data_list, const py::object& list_length, const py::object& padding_num) {
  py::list data(py::list(data_list).attr("copy")());
  for (py::ssize_t missing = toSize(list_length) - py::ssize_t(data.size()); missing > 0; --missing) {
    data.append(padding_num);
  }
  return data;
}

py::object toLUMAPort(const py::object& slot) {
  return slot - py::int_(1);
}

// Validators.

void checkType(const py::object& data, const py::object& correct_type) {
  const int matches = PyObject_IsInstance(data.ptr(), correct_type.ptr());
  if (matches < 0) {
    throw py::error_already_set();
  }
  if (matches == 0) {
    fail(ErrorId::InputTypeNotCorrectError);
  }
}

void checkSameType(const py::object& data, const py::object& data2) {
  if (!py::type::of(data).is(py::type::of(data2))) {
    fail(ErrorId::InputTypeNotConsistentError);
  }
}

bool allInRange(const py::object& items, const py::object& low, const py::object& high) {
  for (const py::handle item : items) {
    if (!(low <= item && item <= high)) {
      return false;
    }
  }
  return true;
}

void checkItems(const py::object& int_list, const py::object& low, const py::object& high, const py::object& msg) {
  if (!withOwnTypeError([&] { return allInRange(int_list, low, high); })) {
    throwPython(errorClass(ErrorId::InputDataNotInRangeError)(msg));
  }
}

bool checkCells(const py::object& cells, const py::object& allowed) {
  for (const py::handle cell : cells) {
    if (!allowed.contains(cell)) {
      return false;
    }
  }
  return true;
}

bool checkRows(const py::object& rows, const py::object& allowed) {
  for (const py::handle cells : rows) {
    if (!checkCells(py::reinterpret_borrow<py::object>(cells), allowed)) {
      return false;
    }
  }
  return true;
}

void bindChecks(py::module_& module) {
  module.def("adjustDataList", typed(adjustList), py::arg("data_list"), py::arg("list_length") = 8,
             py::arg("padding_num") = 0,
             "adjustDataList(data_list: list[int], list_length: int = 8, padding_num: int = 0) -> list[int]\n\n"
             "`data_list` padded at the end up to `list_length` elements; a longer list keeps them all.");
  module.def("changeToLUMAPort", typed(toLUMAPort), py::arg("slot"),
             "changeToLUMAPort(slot: int) -> int\n\nThe port of a LUMA slot: slots count from 1, ports from 0.");
  module.def("checkInputType", checkType, py::arg("data"), py::arg("correct_type"),
             "checkInputType(data: object, correct_type: type) -> None\n\n"
             "Raises InputTypeNotCorrectError unless isinstance(data, correct_type).");
  module.def("checkInputTypeConsistent", checkSameType, py::arg("data"), py::arg("data2"),
             "checkInputTypeConsistent(data: object, data2: object) -> None\n\n"
             "Raises InputTypeNotConsistentError unless both are of exactly the same type.");
  module.def("checkEachItemInRange", checkItems, py::arg("int_list"), py::arg("low") = 0, py::arg("high") = 255,
             py::arg("msg") = py::none(),
             "checkEachItemInRange(int_list: list[int], low: int = 0, high: int = 255, msg: str | None = None) -> None"
             "\n\nRaises InputDataNotInRangeError with `msg` unless every item is in low..high.");
  module.def("checkFuncPinMap", typed(checkCells), py::arg("pinmap_list"), py::arg("allow_state_list"),
             "checkFuncPinMap(pinmap_list: list[int], allow_state_list: list[int]) -> bool\n\n"
             "Whether every cell of `pinmap_list` is in `allow_state_list`.");
  module.def("checkPinMap", typed(checkRows), py::arg("pinmap_list"), py::arg("allow_state_list"),
             "checkPinMap(pinmap_list: list[list[int]], allow_state_list: list[int]) -> bool\n\n"
             "Whether every cell of every row of `pinmap_list` is in `allow_state_list`.");
}

}  // namespace

void bindMasks(py::module_& module) {
  py::options options;
  options.disable_function_signatures();
  bindBits(module);
  bindChecks(module);
}

}  // namespace qvx::binding
