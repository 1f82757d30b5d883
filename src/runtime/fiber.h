// Fibers: what lets the plain body of an operation serve as a coroutine.
//
// A fiber is a stack of its own on which a body runs until it waits; a wait leaves the stack as it is and returns to
// the thread that drives the fiber (the event loop's), which resumes it later. One thread at a time drives a fiber.
//   - Nothing on a fiber holds a Python object, and no Python code runs on a fiber's small stack: what must call Python
//     does so inside Fiber::outside.
//   - No wait inside a catch handler: the stack of caught exceptions belongs to the thread.
#pragma once

#include "runtime/clock.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

namespace qvx {

// Something that a loop can read itself while its coroutines wait for what comes there.
class Source {
 public:
  virtual ~Source() = default;
  // Becomes readable when there is something to read; open for as long as the source lives.
  virtual int fd() const = 0;
  // Reads and files without waiting. False when the loop need not watch any longer.
  virtual bool read() = 0;
};

// The event loop, as far as fibers know it.
class Scheduler {
 public:
  virtual ~Scheduler() = default;
  // Asks the loop to resume the fiber that waits with `ticket`. Any thread. A ticket that no fiber waits with any more
  // is passed over, so posting one twice or late is harmless.
  virtual void post(std::uint64_t ticket) = 0;
  // Asks the loop to read `source` whenever there is something, until read() returns false. Only from a fiber of the
  // loop; may be repeated. Without it everything is read all the same, by another thread.
  virtual void watch(const std::shared_ptr<Source>& /*source*/) {}
};

// Thrown by a wait on a cancelled fiber and on through the body. Not an exception that a body may swallow.
struct FiberCancelled {};

class Fiber {
 public:
  Fiber(std::shared_ptr<Scheduler> scheduler, std::function<void()> body);
  // Cancels what still runs.
  ~Fiber();
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  // Driver's side. Runs the body until it waits (false) or has ended (true).
  bool resume();
  // Makes the wait in progress, and every later one, throw FiberCancelled.
  void cancel() { cancelled_ = true; }
  bool finished() const { return finished_; }
  // What the body threw, FiberCancelled excepted.
  std::exception_ptr failure() const { return failure_; }
  // What the fiber waits for: its ticket, or this moment.
  std::uint64_t ticket() const { return ticket_; }
  const Deadline& deadline() const { return deadline_; }

  // The fiber that runs on this thread, nullptr on a plain stack.
  static Fiber* current();
  // Runs `call` on the stack of the driving thread; on a plain stack, right here. Its exception comes back.
  static void outside(const std::function<void()>& call);

  // Body's side, used by wait.h only.
  std::uint64_t newTicket();
  const std::shared_ptr<Scheduler>& scheduler() const { return scheduler_; }
  void suspend(Deadline deadline);

 private:
  struct Context;
  void start();
  void enter();
  void leave();

  std::shared_ptr<Scheduler> scheduler_;
  std::function<void()> body_;
  std::unique_ptr<Context> context_;
  std::uint64_t ticket_ = 0;
  Deadline deadline_;
  const std::function<void()>* outside_call_ = nullptr;
  std::exception_ptr outside_failure_;
  std::exception_ptr failure_;
  bool cancelled_ = false;
  bool finished_ = false;
};

}  // namespace qvx
