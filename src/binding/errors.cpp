#include "core/errors.h"

#include "binding/bindings.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace qvx::binding {

namespace {

// References kept for the life of the process: failures are translated until the interpreter is gone.
py::handle the_module;
std::vector<py::handle> error_classes;  // indexed by ErrorId

constexpr const char* kErrorDoc =
    "Error(code: int, msg: str, *args, **kwargs)\n\n"
    "Base of every failure that this module raises. `code` is the class's number, `msg` its text.";
constexpr const char* kWarningDoc =
    "QVXWarning(code: int, msg: str, *args, **kwargs)\n\n"
    "Base of the conditions that are reported and may be raised as well. Constructing one prints the call stack and\n"
    "issues the Python warning \"Warning <code>: <msg>\"; a warnings filter \"error\" raises that instead.";

py::handle keep(py::object object) {
  return object.release();
}

// A class as a Python class statement makes it, so that applications can subclass it and hang attributes on it.
py::object makeClass(const char* name, const py::handle& base, const std::string& doc) {
  py::dict members;
  members["__module__"] = the_module.attr("__name__");
  members["__doc__"] = doc;
  py::object made = py::type::of(base)(name, py::make_tuple(base), members);
  the_module.attr(name) = made;
  return made;
}

// A native function adds no frame of its own to the stack that a warning prints.
template <class Body, class... Extra>
void addMethod(const py::object& owner, const char* attribute, Body body, const Extra&... extra) {
  // pybind11 treats functions named __init__ as constructors of its own types, so they are made under the class's name.
  const std::string name = py::cast<std::string>(owner.attr("__name__"));
  owner.attr(attribute) = py::cpp_function(body, py::name(name.c_str()), py::is_method(owner), extra...);
}

void store(const py::object& self, const py::object& code, const py::object& msg) {
  self.attr("code") = code;
  self.attr("msg") = msg;
}

py::str describe(const char* family, const py::object& self) {
  return py::str("{} {:d}: {}").format(family, self.attr("code"), self.attr("msg"));
}

// Copies and pickles carry the attributes over and construct nothing, so that a warning is not reported again.
py::tuple reduce(const py::object& self) {
  const py::tuple arguments = py::make_tuple(py::type::of(self)) + py::tuple(self.attr("args"));
  return py::make_tuple(py::module_::import("copyreg").attr("__newobj__"), arguments, self.attr("__dict__"));
}

// On a thread that runs no Python there is no application line to show.
void printStack() {
  if (PyEval_GetFrame() == nullptr) {
    return;
  }
  const py::module_ traceback = py::module_::import("traceback");
  const py::object lines = traceback.attr("format_list")(traceback.attr("extract_stack")());
  printLine(py::str("\n").attr("join")(lines));
}

py::object makeErrorBase() {
  py::object made = makeClass("Error", PyExc_Exception, kErrorDoc);
  addMethod(
      made, "__init__",
      [](const py::object& self, const py::object& code, const py::object& msg, const py::args&, const py::kwargs&) {
        store(self, code, msg);
      },
      py::arg("code"), py::arg("msg"));
  addMethod(made, "__str__", [](const py::object& self) { return describe("Error", self); });
  addMethod(made, "__reduce__", reduce);
  return made;
}

py::object makeWarningBase() {
  py::object made = makeClass("QVXWarning", PyExc_UserWarning, kWarningDoc);
  addMethod(
      made, "__init__",
      [](const py::object& self, const py::object& code, const py::object& msg, const py::args&, const py::kwargs&) {
        store(self, code, msg);
        printStack();
        // Without a frame of its own, the default stack level already names the application's line.
        py::module_::import("warnings").attr("warn")(describe("Warning", self));
      },
      py::arg("code"), py::arg("msg"));
  addMethod(made, "__str__", [](const py::object& self) { return describe("Warning", self); });
  addMethod(made, "__reduce__", reduce);
  return made;
}

std::string docOf(const ErrorKind& kind) {
  std::string doc = std::string(kind.name) + "(msg: str | None = None, *args, **kwargs)\n\n";
  if (kind.message != nullptr) {
    doc += std::string(kind.message) + "\n\n";
  }
  doc += "Code " + std::to_string(kind.code);
  return kind.constant != nullptr ? doc + " (" + kind.constant + ")." : doc + ".";
}

py::object makeKind(const ErrorKind& kind, py::handle base) {
  py::object made = makeClass(kind.name, base, docOf(kind));
  addMethod(
      made, "__init__",
      [&kind, base](const py::object& self, const py::object& msg, const py::args& args, const py::kwargs& kwargs) {
        const py::object code =
            kind.constant != nullptr ? py::object(the_module.attr(kind.constant)) : py::int_(kind.code);
        const bool defaulted = msg.is_none() && kind.message != nullptr;
        base.attr("__init__")(self, code, defaulted ? py::str(kind.message) : msg, *args, **kwargs);
      },
      py::arg("msg") = py::none());
  return made;
}

void translate(std::exception_ptr thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const Failure& failure) {
    try {
      const py::object error = makeError(failure);
      PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
    } catch (py::error_already_set& instead) {
      instead.restore();
    }
  }
}

