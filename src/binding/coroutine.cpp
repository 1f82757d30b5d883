#include "binding/coroutine.h"

#include "binding/loop.h"

#include <structmember.h>

#include <utility>

namespace qvx::binding {
namespace {

// What a coroutine is made of, apart from its head.
struct State {
  py::object owner;
  std::unique_ptr<CoroutineBody> body;
  std::shared_ptr<LoopPort> port;  // from the first step on
  std::unique_ptr<Fiber> fiber;    // from the first step until it has ended
  py::object future;               // what the task waits for now
  bool running = false;
  bool ended = false;
};

// A type of its own, not pybind11's: asyncio steps coroutines through the type's slots, which cost a tenth of a call.
struct Object {
  PyObject_HEAD State* state;
  PyObject* name;
};

PyTypeObject* coroutine_type = nullptr;

State& stateOf(PyObject* self) {
  return *reinterpret_cast<Object*>(self)->state;
}

void stopWaiting(State& state, const Fiber& fiber) {
  if (state.future) {
    state.port->forget(fiber.ticket(), fiber.deadline());
    state.future = py::object();
  }
}

// True while Python may look but nothing else may step the coroutine, however the step ends.
class Running {
 public:
  explicit Running(State& state) : state_(state) { state_.running = true; }
  ~Running() { state_.running = false; }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  State& state_;
};

// Ends the body wherever it stands. Its wait throws, so it takes no time.
void cancelBody(State& state) {
  state.ended = true;
  if (const auto fiber = std::move(state.fiber)) {
    const Running running(state);
    stopWaiting(state, *fiber);
    fiber->cancel();
    const Unlocked unlocked;
    fiber->resume();
  }
  const auto body = std::move(state.body);
  const py::object owner = std::move(state.owner);
}

// Runs the body until it waits (false) or has ended (true). What this throws found no stack: the body never begins.
bool run(State& state) {
  const Running running(state);
  const Unlocked unlocked;
  try {
    return state.fiber->resume();
  } catch (...) {
    state.ended = true;
    state.fiber.reset();
    throw;
  }
}

PySendResult step(State& state, PyObject** result) {
  if (state.running) {
    throw py::value_error("coroutine already executing");
  }
  if (state.ended) {
    throw std::runtime_error("cannot reuse already awaited coroutine");
  }
  if (!state.fiber) {
    state.port = LoopPort::current();
    state.fiber = std::make_unique<Fiber>(state.port, [body = state.body.get()] { body->run(); });
  } else if (!state.port->isCurrent()) {
    throw std::runtime_error("this coroutine waits in another event loop: await it there");
  }
  stopWaiting(state, *state.fiber);
  if (!run(state)) {
    state.port->startWatching();
    state.future = state.port->makeFuture(state.fiber->ticket(), state.fiber->deadline());
    *result = py::object(state.future).release().ptr();
    return PYGEN_NEXT;
  }
  state.ended = true;
  const auto fiber = std::move(state.fiber);
  const auto body = std::move(state.body);
  const py::object owner = std::move(state.owner);
  state.port->startWatching();
  if (fiber->failure()) {
    std::rethrow_exception(fiber->failure());
  }
  *result = body->result().release().ptr();
  return PYGEN_RETURN;
}

PySendResult send(PyObject* self, PyObject* /*value*/, PyObject** result) {
  *result = nullptr;
  return guarded(PYGEN_ERROR, [&] { return step(stateOf(self), result); });
}

PyObject* sendMethod(PyObject* self, PyObject* value) {
  PyObject* result = nullptr;
  switch (send(self, value, &result)) {
    case PYGEN_RETURN:
      if (result != nullptr && result != Py_None) {
        // An exception made of its argument: a tuple as value stays one value.
        PyObject* stop = PyObject_CallOneArg(PyExc_StopIteration, result);
        if (stop != nullptr) {
          PyErr_SetObject(PyExc_StopIteration, stop);
          Py_DECREF(stop);
        }
      } else {
        PyErr_SetNone(PyExc_StopIteration);
      }
      Py_XDECREF(result);
      return nullptr;
    case PYGEN_NEXT:
      return result;
    case PYGEN_ERROR:
      break;
  }
  return nullptr;
}

PyObject* next(PyObject* self) {
  return sendMethod(self, Py_None);
}

PyObject* identity(PyObject* self) {
  Py_INCREF(self);
  return self;
}

// throw(exception) or throw(type, value=None, traceback=None)
PyObject* throwMethod(PyObject* self, PyObject* args) {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  if (PyArg_UnpackTuple(args, "throw", 1, 3, &type, &value, &traceback) == 0) {
    return nullptr;
  }
  return guarded(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
    State& state = stateOf(self);
    if (state.running) {
      throw py::value_error("coroutine already executing");
    }
    if (!PyExceptionInstance_Check(type) && !PyExceptionClass_Check(type)) {
      throw py::type_error("exceptions must be classes or instances deriving from BaseException");
    }
    if (state.ended) {
      throw std::runtime_error("cannot reuse already awaited coroutine");
    }
    cancelBody(state);
    if (PyExceptionInstance_Check(type)) {
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(type)), type);
    } else {
      Py_XINCREF(type);
      Py_XINCREF(value == Py_None ? nullptr : value);
      Py_XINCREF(traceback == Py_None ? nullptr : traceback);
      PyErr_Restore(type, value == Py_None ? nullptr : value, traceback == Py_None ? nullptr : traceback);
    }
    return nullptr;
  });
}

