// Device handles.
#pragma once

#include "binding/bindings.h"
#include "binding/lifetime.h"
#include "protocol/network_device.h"

#include <string>

namespace qvx::binding {

void bindEngine(py::module_& module);
void bindDevices(py::module_& module);
void bindUsb(py::module_& module);
void bindSerial(py::module_& module);
void bindWifi(py::module_& module);

// What a handle shows of one of its channels: connect_status_X, recv_X_lock and recv_X_thread.
template <class Class, class Find>
void defineChannel(Class& cls, const std::string& name, Find find) {
  using Handle = typename Class::type;
  cls.def_property_readonly(("connect_status_" + name).c_str(), [find](Handle& self) { return find(self).connected(); },
                            "-> bool\n\nFrom connect() to disconnect(), also while the connection is lost.")
      .def_property_readonly(("recv_" + name + "_lock").c_str(),
                             [find](Handle& self) -> Gate& { return find(self).gate(); },
                             py::return_value_policy::reference_internal, "-> Gate\n\nThe gate of the receive thread.")
      .def_property_readonly(("recv_" + name + "_thread").c_str(),
                             [find](Handle& self) -> Worker& { return find(self).worker(); },
                             py::return_value_policy::reference_internal, "-> Worker\n\nThe receive thread.");
}
template <class Class>
void defineCommandChannel(Class& cls) {
  defineChannel(cls, "cmd", [](typename Class::type& self) -> Channel& { return self.commandChannel(); });
}

}  // namespace qvx::binding
