// From what Python passed to an Argument: never a TypeError of the binding's own.
#pragma once

#include "core/argument.h"

#include <pybind11/pybind11.h>

namespace qvx::binding {

Argument makeArgument(pybind11::handle value);

}  // namespace qvx::binding

namespace pybind11::detail {

template <>
struct type_caster<qvx::Argument> {
  PYBIND11_TYPE_CASTER(qvx::Argument, const_name("object"));
  bool load(handle source, bool /*convert*/) {
    value = qvx::binding::makeArgument(source);
    return true;
  }
};

}  // namespace pybind11::detail
