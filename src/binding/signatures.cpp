#include "binding/signatures.h"

#include <pybind11/eval.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <utility>

namespace qvx::binding {
namespace {

std::string_view trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \n");
  return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

struct ParameterText {
  std::string_view name;
  std::string_view fallback;  // empty: none
};

std::size_t endOfItem(std::string_view text, char terminator) {
  std::size_t end = 0;
  for (int depth = 0; end < text.size() && (depth != 0 || text[end] != terminator); ++end) {
    depth += text[end] == '[' || text[end] == '(' ? 1 : 0;
    depth -= text[end] == ']' || text[end] == ')' ? 1 : 0;
  }
  return end;
}

// Splits at commas outside brackets: "data: list[int], remote: bool = False".
std::vector<ParameterText> splitParameters(std::string_view text) {
  std::vector<ParameterText> parameters;
  while (!trim(text).empty()) {
    const std::size_t end = endOfItem(text, ',');
    const std::string_view item = trim(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const auto equals = item.find('=');
    const std::string_view named = item.substr(0, equals);
    parameters.push_back({trim(named.substr(0, named.find(':'))),
                          equals == std::string_view::npos ? "" : trim(item.substr(equals + 1))});
  }
  return parameters;
}

// pybind11's answer to a call whose arguments do not fit lists C++ types and repeats the call, so its functions are
// called through one of our own. Here: pybind11's, one for all, and what it is called for by its first argument.
PyCFunctionWithKeywords dispatch = nullptr;
std::unordered_map<PyObject*, py::handle>& published() {
  static auto& functions = *new std::unordered_map<PyObject*, py::handle>();
  return functions;
}

// Between the types of functions that a PyMethodDef's flags tell apart.
template <class To, class From>
To cast(From function) {
  return reinterpret_cast<To>(reinterpret_cast<void (*)()>(function));
}

PyObject* call(PyObject* record, PyObject* arguments, PyObject* keywords) {
  PyObject* result = nullptr;
  try {
    result = dispatch(record, arguments, keywords);
  } catch (const std::runtime_error&) {
    // pybind11 throws this one through the interpreter, which ends the process.
    PyErr_SetString(PyExc_TypeError, "this __init__() is not that of the object's class: call super().__init__()");
  }
  if (result != nullptr || PyErr_ExceptionMatches(PyExc_TypeError) == 0) {
    return result;
  }
  try {
    py::error_already_set error;
    const py::handle function = published().at(record);
    const std::string start = std::string(py::str(function.attr("__name__"))) + "(): incompatible ";
    if (std::string(py::str(error.value())).starts_with(start)) {
      if (const auto text = misfit(function, py::reinterpret_borrow<py::args>(arguments),
                                   keywords == nullptr ? py::kwargs() : py::reinterpret_borrow<py::kwargs>(keywords))) {
        PyErr_SetString(PyExc_TypeError, text->c_str());
        return nullptr;
      }
    }
    error.restore();
  } catch (py::error_already_set& error) {
    error.restore();
  }
  return nullptr;
}

// A docstring that begins with "name(self, port, timeout=3)\n--\n\n" gives a builtin function its __text_signature__;
// __doc__ is what follows. Types have no place there. That of a constructor may begin with the name of its class.
void publishSignature(py::handle function, std::string_view receiver, const std::string& class_name = "") {
  PyMethodDef* definition = reinterpret_cast<PyCFunctionObject*>(function.ptr())->m_ml;
  const std::string_view doc = definition->ml_doc == nullptr ? "" : definition->ml_doc;
  const std::string name = definition->ml_name;
  if (!doc.starts_with(name + "(") && !(name == "__init__" && doc.starts_with(class_name + "("))) {
    return;
  }
  if (!published().emplace(PyCFunction_GET_SELF(function.ptr()), function).second) {
    return;  // known by another name
  }
  const std::string_view described = doc.substr(doc.find('(') + 1);
  const std::string arguments = textSignature(receiver, described.substr(0, endOfItem(described, ')')));
  const std::string text = name + arguments + "\n--\n\n" + std::string(doc);
  std::free(const_cast<char*>(definition->ml_doc));  // pybind11 made it with strdup, and frees it so
  definition->ml_doc = strdup(text.c_str());
  const PyCFunction replaced = std::exchange(definition->ml_meth, cast<PyCFunction>(&call));
  dispatch = cast<PyCFunctionWithKeywords>(replaced);
}

}  // namespace

Signature::Signature(std::string_view text) {
  static auto& values = *new std::unordered_map<std::string, py::object>();  // few defaults, of many functions
  for (const auto& [name, fallback] : splitParameters(text)) {
    py::object value;
    if (!fallback.empty()) {
      auto& known = values[std::string(fallback)];
      value = known = known ? known : py::eval(py::str(std::string(fallback)));
    }
    parameters.push_back({std::string(name), std::move(value)});
  }
}

std::string textSignature(std::string_view receiver, std::string_view signature) {
  std::string text(receiver);
  for (const auto& [name, fallback] : splitParameters(signature)) {
    text.append(text.empty() ? "" : ", ").append(name);
    text.append(fallback.empty() ? "" : "=").append(fallback);
  }
  return "(" + text + ")";
}

std::optional<std::string> misfit(const py::handle& function, const py::args& arguments, const py::kwargs& keywords) {
  const py::object signature = py::module_::import("inspect").attr("signature")(function);
  try {
    signature.attr("bind")(*arguments, **keywords);
    return std::nullopt;
  } catch (const py::error_already_set& error) {
    std::string name = py::str(function.attr("__name__"));
    std::string taken = py::str(signature);
    if (name == "__init__") {
      name = py::str(py::type::of(arguments[0]).attr("__name__"));
    }
    if (taken.starts_with("(self")) {
      taken.replace(1, taken.starts_with("(self, ") ? 6 : 4, "");
    }
    return name + "(): " + std::string(py::str(error.value())) + "; it takes " + taken;
  }
}

void publishSignatures(const py::module_& module) {
  for (const auto& [name, value] : module.attr("__dict__").cast<py::dict>()) {
    if (PyCFunction_Check(value.ptr()) != 0) {
      publishSignature(value, "");
    }
    if (PyType_Check(value.ptr()) == 0 ||
        py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(value.ptr())) == nullptr) {
      continue;
    }
    for (const auto& [member_name, member] : value.attr("__dict__").cast<py::dict>()) {
      if (PyInstanceMethod_Check(member.ptr()) != 0) {
        publishSignature(PyInstanceMethod_GET_FUNCTION(member.ptr()), "self", py::str(name));
      } else if (Py_IS_TYPE(member.ptr(), &PyStaticMethod_Type)) {
        publishSignature(member.attr("__func__"), "");
      }
    }
  }
}

const char* keep(std::string text) {
  return (new std::string(std::move(text)))->c_str();
}

std::string docText(std::string_view name, std::string_view signature, std::string_view result, std::string_view doc) {
  std::string text;
  return text.append(name).append("(").append(signature).append(") -> ").append(result).append("\n\n").append(doc);
}

const char* docstring(std::string_view name, std::string_view signature, std::string_view result,
                      std::string_view doc) {
  return keep(docText(name, signature, result, doc));
}

}  // namespace qvx::binding

const char* pybind11::detail::process_attribute<qvx::binding::Signature>::internName(const std::string& name) {
  return qvx::binding::keep(name);
}
