// What ends the bench from outside: signals, and the end of the process that started it.
#pragma once

#include "virtual/event_loop.h"

namespace qvx::bench {

// Blocks SIGTERM and SIGINT and takes them from the loop. Create it before other threads, if there ever are any.
class StopRequests final : public EventHandler {
 public:
  // `parent`: the process whose end stops the bench too; 0 for none. Throws std::system_error.
  StopRequests(EventLoop& loop, int parent);
  bool stopped() const { return stopped_; }
  void ready(std::uint32_t, TimePoint) override { stopped_ = true; }

 private:
  Descriptor signals_;
  Descriptor parent_;
  bool stopped_ = false;
};

// Lets the process open as many sockets as the system allows it.
void raiseDescriptorLimit();

}  // namespace qvx::bench
