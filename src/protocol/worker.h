// A thread behind a gate: what the receive threads and the decoder threads are.
#pragma once

#include "protocol/gate.h"
#include "runtime/process.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace qvx {

// What a worker does. All of it is let go when the thread has ended.
struct Work {
  // One round, on the worker's thread.
  std::function<void()> step;
  // Ends a step in progress soon. Any thread, never waits.
  std::function<void()> wake;
  // Whether there is something to do although the gate is closed or the thread is to end. Any thread, never waits.
  std::function<bool()> called = [] { return false; };
};

// The thread shares what it needs with its worker: one that doesn't come back from somebody else's code outlives the
// worker, and harms nobody.
class Worker {
 public:
  // Takes one step after another, passing `gate` before each.
  Worker(const std::string& name, std::shared_ptr<Gate> gate, Work work);
  // Ends the thread, as kill() and join() do.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Whether the caller runs on a thread of the driver. These wait for nobody.
  static bool isCurrentThread();

  // Tells the thread to end after the step in progress, which it wakes; doesn't wait.
  void kill();
  bool killed() const;
  bool alive() const;
  // Waits until the thread has ended; false when it had not by `deadline`, and at once on a thread of the driver.
  bool join(const Deadline& deadline);
  // Leaves a thread that has not ended in time to itself.
  void abandon();
  const std::string& name() const;

 private:
  struct Shared;
  const std::shared_ptr<Shared> shared_;
  Origin origin_;  // a forked child has no such thread and must not wait for it
  Mutex join_mutex_;
  std::thread thread_;
};

}  // namespace qvx
