// Transports written in Python, seen from C++.
#pragma once

#include "binding/argument_caster.h"
#include "binding/bindings.h"
#include "core/argument.h"
#include "transport/transport.h"

#include <memory>
#include <optional>

namespace qvx::binding {

void bindTransports(py::module_& module);

// A native client as it is; any other object with a client's methods behind an adapter. None gives nullptr.
std::shared_ptr<Transport> transportOf(const py::object& client);
// The application's own object behind the adapter, borrowed; nullptr for a native client.
PyObject* applicationsObject(const std::shared_ptr<Transport>& transport);
// The reverse of transportOf.
py::object objectOf(const std::shared_ptr<Transport>& transport);

// setTimeout of every client: seconds, or None for no limit.
template <class AnyClient>
void setReadTimeout(AnyClient& client, const Argument& t) {
  client.setTimeout(t.kind() == Argument::Kind::None ? std::nullopt : std::optional(checkedNumber(t, "t")));
}

}  // namespace qvx::binding
