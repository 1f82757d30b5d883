#include "binding/self.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace qvx::binding {
namespace {

using Type = py::detail::type_info;

// Puts the steps from `held` up to its base `wanted` before those that are there already. False: no way.
bool prependSteps(const Type* held, const Type* wanted, std::vector<Receiver::Step>& steps) {
  if (held == wanted) {
    return true;
  }
  for (const auto& [derived, step] : wanted->implicit_casts) {
    steps.insert(steps.begin(), step);
    if (prependSteps(held, py::detail::get_type_info(*derived), steps)) {
      return true;
    }
    steps.erase(steps.begin());
  }
  return false;
}

}  // namespace

void failUninitialised() {
  throw py::type_error("this object has not been initialised: call super().__init__() first");
}

Receiver::Receiver(py::handle published, Step last)
    : published_(py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(published.ptr()))), last_(last) {}

const Receiver::Steps* Receiver::stepsFrom(const Type* held) {
  auto known = std::find_if(known_.begin(), known_.end(), [&](const Known& entry) { return entry.held == held; });
  if (known == known_.end()) {
    Steps steps;
    if (prependSteps(held, published_, steps)) {
      steps.push_back(last_);
    }
    known = known_.insert(known_.end(), {held, std::move(steps)});
  }
  return known->steps.empty() ? nullptr : &known->steps;
}

void* Receiver::find(PyObject* self, const char* method) {
  if (PyObject_TypeCheck(self, published_->type) == 0) {
    throw py::type_error(std::string("descriptor '") + method + "' for '" + published_->type->tp_name +
                         "' objects doesn't apply to a '" + Py_TYPE(self)->tp_name + "' object");
  }
  // One, unless a class of Python's has several of ours as bases.
  for (auto& value : py::detail::values_and_holders(reinterpret_cast<py::detail::instance*>(self))) {
    const Steps* steps = stepsFrom(value.type);
    if (steps == nullptr) {
      continue;
    }
    if (!value.holder_constructed()) {
      break;
    }
    void* object = value.value_ptr();
    for (const Step step : *steps) {
      object = step(object);
    }
    return object;
  }
  failUninitialised();
}

Receiver& receiver(py::handle published, Receiver::Step last) {
  static auto& receivers = *new std::map<std::pair<PyObject*, Receiver::Step>, Receiver>();
  return receivers.try_emplace({published.ptr(), last}, published, last).first->second;
}

}  // namespace qvx::binding
