// The object that an operation is called on.
#pragma once

#include "binding/bindings.h"

namespace qvx::binding {

// Takes the place of `T&` as the first argument of a method. A product has its modules as bases beside each other; to
// convert to one, pybind11 tries every product that has such a base, and each that it is not costs a Python exception.
template <class T>
struct Self {
  T& object;
};

// The address of the `base` in a C++ object that `self` holds as one of its direct bases, nullptr if it has none.
void* directBase(py::handle self, const std::type_info& base);

}  // namespace qvx::binding

template <class T>
class pybind11::detail::type_caster<qvx::binding::Self<T>> {
 public:
  static constexpr auto name = make_caster<T>::name;
  template <class>
  using cast_op_type = qvx::binding::Self<T>;

  bool load(handle source, bool convert) {
    object_ = static_cast<T*>(qvx::binding::directBase(source, typeid(T)));
    if (object_ == nullptr) {
      make_caster<T> any;
      if (any.load(source, convert)) {
        object_ = cast_op<T*>(any);
      }
    }
    return object_ != nullptr;
  }
  explicit operator qvx::binding::Self<T>() { return {*object_}; }

 private:
  T* object_ = nullptr;
};
