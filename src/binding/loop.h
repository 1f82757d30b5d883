// The road from any thread into an asyncio event loop: one eventfd for each loop, watched by the loop itself.
#pragma once

#include "binding/bindings.h"
#include "runtime/fiber.h"
#include "runtime/mutex.h"

#include <memory>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qvx::binding {

// One for each event loop. post() is for any thread, watch() for the loop's; everything else needs the interpreter's
// lock and runs on the loop's thread.
class LoopPort : public Scheduler, public std::enable_shared_from_this<LoopPort> {
 public:
  // The port of the loop that runs on this thread; made on first use. Raises RuntimeError when none runs.
  static std::shared_ptr<LoopPort> current();

  // Whether that is this one. Asking the interpreter costs a part of what a reply's whole way does.
  bool isCurrent() const;

  LoopPort();
  ~LoopPort() override;
  LoopPort(const LoopPort&) = delete;
  LoopPort& operator=(const LoopPort&) = delete;

  void post(std::uint64_t ticket) override;

  void watch(const std::shared_ptr<Source>& source) override;

  // Tells the loop what to watch: a fiber has no interpreter to do so itself.
  void startWatching();
  // A future that is done once `ticket` is posted or `deadline` has passed. The caller holds the future until it calls
  // forget with the same.
  py::object makeFuture(std::uint64_t ticket, const Deadline& deadline);
  // The ticket's future is no longer wanted.
  void forget(std::uint64_t ticket, const Deadline& deadline);

 private:
  void attach(const py::object& loop);
  py::object loop() const;
  bool belongsTo(const py::object& loop) const;
  void drain();
  void fireAll();
  void fire(std::uint64_t ticket, bool alone);
  void setTimer();
  void fireLate(Clock::rep timer);
  void read(const std::shared_ptr<Source>& source);

  int event_fd_;
  Mutex mutex_;
  std::vector<std::uint64_t> posted_ QVX_GUARDED_BY(mutex_);
  // Weak: a loop that is closed lets go of them, and the port lives on.
  std::vector<std::weak_ptr<Source>> watched_ QVX_GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<Source>> unwatched_ QVX_GUARDED_BY(mutex_);  // which the loop has yet to be told of
  std::unordered_map<std::uint64_t, PyObject*> futures_;  // borrowed: the coroutine holds it and forgets the ticket
  // One timer serves all waits, most of which end long before their deadline.
  std::set<std::pair<Clock::time_point, std::uint64_t>> deadlines_;
  std::set<Clock::rep> timers_;
  py::object loop_;  // a weak reference: the loop keeps what it is given, which must not keep the loop
  py::object fire_late_;
};

}  // namespace qvx::binding
