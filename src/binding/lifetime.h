// The life of a device's Python object, from its constructor to its deallocation.
//
// What an end takes, a ResourceWarning, close(), messages, happens in the finalizer, while the object is alive: whoever
// takes hold of it then keeps it, closed. Deallocation takes the object from the garbage collector first, and nothing
// between there and the end runs Python, waits, or lets another thread run: a collection in between would find an
// object without references, and free it a second time.
#pragma once

#include "binding/bindings.h"
#include "binding/transports.h"
#include "protocol/wifi_device.h"

#include <memory>
#include <utility>
#include <vector>

namespace qvx::binding {

// Closes at interpreter exit what is open then.
void closeDevicesAtExit();
// close() without the interpreter's lock; passes on what it throws.
void closeUnlocked(Device& device);
// Remembers a device until it is gone, for closeDevicesAtExit.
void watchDevice(const std::shared_ptr<Device>& device);
// What the finalizer of a device does: a ResourceWarning when it was left open, then close(). Leaves alone what a
// forked child has of its parent. `self` must be alive.
void retireDevice(PyObject* self, Device& device);
// The same for an object whose last reference has gone. True when somebody has taken hold of it meanwhile.
bool retiredAndRevived(PyObject* self, Device& device);

// The deleter of every device. One that is closed, as the finalizer leaves it, is waited for by nobody.
void deleteDevice(Device* device);

// The owner of every device.
template <class Class, class... Args>
std::shared_ptr<Class> makeDevice(Args&&... args) {
  Class* made = nullptr;
  {
    const Unlocked unlocked;
    made = new Class(std::forward<Args>(args)...);
  }
  std::shared_ptr<Class> device(made, &deleteDevice);
  watchDevice(device);
  return device;
}

// What the type of a device's Python object has beside pybind11's: attributes, garbage collection, an end.
template <class Class>
class DeviceType {
 public:
  // For py::custom_type_setup, together with py::dynamic_attr.
  static void setUp(PyHeapTypeObject* heap_type) {
    PyTypeObject& type = heap_type->ht_type;
    type.tp_flags |= Py_TPFLAGS_HAVE_GC;
    type.tp_traverse = &traverse;
    type.tp_clear = &clear;
    type.tp_finalize = &finalize;
    type.tp_dealloc = &deallocate;
  }

 private:
  // nullptr while __init__ has not run, and in a forked child: whatever its parent's mutexes guard is not for the
  // child.
  static Class* deviceOf(PyObject* self) {
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    const auto* type = py::detail::get_type_info(typeid(Class));
    auto found = instance->get_value_and_holder(type, false);
    Class* device = found.inst != nullptr && found.holder_constructed() ? found.value_ptr<Class>() : nullptr;
    return device == nullptr || device->forked() ? nullptr : device;
  }

  // Calls `visit` with each transport and a function that removes it.
  template <class Visit>
  static void eachTransport(Class& device, Visit visit) {
    visit(device.clientCmd(), [&] { device.setClientCmd(nullptr); });
    visit(device.clientUdp(), [&] { device.setClientUdp(nullptr); });
    if constexpr (std::is_base_of_v<WifiDevice, Class>) {
      visit(device.clientData(), [&] { device.setClientData(nullptr); });
    }
  }

  // What a device refers to and what may refer back to it: its attributes and an application's own transports.
  static int traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    if (Py_TYPE(self)->tp_traverse == &traverse) {  // a subclass of Python's visits its attributes itself
      Py_VISIT(*_PyObject_GetDictPtr(self));
    }
    int stopped = 0;
    if (Class* device = deviceOf(self)) {
      eachTransport(*device, [&](const auto& transport, const auto& /*remove*/) {
        if (PyObject* object = applicationsObject(transport); object != nullptr && stopped == 0) {
          stopped = visit(object, arg);
        }
      });
    }
    return stopped;
  }

  static int clear(PyObject* self) {
    Py_CLEAR(*_PyObject_GetDictPtr(self));
    if (Class* device = deviceOf(self)) {
      eachTransport(*device, [](const auto& transport, const auto& remove) {
        if (applicationsObject(transport) != nullptr) {
          remove();
        }
      });
    }
    return 0;
  }

  static void finalize(PyObject* self) {
    if (Class* device = deviceOf(self)) {
      retireDevice(self, *device);
    }
  }

  static void deallocate(PyObject* self) {
    if (PyObject_CallFinalizerFromDealloc(self) < 0) {
      return;
    }
    // A Python subclass's own __del__ need not have called this one's.
    Class* device = deviceOf(self);
    if (device != nullptr && retiredAndRevived(self, *device)) {
      return;
    }
    // Also of a Python subclass: its deallocation has tracked the object again before it came here.
    PyObject_GC_UnTrack(self);
    std::vector<py::object> kept;  // the application's transports go when the object is gone
    if (device != nullptr) {
      eachTransport(*device, [&](const auto& transport, const auto& /*remove*/) {
        kept.push_back(py::reinterpret_borrow<py::object>(applicationsObject(transport)));
      });
    }
    py::detail::pybind11_object_dealloc(self);
  }
};

}  // namespace qvx::binding
