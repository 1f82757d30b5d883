#include "binding/operations.h"

#include "binding/argument_caster.h"
#include "binding/coroutine.h"
#include "binding/numbers.h"

#include "modules/explain.h"

#include <structmember.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qvx::binding {
namespace {

struct Parameter {
  PyObject* name;  // interned
  std::string text;
  std::optional<Argument> fallback;
};

std::string timedSignature(const std::string& signature) {
  return signature + (signature.empty() ? "" : ", ") + "timeout: float = 3";
}

// One form of an operation, on one class. Lives as long as the process.
struct Method {
  Method(py::handle published, Operation row, Form its_form, Receiver& its_receiver)
      : operation(std::move(row)),
        form(its_form),
        receiver(its_receiver),
        class_name(py::str(published.attr("__name__"))),
        name(std::string(operation.name) + (form == Form::Blocking ? "" : "_async")) {
    for (auto& [text, fallback] :
         Signature(operation.timed ? timedSignature(operation.signature) : operation.signature).parameters) {
      parameters.push_back({PyUnicode_InternFromString(text.c_str()), text,
                            fallback ? std::optional(makeArgument(fallback)) : std::nullopt});
    }
    taken = parameters.size() - (operation.timed && form == Form::CoroutineWithoutTimeout ? 1 : 0);
  }

  std::string signature() const {
    return taken == parameters.size() && operation.timed ? timedSignature(operation.signature) : operation.signature;
  }

  const Operation operation;
  const Form form;
  Receiver& receiver;
  const std::string class_name;
  const py::str name;
  std::vector<Parameter> parameters;  // of the body
  std::size_t taken;                  // how many of them the form takes; the others have defaults
};

// Runs the body. What a device is the cause of is told in the words of the call.
Value perform(const Method& method, void* owner, const std::vector<Argument>& arguments) {
  try {
    return method.operation.body(owner, arguments.data());
  } catch (const Failure& failure) {
    std::vector<NamedArgument> given;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      given.push_back({method.parameters[i].text, arguments[i]});
    }
    throw explained(failure, method.operation.name, given);
  }
}

// The object in the class's dictionary. A type of its own, not pybind11's: as a method descriptor the interpreter calls
// it with its object as the first argument, without one to bind the two.
struct MethodObject {
  PyObject_HEAD vectorcallfunc vectorcall;
  const Method* method;
};

const Method& methodOf(PyObject* self) {
  return *reinterpret_cast<MethodObject*>(self)->method;
}

// The value of a name among the keywords of a call; nullptr when it is not there.
PyObject* keyword(PyObject* name, PyObject* const* values, PyObject* names) {
  const Py_ssize_t count = PyTuple_GET_SIZE(names);
  for (Py_ssize_t i = 0; i < count; ++i) {
    if (PyTuple_GET_ITEM(names, i) == name) {  // both are interned
      return values[i];
    }
  }
  for (Py_ssize_t i = 0; i < count; ++i) {
    if (PyUnicode_Compare(PyTuple_GET_ITEM(names, i), name) == 0) {
      return values[i];
    }
  }
  return nullptr;
}

// An Argument for each parameter of the body; nothing when what is given does not fit. `given` counts the values that
// have no name and come first.
std::optional<std::vector<Argument>> collect(const Method& method, PyObject* const* values, std::size_t given,
                                             PyObject* names) {
  if (given > method.taken) {
    return std::nullopt;
  }
  std::size_t named = names == nullptr ? 0 : static_cast<std::size_t>(PyTuple_GET_SIZE(names));
  std::vector<Argument> arguments;
  arguments.reserve(method.parameters.size());
  for (std::size_t i = 0; i < method.parameters.size(); ++i) {
    const auto& [name, text, fallback] = method.parameters[i];
    PyObject* value = i < given ? values[i] : nullptr;
    if (value == nullptr && named != 0 && i < method.taken) {
      value = keyword(name, values + given, names);
      named -= value != nullptr ? 1 : 0;
    }
    if (value != nullptr) {
      arguments.push_back(makeArgument(value));
    } else if (fallback) {
      arguments.push_back(*fallback);
    } else {
      return std::nullopt;
    }
  }
  return named == 0 ? std::optional(std::move(arguments)) : std::nullopt;
}

[[noreturn]] void failMisfit(PyObject* callable, PyObject* const* values, std::size_t given, PyObject* names) {
  py::tuple arguments(given);
  for (std::size_t i = 0; i < given; ++i) {
    arguments[i] = py::handle(values[i]);
  }
  py::dict keywords;
  for (Py_ssize_t i = 0; names != nullptr && i < PyTuple_GET_SIZE(names); ++i) {
    keywords[py::handle(PyTuple_GET_ITEM(names, i))] = py::handle(values[given + static_cast<std::size_t>(i)]);
  }
  throw py::type_error(misfit(callable, py::args(arguments), py::kwargs(keywords)).value());
}

