// An operation is a row: its name, body, arguments, result and doc. Both its forms come from it.
//
//   ops.request("AI_setMode", &AIOperations::AI_setMode, "port: int, mode: int", "int", R"(Chooses ...)");
//
// The blocking form runs the body on the caller's thread with the interpreter's lock released; the coroutine form,
// named with the suffix _async, runs the same body on a fiber. One function calls all of them, by what the row says.
// Docstrings begin with the signature, from which the stubs are made.
#pragma once

#include "binding/argument_caster.h"
#include "binding/bindings.h"
#include "binding/results.h"
#include "binding/self.h"
#include "binding/signatures.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace qvx::binding {

// What a method says of itself. A static one has no owner.
template <class Method>
struct MethodTraits;
template <class Class, class Given, class... Args>
struct MethodTraits<Given (Class::*)(Args...)> {
  using Owner = Class;
  using Result = std::remove_cvref_t<Given>;
  static constexpr auto kArguments = std::index_sequence_for<Args...>();
};
template <class Class, class Given, class... Args>
struct MethodTraits<Given (Class::*)(Args...) const> : MethodTraits<Given (Class::*)(Args...)> {};
template <class Given, class... Args>
struct MethodTraits<Given (*)(Args...)> {
  using Owner = void;
  using Result = std::remove_cvref_t<Given>;
  static constexpr auto kArguments = std::index_sequence_for<Args...>();
};

// A method of Arguments, its types forgotten: those of one shape share their code.
class AnyMethod {
 public:
  template <class Method>
  explicit AnyMethod(Method method) : AnyMethod(method, &callAs<Method, false>) {}
  // One whose result is of no use to a caller.
  template <class Method>
  static AnyMethod check(Method method) {
    return AnyMethod(method, &callAs<Method, true>);
  }

  // `owner` is the object, as the class that has the method; `given` one Argument for each parameter.
  Value operator()(void* owner, const Argument* given) const { return call_(method_, owner, given); }
  // Whether prepareSampleArray is to be called first.
  bool givesArray() const { return gives_array_; }

 private:
  using Storage = std::array<std::byte, sizeof(void (AnyMethod::*)())>;
  using Call = Value (*)(const Storage& method, void* owner, const Argument* given);

  template <class Method>
  AnyMethod(Method method, Call call)
      : call_(call), gives_array_(std::is_same_v<typename MethodTraits<Method>::Result, SampleArray>) {
    static_assert(sizeof method <= sizeof method_ && std::is_trivially_copyable_v<Method>);
    std::memcpy(method_.data(), &method, sizeof method);
  }

  template <class Method, bool kDropped>
  static Value callAs(const Storage& bytes, void* owner, const Argument* given) {
    Method method = nullptr;
    std::memcpy(&method, bytes.data(), sizeof method);
    return apply<kDropped>(method, owner, given, MethodTraits<Method>::kArguments);
  }

  template <bool kDropped, class Method, std::size_t... I>
  static Value apply(Method method, void* owner, const Argument* given, std::index_sequence<I...> /*unused*/) {
    using Owner = typename MethodTraits<Method>::Owner;
    using Result = typename MethodTraits<Method>::Result;
    const auto call = [&]() -> decltype(auto) {
      if constexpr (std::is_void_v<Owner>) {
        return method(given[I]...);
      } else {
        return (static_cast<Owner*>(owner)->*method)(given[I]...);
      }
    };
    if constexpr (std::is_void_v<Result> || kDropped) {
      call();
      return {};
    } else {
      return Value(std::in_place_type<Result>, call());
    }
  }

  Storage method_{};
  Call call_;
  bool gives_array_;
};

struct Operation {
  const char* name;
  AnyMethod body;
  std::string signature;  // "port: int, mode: int"
  bool timed;             // the body takes `timeout` last, 3 s unless said otherwise
  const char* result;
  const char* doc;
};

// Which of an operation's forms: a coroutine may take the default timeout always.
enum class Form : std::uint8_t { Blocking, Coroutine, CoroutineWithoutTimeout };

// Defines a form of an operation on a published class.
void define(py::handle published, const Operation& operation, Form form, Receiver& receiver);

// What the coroutine form of a family takes: an own `timeout`, or the default one always.
enum class CoroutineTimeout : std::uint8_t { None, Keyword };

// Registers the operations of one module on its two published classes.
template <class Blocking, class Coroutine>
class Operations {
 public:
  Operations(Blocking blocking, Coroutine coroutine, CoroutineTimeout coroutine_timeout)
      : blocking_(std::move(blocking)),
        coroutine_(std::move(coroutine)),
        timed_form_(coroutine_timeout == CoroutineTimeout::Keyword ? Form::Coroutine : Form::CoroutineWithoutTimeout) {}

  // On one class, which both forms share.
  explicit Operations(Blocking both) requires std::is_same_v<Blocking, Coroutine>
      : Operations(both, both, CoroutineTimeout::None) {}

  // An operation that waits for a reply: its body takes `timeout` last.
  template <class Method>
  Operations& request(const char* name, Method method, const char* signature, const char* result, const char* doc) {
    return both<Method>({name, AnyMethod(method), signature, true, result, doc}, timed_form_);
  }

  // An operation without a reply to wait for, or with a time limit of its own.
  template <class Method>
  Operations& plain(const char* name, Method method, const char* signature, const char* result, const char* doc) {
    return both<Method>({name, AnyMethod(method), signature, false, result, doc}, Form::Coroutine);
  }

  // One that is over at once, and has no coroutine form.
  template <class Method>
  Operations& instant(const char* name, Method method, const char* signature, const char* result, const char* doc) {
    define(blocking_, {name, AnyMethod(method), signature, false, result, doc}, Form::Blocking, of<Method>(blocking_));
    return *this;
  }

  // The same of a body that has nothing to give but its errors.
  template <class Method>
  Operations& check(const char* name, Method method, const char* signature, const char* doc) {
    define(blocking_, {name, AnyMethod::check(method), signature, false, "None", doc}, Form::Blocking,
           of<Method>(blocking_));
    return *this;
  }

 private:
  template <class Method>
  Operations& both(const Operation& operation, Form form) {
    define(blocking_, operation, Form::Blocking, of<Method>(blocking_));
    define(coroutine_, operation, form, of<Method>(coroutine_));
    return *this;
  }

  template <class Method, class Published>
  static Receiver& of(const Published& published) {
    using Owner = typename MethodTraits<Method>::Owner;
    return receiver(published, [](void* object) -> void* {
      return static_cast<Owner*>(static_cast<typename Published::type*>(object));
    });
  }

  Blocking blocking_;
  Coroutine coroutine_;
  Form timed_form_;
};
template <class Published>
Operations(Published) -> Operations<Published, Published>;

}  // namespace qvx::binding
