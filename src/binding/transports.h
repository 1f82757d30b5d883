// Transports written in Python, seen from C++.
#pragma once

#include "binding/bindings.h"
#include "transport/transport.h"

#include <memory>

namespace qvx::binding {

void bindTransports(py::module_& module);

// A native client as it is; any other object with a client's methods behind an adapter. None gives nullptr.
std::shared_ptr<Transport> transportOf(const py::object& client);
// The application's own object behind the adapter, borrowed; nullptr for a native client.
PyObject* applicationsObject(const std::shared_ptr<Transport>& transport);
// The reverse of transportOf.
py::object objectOf(const std::shared_ptr<Transport>& transport);

}  // namespace qvx::binding
