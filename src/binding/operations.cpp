#include "binding/operations.h"

#include <pybind11/eval.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

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

// A docstring that begins with "name(self, port, timeout=3)\n--\n\n" gives a builtin function its __text_signature__;
// __doc__ is what follows. Types have no place there.
void publishSignature(py::handle function, std::string_view receiver) {
  PyMethodDef* definition = reinterpret_cast<PyCFunctionObject*>(function.ptr())->m_ml;
  const std::string_view doc = definition->ml_doc == nullptr ? "" : definition->ml_doc;
  const std::string start = std::string(definition->ml_name) + "(";
  if (doc.substr(0, start.size()) != start) {
    return;
  }
  const std::string_view described = doc.substr(start.size());
  std::string arguments(receiver);
  for (const auto& [name, fallback] : splitParameters(described.substr(0, endOfItem(described, ')')))) {
    arguments.append(arguments.empty() ? "" : ", ").append(name);
    arguments.append(fallback.empty() ? "" : "=").append(fallback);
  }
  const std::string text = start + arguments + ")\n--\n\n" + std::string(doc);
  std::free(const_cast<char*>(definition->ml_doc));  // pybind11 made it with strdup, and frees it so
  definition->ml_doc = strdup(text.c_str());
}

}  // namespace

Signature::Signature(std::string_view text) {
  for (const auto& [name, fallback] : splitParameters(text)) {
    parameters.push_back(
        {std::string(name), fallback.empty() ? py::object() : py::eval(py::str(std::string(fallback)))});
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
        publishSignature(PyInstanceMethod_GET_FUNCTION(member.ptr()), "self");
      } else if (Py_IS_TYPE(member.ptr(), &PyStaticMethod_Type)) {
        publishSignature(member.attr("__func__"), "");
      }
    }
  }
}

const char* keep(std::string text) {
  return (new std::string(std::move(text)))->c_str();
}

const char* docstring(std::string_view name, std::string_view signature, std::string_view result,
                      std::string_view doc) {
  std::string text;
  text.append(name).append("(").append(signature).append(") -> ").append(result).append("\n\n").append(doc);
  return keep(std::move(text));
}

}  // namespace qvx::binding

const char* pybind11::detail::process_attribute<qvx::binding::Signature>::internName(const std::string& name) {
  return qvx::binding::keep(name);
}
