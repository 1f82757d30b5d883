// Telling a forked child from the process that made an object: its threads and connections are not the child's.
#pragma once

#include <pthread.h>

#include <atomic>

namespace qvx {

// How many forks lie between the first process and this one. Costs a load.
inline unsigned processGeneration() {
  static std::atomic<unsigned> generation{0};
  [[maybe_unused]] static const int registered =
      pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); });
  return generation.load(std::memory_order_relaxed);
}

// A member that remembers the process in which its object was made.
class Origin {
 public:
  // In a forked child.
  bool isLeft() const { return generation_ != processGeneration(); }

 private:
  const unsigned generation_ = processGeneration();
};

}  // namespace qvx
