// One row registers both forms of an operation: name, body, argument names, doc.
//
//   ops.request("AI_setMode", &AIOperations::AI_setMode, "port: int, mode: int", "int", R"(Chooses ...)");
//
// The blocking form runs the body on the caller's thread with the interpreter's lock released; the coroutine form,
// named with the suffix _async, runs the same body on a fiber. Docstrings begin with the signature, from which the
// stubs are made.
#pragma once

#include "binding/argument_caster.h"
#include "binding/bindings.h"
#include "binding/coroutine.h"
#include "binding/results.h"
#include "binding/self.h"

#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace qvx::binding {

// Argument names and defaults of a function, read from its signature ("port: int, delay: float = 0").
class Signature {
 public:
  explicit Signature(std::string_view text);
  struct Parameter {
    std::string name;
    py::object fallback;  // null: none
  };
  std::vector<Parameter> parameters;
};

}  // namespace qvx::binding

// Lets a Signature stand where pybind11 takes py::arg: the number of arguments is then known at run time only.
template <>
struct pybind11::detail::process_attribute<qvx::binding::Signature>
    : pybind11::detail::process_attribute_default<qvx::binding::Signature> {
  static void init(const qvx::binding::Signature& signature, function_record* record) {
    if (record->is_method && record->args.empty()) {
      record->args.emplace_back("self", nullptr, handle(), true, false);
    }
    for (const auto& parameter : signature.parameters) {
      // The record frees what it holds when the function goes; the names live as long as the process.
      record->args.emplace_back(internName(parameter.name), nullptr, object(parameter.fallback).release(), true, true);
    }
  }
  static const char* internName(const std::string& name);
};

namespace qvx::binding {

inline constexpr double kDefaultTimeout = 3;  // seconds

// "name(signature) -> result", an empty line, the doc. Lives as long as the process.
const char* docstring(std::string_view name, std::string_view signature, std::string_view result, std::string_view doc);
const char* keep(std::string text);

// Tells inspect.signature, help() and editors the arguments of every function and method of the module, from the first
// lines of their docstrings, and a call with other arguments which of them is wrong. To be called when all are
// registered.
void publishSignatures(const py::module_& module);

// What the coroutine form of a family takes: an own `timeout`, or the default one always.
enum class CoroutineTimeout : std::uint8_t { None, Keyword };

// Registers the operations of one module on its two published classes. `Owner` is the class whose method the body is.
template <class Blocking, class Coroutine>
class Operations {
 public:
  Operations(Blocking blocking, Coroutine coroutine, CoroutineTimeout coroutine_timeout)
      : blocking_(std::move(blocking)), coroutine_(std::move(coroutine)), coroutine_timeout_(coroutine_timeout) {}

  // An operation that waits for a reply: its body takes `timeout` last.
  template <class Owner, class Result, class... Args>
  Operations& request(const char* name, Result (Owner::*body)(Args...), const std::string& signature,
                      const char* result, const char* doc) {
    const std::string timed = signature + (signature.empty() ? "" : ", ") + "timeout: float = 3";
    defineBlocking(name, body, timed, result, doc);
    if (coroutine_timeout_ == CoroutineTimeout::Keyword) {
      defineCoroutine<Owner, Result, Args...>(name, body, timed, result, doc, std::index_sequence_for<Args...>());
    } else {
      defineDefaultTimeout(name, body, signature, result, doc, std::make_index_sequence<sizeof...(Args) - 1>());
    }
    return *this;
  }

  // An operation without a reply to wait for, or with a time limit of its own.
  template <class Owner, class Result, class... Args>
  Operations& plain(const char* name, Result (Owner::*body)(Args...), const std::string& signature, const char* result,
                    const char* doc) {
    defineBlocking(name, body, signature, result, doc);
    defineCoroutine<Owner, Result, Args...>(name, body, signature, result, doc, std::index_sequence_for<Args...>());
    return *this;
  }

 private:
  template <std::size_t>
  using Each = Argument;

  template <class Owner, class Result, class... Args>
  void defineBlocking(const char* name, Result (Owner::*body)(Args...), const std::string& signature,
                      const char* result, const char* doc) {
    defineBlockingWith(name, body, signature, result, doc, std::index_sequence_for<Args...>());
  }

  template <class Owner, class Result, class... Args, std::size_t... I>
  void defineBlockingWith(const char* name, Result (Owner::*body)(Args...), const std::string& signature,
                          const char* result, const char* doc, std::index_sequence<I...> /*unused*/) {
    blocking_.def(
        name,
        [body](const Self<typename Blocking::type>& self, const Each<I>&... args) {
          prepareResult(static_cast<Result*>(nullptr));
          const Unlocked unlocked;
          return (static_cast<Owner&>(self.object).*body)(args...);
        },
        Signature(signature), docstring(name, signature, result, doc));
  }

  template <class Owner, class Result, class... Args, std::size_t... I>
  void defineCoroutine(const char* name, Result (Owner::*body)(Args...), const std::string& signature,
                       const char* result, const char* doc, std::index_sequence<I...> /*unused*/) {
    const char* full_name = keep(std::string(name) + "_async");
    coroutine_.def(
        full_name,
        [body, full_name](const py::object& self, const Each<I>&... args) {
          prepareResult(static_cast<Result*>(nullptr));
          Owner& owner = self.cast<Self<typename Coroutine::type>>().object;
          return makeCoroutineOf(full_name, self, [&owner, body, bound = std::make_tuple(args...)] {
            return std::apply([&](const auto&... each) { return (owner.*body)(each...); }, bound);
          });
        },
        Signature(signature), docstring(full_name, signature, "Coroutine[" + std::string(result) + "]", doc));
  }

  template <class Owner, class Result, class... Args, std::size_t... I>
  void defineDefaultTimeout(const char* name, Result (Owner::*body)(Args...), const std::string& signature,
                            const char* result, const char* doc, std::index_sequence<I...> /*unused*/) {
    const char* full_name = keep(std::string(name) + "_async");
    coroutine_.def(
        full_name,
        [body, full_name](const py::object& self, const Each<I>&... args) {
          Owner& owner = self.cast<Self<typename Coroutine::type>>().object;
          return makeCoroutineOf(full_name, self, [&owner, body, bound = std::make_tuple(args...)] {
            return std::apply([&](const auto&... each) { return (owner.*body)(each..., Argument(kDefaultTimeout)); },
                              bound);
          });
        },
        Signature(signature), docstring(full_name, signature, "Coroutine[" + std::string(result) + "]", doc));
  }

  Blocking blocking_;
  Coroutine coroutine_;
  CoroutineTimeout coroutine_timeout_;
};

}  // namespace qvx::binding
