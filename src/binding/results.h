// How results become Python values.
#pragma once

#include "modules/analog/ai.h"
#include "modules/analog/ao.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace qvx::binding {

// A list of samples, each a list of floats.
pybind11::object makeSampleLists(const Samples& samples);
// A numpy array of float64, samples x channels. Raises ImportError without numpy.
pybind11::object makeSampleArray(SampleArray&& samples);

// What the conversion of a result needs, before the operation takes anything away: nothing, as a rule.
inline void prepareResult(void* /*unused*/) {}
// Numpy.
void prepareResult(SampleArray* /*unused*/);

}  // namespace qvx::binding

namespace pybind11::detail {

template <>
struct type_caster<qvx::Samples> {
  PYBIND11_TYPE_CASTER(qvx::Samples, const_name("list"));
  static handle cast(const qvx::Samples& samples, return_value_policy /*policy*/, handle /*parent*/) {
    return qvx::binding::makeSampleLists(samples).release();
  }
};

template <>
struct type_caster<qvx::SampleArray> {
  PYBIND11_TYPE_CASTER(qvx::SampleArray, const_name("numpy.ndarray"));
  static handle cast(qvx::SampleArray samples, return_value_policy /*policy*/, handle /*parent*/) {
    return qvx::binding::makeSampleArray(std::move(samples)).release();
  }
};

// [mode, rate]
template <>
struct type_caster<qvx::AOSettings> {
  PYBIND11_TYPE_CASTER(qvx::AOSettings, const_name("list"));
  static handle cast(const qvx::AOSettings& settings, return_value_policy /*policy*/, handle /*parent*/) {
    list values;
    values.append(settings.mode);
    values.append(settings.sampling_rate);
    return values.release();
  }
};

}  // namespace pybind11::detail
