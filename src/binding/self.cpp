#include "binding/self.h"

namespace qvx::binding {

void* directBase(py::handle self, const std::type_info& base) {
  const auto* wanted = py::detail::get_type_info(base);
  if (wanted == nullptr || PyType_IsSubtype(Py_TYPE(self.ptr()), wanted->type) == 0) {
    return nullptr;
  }
  const auto& held = py::detail::all_type_info(Py_TYPE(self.ptr()));
  if (held.size() != 1) {
    return nullptr;
  }
  const auto value = reinterpret_cast<py::detail::instance*>(self.ptr())->get_value_and_holder();
  if (!value.holder_constructed()) {
    return nullptr;
  }
  for (const auto& [from, convert] : wanted->implicit_casts) {
    if (from == held.front()->cpptype) {
      return convert(value.value_ptr());
    }
  }
  return nullptr;
}

}  // namespace qvx::binding
