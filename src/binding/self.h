// The object that an operation is called on.
#pragma once

#include "binding/bindings.h"

#include <vector>

namespace qvx::binding {

// Raises TypeError: an object's __init__ has not run.
[[noreturn]] void failUninitialised();

// Finds, in the Python object of any product, the C++ object of one class. A product has its modules as bases beside
// each other, some several steps away; which steps these are is found out once for each product. Needs the
// interpreter's lock.
class Receiver {
 public:
  using Step = void* (*)(void*);

  // `published` is the class that has the method; `last` leads from its C++ object to that of the method's own class.
  Receiver(py::handle published, Step last);
  // Raises TypeError for what is no such object, and for one whose __init__ has not run.
  void* find(PyObject* self, const char* method);

 private:
  using Steps = std::vector<Step>;
  // From an object of the class `held`; nullptr when there is no way.
  const Steps* stepsFrom(const py::detail::type_info* held);

  const py::detail::type_info* published_;
  Step last_;
  struct Known {
    const py::detail::type_info* held;
    Steps steps;  // none: no way
  };
  std::vector<Known> known_;
};

// The receiver of these two, one for all methods.
Receiver& receiver(py::handle published, Receiver::Step last);

}  // namespace qvx::binding