PyObject* closeMethod(PyObject* self, PyObject* /*unused*/) {
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    State& state = stateOf(self);
    if (state.running) {
      throw py::value_error("coroutine already executing");
    }
    cancelBody(state);
    return py::none().release().ptr();
  });
}

PyObject* repr(PyObject* self) {
  return PyUnicode_FromFormat("<coroutine %U at %p>", reinterpret_cast<Object*>(self)->name, self);
}

PyObject* running(PyObject* self, void* /*unused*/) {
  return PyBool_FromLong(stateOf(self).running ? 1 : 0);
}

int traverse(PyObject* self, visitproc visit, void* arg) {
  const State* state = reinterpret_cast<Object*>(self)->state;
  if (state != nullptr) {
    Py_VISIT(state->owner.ptr());
    Py_VISIT(state->future.ptr());
  }
  Py_VISIT(Py_TYPE(self));
  return 0;
}

int clear(PyObject* self) {
  return guarded(0, [&] {
    cancelBody(stateOf(self));
    return 0;
  });
}

void finalize(PyObject* self) {
  PyObject *type = nullptr, *value = nullptr, *traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  State& state = stateOf(self);
  if (!state.ended && !state.fiber) {
    if (PyErr_WarnFormat(PyExc_RuntimeWarning, 1, "coroutine '%U' was never awaited",
                         reinterpret_cast<Object*>(self)->name) < 0) {
      PyErr_WriteUnraisable(self);
    }
  }
  clear(self);
  PyErr_Restore(type, value, traceback);
}

void deallocate(PyObject* self) {
  if (PyObject_CallFinalizerFromDealloc(self) < 0) {
    return;  // somebody took hold of it again
  }
  PyObject_GC_UnTrack(self);
  auto* object = reinterpret_cast<Object*>(self);
  delete object->state;
  Py_XDECREF(object->name);
  PyTypeObject* type = Py_TYPE(self);
  type->tp_free(self);
  Py_DECREF(type);
}

PyMethodDef methods[] = {
    {"send", sendMethod, METH_O, "send(value: object) -> object\n\nThe next future, or raises StopIteration(result)."},
    {"throw", throwMethod, METH_VARARGS,
     "throw(*exception: object) -> None\n\nCancels the operation, then raises the exception."},
    {"close", closeMethod, METH_NOARGS, "close() -> None\n\nCancels the operation."},
    {nullptr, nullptr, 0, nullptr},
};

PyMemberDef members[] = {
    {"__name__", T_OBJECT_EX, offsetof(Object, name), READONLY, nullptr},
    {"__qualname__", T_OBJECT_EX, offsetof(Object, name), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyGetSetDef getters[] = {
    {"cr_running", running, nullptr, "-> bool", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace

void bindCoroutine(py::module_& module) {
  static const char doc[] = "An operation in progress: await it, or hand it to asyncio.create_task, gather, wait_for.";
  PyType_Slot slots[] = {
      {Py_tp_doc, const_cast<char*>(doc)},
      {Py_am_await, slot(identity)},
      {Py_am_send, slot(send)},
      {Py_tp_iter, slot(identity)},
      {Py_tp_iternext, slot(next)},
      {Py_tp_repr, slot(repr)},
      {Py_tp_methods, methods},
      {Py_tp_members, members},
      {Py_tp_getset, getters},
      {Py_tp_traverse, slot(traverse)},
      {Py_tp_clear, slot(clear)},
      {Py_tp_finalize, slot(finalize)},
      {Py_tp_dealloc, slot(deallocate)},
      {0, nullptr},
  };
  PyType_Spec spec{"pyqvx.Coroutine", sizeof(Object), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots};
  auto type = py::reinterpret_steal<py::object>(PyType_FromSpec(&spec));
  if (!type) {
    throw py::error_already_set();
  }
  module.attr("Coroutine") = type;
  coroutine_type = reinterpret_cast<PyTypeObject*>(type.release().ptr());  // lives as long as the process
}

py::object makeCoroutine(py::str name, py::object owner, std::unique_ptr<CoroutineBody> body) {
  auto state = std::make_unique<State>();
  state->owner = std::move(owner);
  state->body = std::move(body);
  auto* object = PyObject_GC_New(Object, coroutine_type);
  if (object == nullptr) {
    throw py::error_already_set();
  }
  object->state = state.release();
  object->name = name.release().ptr();
  PyObject_GC_Track(reinterpret_cast<PyObject*>(object));
  return py::reinterpret_steal<py::object>(reinterpret_cast<PyObject*>(object));
}

}  // namespace qvx::binding