// The status as a number: anything that converts to a float. Beyond the range of one it is unlisted anyway.
double statusNumber(const py::object& status) {
  const double number = PyFloat_AsDouble(status.ptr());
  if (number != -1.0 || PyErr_Occurred() == nullptr) {
    return number;
  }
  if (PyErr_ExceptionMatches(PyExc_OverflowError) != 0) {
    PyErr_Clear();
    return std::numeric_limits<double>::infinity();
  }
  if (PyErr_ExceptionMatches(PyExc_TypeError) != 0) {
    PyErr_Clear();
    fail(ErrorId::InputTypeNotCorrectError);
  }
  throw py::error_already_set();
}

py::object checkStatus(py::object status) {
  const double number = statusNumber(status);
  const bool listed = std::abs(number) < 1000 && std::trunc(number) == number;
  checkFirmwareError(listed ? static_cast<int>(number) : -1);
  return status;
}

}  // namespace

py::object errorClass(ErrorId id) {
  return py::reinterpret_borrow<py::object>(error_classes.at(static_cast<std::size_t>(id)));
}

py::object makeError(const Failure& failure) {
  const py::object error_class = errorClass(failure.id());
  return failure.givenMessage() ? error_class(*failure.givenMessage()) : error_class();
}

void setError(const std::exception_ptr& thrown) {
  try {
    translate(thrown);
  } catch (py::error_already_set& error) {
    error.restore();
  } catch (const py::builtin_exception& error) {
    error.set_error();
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
  }
}

void throwPython(const py::object& error) {
  PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
  throw py::error_already_set();
}

void printLine(const py::str& line) {
  py::module_::import("builtins").attr("print")(line + py::str("\n"), py::arg("end") = "");
}

void log(const char* level, const py::str& line) {
  // An application that uses logging has imported it. One that has set up no handler is not to hear of it: logging
  // would write to standard error then.
  const py::object logging = py::module_::import("sys").attr("modules").attr("get")("logging");
  if (logging.is_none()) {
    return;
  }
  const py::object logger = logging.attr("getLogger")("pyqvx");
  if (py::cast<bool>(logger.attr("hasHandlers")())) {
    logger.attr(level)("%s", line);
  }
}

py::str textOfError(const py::object& error) {
  return py::str(py::type::of(error).attr("__name__")) + py::str(": ") + py::str(error);
}

void printGenericError(const py::object& error) {
  printLine(textOfError(error));
}

void bindErrors(py::module_& module) {
  the_module = keep(module);
  py::options options;
  options.disable_function_signatures();
  const py::handle error = keep(makeErrorBase());
  const py::handle warning = keep(makeWarningBase());
  for (const ErrorKind& kind : errorKinds()) {
    if (kind.constant != nullptr) {
      module.attr(kind.constant) = kind.code;
    }
    error_classes.push_back(keep(makeKind(kind, kind.base == ErrorBase::Error ? error : warning)));
  }
  py::register_local_exception_translator(translate);
  module.def("printGenericError", printGenericError, py::arg("err"),
             "printGenericError(err: BaseException) -> None\n\n"
             "Prints one line to standard output: the name of the class, a colon and the text of `err`.");
  module.def("checkFirmwareError", checkStatus, py::arg("status"),
             "checkFirmwareError(status: float) -> float\n\n"
             "Returns a firmware status that equals 0; any other raises the class of that status, FirmwareOtherError\n"
             "when it is not listed. What is not a number raises InputTypeNotCorrectError.");
}

}  // namespace qvx::binding
