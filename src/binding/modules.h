// One function for each module family: registers its published classes.
#pragma once

#include "binding/bindings.h"

namespace qvx::binding {

void bindSystem(py::module_& module);
void bindNetwork(py::module_& module);
void bindDiscovery(py::module_& module);
void bindAnalog(py::module_& module);
void bindAnalogOutput(py::module_& module);
void bindUart(py::module_& module);
void bindCan(py::module_& module);
void bindDigital(py::module_& module);
void bindI2C(py::module_& module);
void bindSPI(py::module_& module);
void bindModels(py::module_& module);

}  // namespace qvx::binding
