// Argument names and defaults, as inspect and the stubs show them and as a call that does not fit is answered.
#pragma once

#include "binding/bindings.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvx::binding {

// Argument names and defaults of a function, read from its signature ("port: int, delay: float = 0").
class Signature {
 public:
  explicit Signature(std::string_view text);
  struct Parameter {
    std::string name;
    py::object fallback;  // null: none
  };
  std::vector<Parameter> parameters;
};

}  // namespace qvx::binding

// Lets a Signature stand where pybind11 takes py::arg: the number of arguments is then known at run time only.
template <>
struct pybind11::detail::process_attribute<qvx::binding::Signature>
    : pybind11::detail::process_attribute_default<qvx::binding::Signature> {
  static void init(const qvx::binding::Signature& signature, function_record* record) {
    if (record->is_method && record->args.empty()) {
      record->args.emplace_back("self", nullptr, handle(), true, false);
    }
    for (const auto& parameter : signature.parameters) {
      // The record frees what it holds when the function goes; the names live as long as the process.
      record->args.emplace_back(internName(parameter.name), nullptr, object(parameter.fallback).release(), true, true);
    }
  }
  static const char* internName(const std::string& name);
};

namespace qvx::binding {

// "name(signature) -> result", an empty line, the doc.
std::string docText(std::string_view name, std::string_view signature, std::string_view result, std::string_view doc);
// The same, for as long as the process lives.
const char* docstring(std::string_view name, std::string_view signature, std::string_view result, std::string_view doc);
const char* keep(std::string text);

// "(self, port, delay=0)", what inspect reads; `receiver` is empty for what has none.
std::string textSignature(std::string_view receiver, std::string_view signature);

// Tells inspect.signature, help() and editors the arguments of every function and method of pybind11's in the module,
// from the first lines of their docstrings, and a call with other arguments which of them is wrong. To be called when
// all are registered.
void publishSignatures(const py::module_& module);

// Which argument of a call is wrong, as inspect says it, and what the function takes; nothing when all fit.
std::optional<std::string> misfit(const py::handle& function, const py::args& arguments, const py::kwargs& keywords);

}  // namespace qvx::binding
