// How results become Python values.
#pragma once

#include "modules/analog/ai.h"
#include "modules/analog/ao.h"
#include "modules/bus/can.h"
#include "modules/digital/dio.h"
#include "modules/system/system.h"
#include "modules/system/wifi.h"

#include <pybind11/pybind11.h>

#include <variant>

namespace qvx::binding {

// Whatever an operation gives. A type of its own, for the sake of what compilers print.
struct Value
    : std::variant<std::monostate, bool, int, std::uint16_t, std::uint32_t, double, std::string, Bytes,
                   std::vector<int>, std::vector<double>, std::vector<std::string>, std::vector<std::uint32_t>,
                   std::vector<PinStates>, std::pair<std::string, std::string>, PinModes, WifiSettings,
                   std::map<int, std::vector<int>>, BusPorts, AOSettings, Samples, SampleArray, std::vector<CANFrame>> {
  using variant::variant;
};

pybind11::object toPython(Value&& value);

// A list of samples, each a list of floats.
pybind11::object makeSampleLists(const Samples& samples);
// A numpy array of float64, samples x channels. Raises ImportError without numpy.
pybind11::object makeSampleArray(SampleArray&& samples);

// Imports what makeSampleArray needs: to be called before the samples are taken away.
void prepareSampleArray();

}  // namespace qvx::binding

namespace pybind11::detail {

template <>
struct type_caster<qvx::Samples> {
  PYBIND11_TYPE_CASTER(qvx::Samples, const_name("list"));
  static handle cast(const qvx::Samples& samples, return_value_policy /*policy*/, handle /*parent*/) {
    return qvx::binding::makeSampleLists(samples).release();
  }
};

}  // namespace pybind11::detail
