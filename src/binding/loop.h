// The road from any thread into an asyncio event loop: one eventfd for each loop, watched by the loop itself.
#pragma once

#include "binding/bindings.h"
#include "protocol/fiber.h"

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace qvx::binding {

// One for each event loop. post() is for any thread; everything else needs the interpreter's lock and runs on the
// loop's thread.
class LoopPort : public Scheduler, public std::enable_shared_from_this<LoopPort> {
 public:
  // The port of the loop that runs on this thread; made on first use. Raises RuntimeError when none runs.
  static std::shared_ptr<LoopPort> current();

  LoopPort();
  ~LoopPort() override;
  LoopPort(const LoopPort&) = delete;
  LoopPort& operator=(const LoopPort&) = delete;

  void post(std::uint64_t ticket) override;

  // A future that is done once `ticket` is posted or `deadline` has passed. `timer` takes the loop's timer, if any. The
  // caller holds the future until it calls forget(ticket).
  py::object makeFuture(std::uint64_t ticket, const Deadline& deadline, py::object& timer);
  // The ticket's future is no longer wanted.
  void forget(std::uint64_t ticket) { futures_.erase(ticket); }

 private:
  void attach(const py::object& loop);
  bool belongsTo(const py::object& loop) const;
  void drain();
  void fire(std::uint64_t ticket);

  int event_fd_;
  std::mutex mutex_;  // guards posted_
  std::vector<std::uint64_t> posted_;
  std::unordered_map<std::uint64_t, PyObject*> futures_;  // borrowed: the coroutine holds it and forgets the ticket
  py::object loop_;  // a weak reference: the loop keeps what it is given, which must not keep the loop
  py::object fire_;
};

}  // namespace qvx::binding
