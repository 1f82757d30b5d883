#include "protocol/worker.h"

#include "runtime/thread.h"

#include <atomic>

namespace qvx {
namespace {

thread_local bool on_worker_thread = false;

// How long a worker's end is awaited when it is let go. A thread that is woken needs microseconds.
constexpr double kEndPatience = 1;

}  // namespace

struct Worker::Shared {
  std::string name;
  std::shared_ptr<Gate> gate;
  std::atomic<bool> killed{false};
  Mutex mutex;
  Condition changed;
  Work work;  // of the thread; others take a copy of `wake` under the mutex
  bool ended QVX_GUARDED_BY(mutex) = false;

  void run() {
    on_worker_thread = true;
    while (true) {
      gate->pass([this] { return killed || work.called(); });
      if (killed && !work.called()) {
        break;
      }
      work.step();
    }
    Work done;
    Lock lock(mutex);
    std::swap(done, work);
    ended = true;
    changed.notify(lock);
  }
};

bool Worker::isCurrentThread() {
  return on_worker_thread;
}

Worker::Worker(const std::string& name, std::shared_ptr<Gate> gate, Work work) : shared_(std::make_shared<Shared>()) {
  shared_->name = name;
  shared_->gate = std::move(gate);
  shared_->work = std::move(work);
  thread_ = startThread(name, [shared = shared_] { shared->run(); });
}

Worker::~Worker() {
  bool gone = false;
  if (!origin_.isLeft()) {
    const bool told = shared_->killed;  // and waited for, if it was to be
    kill();
    gone = join(deadlineAfter(told ? 0 : kEndPatience)) && !thread_.joinable();
  }
  if (!gone) {
    abandon();
  }
}

void Worker::kill() {
  shared_->killed = true;
  shared_->gate->call();
  std::function<void()> wake;
  {
    const Lock lock(shared_->mutex);
    wake = shared_->work.wake;
  }
  if (wake) {
    wake();
  }
}

bool Worker::killed() const {
  return shared_->killed;
}

bool Worker::alive() const {
  const Lock lock(shared_->mutex);
  return !shared_->ended && !origin_.isLeft();
}

bool Worker::join(const Deadline& deadline) {
  Shared& shared = *shared_;
  Lock lock(shared.mutex);
  const auto over = [&shared]() QVX_REQUIRES(shared.mutex) { return shared.ended; };
  const bool ended = isCurrentThread() ? over() : shared.changed.wait(lock, deadline, over);
  lock.unlock();
  if (ended) {
    const Lock joining(join_mutex_);
    if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) {
      thread_.join();  // it has done all that takes time
    }
  }
  return ended;
}

void Worker::abandon() {
  const Lock joining(join_mutex_);
  if (thread_.joinable()) {
    thread_.detach();
  }
}

const std::string& Worker::name() const {
  return shared_->name;
}

}  // namespace qvx
