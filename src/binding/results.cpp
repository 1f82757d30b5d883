#include "binding/results.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <utility>

namespace qvx::binding {
namespace py = pybind11;
namespace {

PyObject* checked(PyObject* object) {
  if (object == nullptr) {
    throw py::error_already_set();
  }
  return object;
}

// Making many objects that refer to nothing would set the collector to work again and again, for nothing.
class CollectorPause {
 public:
  CollectorPause() : was_enabled_(PyGC_Disable() != 0) {}
  ~CollectorPause() {
    if (was_enabled_) {
      PyGC_Enable();
    }
  }
  CollectorPause(const CollectorPause&) = delete;
  CollectorPause& operator=(const CollectorPause&) = delete;

 private:
  bool was_enabled_;
};

struct ToPython {
  py::object operator()(std::monostate /*unused*/) const { return py::none(); }
  py::object operator()(Samples&& samples) const { return makeSampleLists(samples); }
  py::object operator()(SampleArray&& samples) const { return makeSampleArray(std::move(samples)); }
  // [mode, rate]
  py::object operator()(AOSettings&& settings) const {
    py::list values;
    values.append(settings.mode);
    values.append(settings.sampling_rate);
    return values;
  }
  template <class Result>
  py::object operator()(Result&& result) const {
    return py::cast(std::forward<Result>(result));
  }
};

}  // namespace

py::object toPython(Value&& value) {
  return std::visit(ToPython(), std::move(value));
}

py::object makeSampleLists(const Samples& samples) {
  const CollectorPause pause;
  std::size_t rows = 0;
  for (const auto& piece : samples) {
    rows += piece.rows();
  }
  auto list = py::reinterpret_steal<py::object>(checked(PyList_New(static_cast<Py_ssize_t>(rows))));
  Py_ssize_t at = 0;
  for (const auto& piece : samples) {
    const auto width = static_cast<Py_ssize_t>(piece.width);
    const double* value = piece.values.data();
    for (std::size_t row = 0; row < piece.rows(); ++row) {
      PyObject* sample = checked(PyList_New(width));
      PyList_SET_ITEM(list.ptr(), at++, sample);
      for (Py_ssize_t channel = 0; channel < width; ++channel) {
        PyList_SET_ITEM(sample, channel, checked(PyFloat_FromDouble(*value++)));
      }
    }
  }
  return list;
}

void prepareSampleArray() {
  py::module_::import("numpy");
}

py::object makeSampleArray(SampleArray&& samples) {
  const auto columns = static_cast<py::ssize_t>(samples.channels);
  auto values = std::make_unique<std::vector<double>>(std::move(samples.values));
  const auto rows = static_cast<py::ssize_t>(values->size() / samples.channels);
  const double* data = values->data();
  const py::capsule owner(values.release(), [](void* p) { delete static_cast<std::vector<double>*>(p); });
  return py::array_t<double>({rows, columns}, data, owner);
}

}  // namespace qvx::binding
