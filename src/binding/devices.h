// Device handles and the life of a device object in Python.
#pragma once

#include "binding/bindings.h"
#include "protocol/network_device.h"

#include <memory>
#include <string>
#include <thread>
#include <utility>

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

// Remembers a device until it is gone: what is open when the interpreter ends is closed then.
void watchDevice(const std::shared_ptr<Device>& device);
// What happens to a device that Python no longer refers to: a ResourceWarning when it was left open, then close().
// True when the object may be deleted; a forked child must leave it alone.
bool retireDevice(Device& device);

// The owner of every device object.
template <class Class, class... Args>
std::shared_ptr<Class> makeDevice(Args&&... args) {
  Class* made = nullptr;
  {
    const Unlocked unlocked;
    made = new Class(std::forward<Args>(args)...);
  }
  std::shared_ptr<Class> device(made, [](Class* gone) {
    if (!retireDevice(*gone)) {
      return;
    }
    const Unlocked unlocked;
    if (Worker::isCurrentThread()) {
      // The last reference went on a thread of the driver, perhaps this device's own, which cannot wait for its own
      // end.
      std::thread([gone] { delete gone; }).detach();
    } else {
      delete gone;
    }
  });
  watchDevice(device);
  return device;
}

}  // namespace qvx::binding
