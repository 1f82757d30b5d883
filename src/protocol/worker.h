// A thread behind a gate: what the receive threads and the decoder threads are.
#pragma once

#include "protocol/gate.h"
#include "transport/process.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace qvx {

// Made by its owner's constructor, ended by stop() at the latest in the owner's destructor.
class Worker {
 public:
  // Runs `step` again and again, passing `gate` before each round. `wake` must end a step in progress soon; it is
  // called by stop(). The thread takes no signals: they are the main thread's.
  Worker(std::string name, std::shared_ptr<Gate> gate, std::function<void()> step, std::function<void()> wake);
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Whether the caller runs on a thread of the driver, which cannot wait for its own end.
  static bool isCurrentThread();

  // Ends the thread and waits for it. Safe to repeat, from any thread; on the worker's own thread it only marks it, and
  // a later call waits.
  void stop();
  // Marks the thread to end at the next round, without waiting.
  void kill() { killed_ = true; }
  bool killed() const { return killed_; }
  bool alive() const;
  // Waits until the thread has ended; false when it had not by `deadline`.
  bool join(const Deadline& deadline);
  const std::string& name() const { return name_; }

 private:
  struct Ending;
  std::string name_;
  std::shared_ptr<Gate> gate_;
  std::function<void()> step_;
  std::function<void()> wake_;
  std::atomic<bool> killed_{false};
  std::shared_ptr<Ending> ending_;
  Origin origin_;          // a forked child has no such thread and must not wait for it
  std::mutex join_mutex_;  // guards thread_
  std::thread thread_;
};

}  // namespace qvx