class OperationBody final : public CoroutineBody {
 public:
  OperationBody(const Method& method, void* owner, std::vector<Argument> arguments)
      : method_(method), owner_(owner), arguments_(std::move(arguments)) {}
  void run() override { value_ = perform(method_, owner_, arguments_); }
  py::object result() override { return toPython(std::move(value_)); }

 private:
  const Method& method_;
  void* const owner_;
  const std::vector<Argument> arguments_;
  Value value_;
};

py::object callMethod(PyObject* callable, PyObject* const* values, std::size_t given, PyObject* names) {
  const Method& method = methodOf(callable);
  auto arguments = given == 0 ? std::nullopt : collect(method, values + 1, given - 1, names);
  if (!arguments) {
    failMisfit(callable, values, given, names);
  }
  void* const owner = method.receiver.find(values[0], method.operation.name);
  if (method.operation.body.givesArray()) {
    prepareSampleArray();
  }
  if (method.form != Form::Blocking) {
    return makeCoroutine(method.name, py::reinterpret_borrow<py::object>(values[0]),
                         std::make_unique<OperationBody>(method, owner, *std::move(arguments)));
  }
  Value value;
  {
    const Unlocked unlocked;
    value = perform(method, owner, *arguments);
  }
  return toPython(std::move(value));
}

PyObject* callFromPython(PyObject* callable, PyObject* const* values, std::size_t flagged, PyObject* names) {
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const auto given = static_cast<std::size_t>(PyVectorcall_NARGS(flagged));
    return callMethod(callable, values, given, names).release().ptr();
  });
}

PyObject* bindMethod(PyObject* self, PyObject* object, PyObject* /*type*/) {
  if (object != nullptr && object != Py_None) {
    return PyMethod_New(self, object);
  }
  Py_INCREF(self);
  return self;
}

PyObject* reprOf(PyObject* self) {
  const Method& method = methodOf(self);
  return PyUnicode_FromFormat("<method '%U' of 'pyqvx.%s' objects>", method.name.ptr(), method.class_name.c_str());
}

PyObject* nameOf(PyObject* self, void* /*unused*/) {
  return py::str(methodOf(self).name).release().ptr();
}

PyObject* qualifiedNameOf(PyObject* self, void* /*unused*/) {
  return PyUnicode_FromFormat("%s.%U", methodOf(self).class_name.c_str(), methodOf(self).name.ptr());
}

PyObject* toText(const std::string& text) {
  return PyUnicode_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size()));
}

PyObject* signatureOf(PyObject* self, void* /*unused*/) {
  return toText(textSignature("self", methodOf(self).signature()));
}

PyObject* docOf(PyObject* self, void* /*unused*/) {
  const Method& method = methodOf(self);
  const std::string result = method.operation.result;
  return toText(docText(std::string(method.name), method.signature(),
                        method.form == Form::Blocking ? result : "Coroutine[" + result + "]", method.operation.doc));
}

void deallocateMethod(PyObject* self) {
  PyTypeObject* type = Py_TYPE(self);
  type->tp_free(self);
  Py_DECREF(type);
}

PyMemberDef method_members[] = {
    {"__vectorcalloffset__", T_PYSSIZET, offsetof(MethodObject, vectorcall), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyGetSetDef method_getters[] = {
    {"__name__", nameOf, nullptr, nullptr, nullptr}, {"__qualname__", qualifiedNameOf, nullptr, nullptr, nullptr},
    {"__doc__", docOf, nullptr, nullptr, nullptr},   {"__text_signature__", signatureOf, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyTypeObject* makeMethodType() {
  PyType_Slot slots[] = {
      {Py_tp_call, slot(PyVectorcall_Call)},
      {Py_tp_descr_get, slot(bindMethod)},
      {Py_tp_repr, slot(reprOf)},
      {Py_tp_members, method_members},
      {Py_tp_getset, method_getters},
      {Py_tp_dealloc, slot(deallocateMethod)},
      {0, nullptr},
  };
  PyType_Spec spec{"pyqvx.Operation", sizeof(MethodObject), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_VECTORCALL | Py_TPFLAGS_METHOD_DESCRIPTOR |
                       Py_TPFLAGS_DISALLOW_INSTANTIATION | Py_TPFLAGS_IMMUTABLETYPE,
                   slots};
  return reinterpret_cast<PyTypeObject*>(owned(PyType_FromSpec(&spec)).release().ptr());
}

}  // namespace

void define(py::handle published, const Operation& operation, Form form, Receiver& receiver) {
  static PyTypeObject* const type = makeMethodType();  // lives as long as the process
  const py::object object = owned(type->tp_alloc(type, 0));
  const auto* method = new Method(published, operation, form, receiver);
  auto* self = reinterpret_cast<MethodObject*>(object.ptr());
  self->vectorcall = &callFromPython;
  self->method = method;
  published.attr(method->name) = object;
}

}  // namespace qvx::binding
