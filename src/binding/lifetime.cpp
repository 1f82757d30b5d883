#include "binding/lifetime.h"

#include "runtime/thread.h"

#include <algorithm>
#include <system_error>

namespace qvx::binding {
namespace {

// Only the interpreter's lock guards it.
std::vector<std::weak_ptr<Device>>& liveDevices() {
  static auto* devices = new std::vector<std::weak_ptr<Device>>;
  return *devices;
}

// Where an exception of Python, such as that of a closed sys.stdout, has nobody to go to.
void closeWhereNobodyCatches(Device& device) {
  try {
    closeUnlocked(device);
  } catch (py::error_already_set& error) {
    error.discard_as_unraisable("pyqvx");
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
    PyErr_WriteUnraisable(nullptr);
  }
}

void closeAll() {
  std::vector<std::shared_ptr<Device>> open;
  for (const auto& entry : liveDevices()) {
    if (auto device = entry.lock()) {
      open.push_back(std::move(device));
    }
  }
  for (const auto& device : open) {
    closeWhereNobodyCatches(*device);
  }
}

}  // namespace

void closeDevicesAtExit() {
  // While threads may still print.
  py::module_::import("atexit").attr("register")(py::cpp_function(&closeAll));
}

void closeUnlocked(Device& device) {
  const Unlocked unlocked;
  device.close();
}

void watchDevice(const std::shared_ptr<Device>& device) {
  auto& devices = liveDevices();
  std::erase_if(devices, [](const auto& entry) { return entry.expired(); });
  devices.push_back(device);
}

void deleteDevice(Device* device) {
  if (device->forked()) {
    return;  // its mutexes and its connection are the parent's
  }
  if (device->closed() && !Worker::isCurrentThread()) {
    delete device;
    return;
  }
  // Python has never had this one, or lets go of it on a thread that belongs to it.
  const auto end = [device] {
    try {
      device->close();
    } catch (const std::exception&) {
      // Of the printing; nobody is left to be told.
    }
    delete device;
  };
  try {
    startThread("qvx-delete", end).detach();
  } catch (const std::system_error&) {
    // No thread is left: it stays.
  }
}

void retireDevice(PyObject* self, Device& device) {
  if (device.closed()) {
    return;
  }
  const py::error_scope keep_error;
  if (PyErr_ResourceWarning(self, 1, "unclosed device %s", device.deviceName().c_str()) < 0) {
    PyErr_WriteUnraisable(self);
  }
  closeWhereNobodyCatches(device);
}

bool retiredAndRevived(PyObject* self, Device& device) {
  Py_SET_REFCNT(self, 1);
  retireDevice(self, device);
  Py_SET_REFCNT(self, Py_REFCNT(self) - 1);
  return Py_REFCNT(self) != 0;
}

}  // namespace qvx::binding
