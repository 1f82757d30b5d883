#include "binding/operations.h"

#include <pybind11/eval.h>

namespace qvx::binding {
namespace {

std::string_view trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \n");
  return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

}  // namespace

// Splits at commas outside brackets: "data: list[int], remote: bool = False".
Signature::Signature(std::string_view text) {
  while (!trim(text).empty()) {
    std::size_t end = 0;
    for (int depth = 0; end < text.size() && (depth != 0 || text[end] != ','); ++end) {
      depth += text[end] == '[' || text[end] == '(' ? 1 : 0;
      depth -= text[end] == ']' || text[end] == ')' ? 1 : 0;
    }
    const std::string_view item = trim(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const auto equals = item.find('=');
    const std::string_view named = item.substr(0, equals);
    Parameter parameter{std::string(trim(named.substr(0, named.find(':')))), py::object()};
    if (equals != std::string_view::npos) {
      parameter.fallback = py::eval(py::str(std::string(trim(item.substr(equals + 1)))));
    }
    parameters.push_back(std::move(parameter));
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
