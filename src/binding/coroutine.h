// The awaitable that an operation's coroutine form returns: a Python coroutine whose body runs on a fiber.
#pragma once

#include "binding/bindings.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace qvx::binding {

// A body and the conversion of its result.
class CoroutineBody {
 public:
  virtual ~CoroutineBody() = default;
  // On a fiber, without the interpreter's lock. Throws what the operation raises.
  virtual void run() = 0;
  // With the interpreter's lock, after run() has returned.
  virtual py::object result() = 0;
};

void bindCoroutine(py::module_& module);

// A coroutine that has not started. `name` appears in its repr; `owner` is kept alive until it has ended.
py::object makeCoroutine(py::str name, py::object owner, std::unique_ptr<CoroutineBody> body);

// A coroutine of any callable without arguments.
template <class Body>
py::object makeCoroutineOf(py::str name, py::object owner, Body body) {
  using Result = decltype(body());
  class Simple final : public CoroutineBody {
   public:
    explicit Simple(Body body) : body_(std::move(body)) {}
    void run() override {
      if constexpr (std::is_void_v<Result>) {
        body_();
      } else {
        result_.emplace(body_());
      }
    }
    py::object result() override {
      if constexpr (std::is_void_v<Result>) {
        return py::none();
      } else {
        return py::cast(std::move(*result_));
      }
    }

   private:
    Body body_;
    std::optional<std::conditional_t<std::is_void_v<Result>, char, Result>> result_;
  };
  return makeCoroutine(std::move(name), std::move(owner), std::make_unique<Simple>(std::move(body)));
}

}  // namespace qvx::binding
