#include "protocol/worker.h"

#include <pthread.h>

#include <csignal>

namespace qvx {

namespace {
thread_local bool on_worker_thread = false;
}  // namespace

bool Worker::isCurrentThread() {
  return on_worker_thread;
}

// Outlives whichever of worker and thread goes first.
struct Worker::Ending {
  std::mutex mutex;  // guards ended
  Condition changed;
  bool ended = false;
};

Worker::Worker(std::string name, std::shared_ptr<Gate> gate, std::function<void()> step, std::function<void()> wake)
    : name_(std::move(name)),
      gate_(std::move(gate)),
      step_(std::move(step)),
      wake_(std::move(wake)),
      ending_(std::make_shared<Ending>()) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  try {
    thread_ = std::thread([this, ending = ending_] {
      on_worker_thread = true;
      while (!killed_) {
        gate_->pass();
        if (killed_) {
          break;
        }
        step_();
      }
      std::unique_lock lock(ending->mutex);
      ending->ended = true;
      ending->changed.notify(lock);
    });
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_setname_np(thread_.native_handle(), name_.substr(0, 15).c_str());
}

Worker::~Worker() {
  stop();
}

void Worker::stop() {
  killed_ = true;
  const std::lock_guard lock(join_mutex_);
  if (!thread_.joinable()) {
    return;
  }
  if (thread_.get_id() == std::this_thread::get_id()) {
    return;  // the next call, from elsewhere, waits
  }
  if (origin_.isLeft()) {
    thread_.detach();
    return;
  }
  gate_->release();
  wake_();
  thread_.join();
}

bool Worker::alive() const {
  const std::lock_guard lock(ending_->mutex);
  return !ending_->ended && !origin_.isLeft();
}

bool Worker::join(const Deadline& deadline) {
  std::unique_lock lock(ending_->mutex);
  return ending_->changed.wait(lock, deadline, [this] { return ending_->ended; });
}

}  // namespace qvx
