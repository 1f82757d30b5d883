// Turns at something that only one thread at a time may use, and that it may have to wait for while it does.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qvx {

// Not a mutex: who waits for a device, or for its turn, may have to ask the host about Ctrl-C, which takes the
// interpreter's lock, and that nobody does while holding a mutex. Any thread.
class Turn {
 public:
  // Waits for the turn; false when the deadline passes first. Passes on what the host throws at Ctrl-C.
  bool take(std::chrono::steady_clock::time_point deadline);
  void give();

 private:
  std::mutex mutex_;  // guards taken_; innermost, held for no wait but that of free_
  std::condition_variable free_;
  bool taken_ = false;
};

}  // namespace qvx
