// A road to one or several devices, as the loop serves it.
#pragma once

#include "virtual/event_loop.h"

#include <string>
#include <vector>

namespace qvx::bench {

// From the reply to a reboot until the device is back.
inline constexpr std::chrono::milliseconds kRebootTime{200};

// Thread rule: the loop's thread only. Lives as long as the loop is used.
class Port : public EventHandler {
 public:
  // Where each of its devices is found, for the user: "127.0.0.1:7", "/dev/pts/3".
  virtual std::vector<std::string> places() const { return {}; }

  // To be called after each batch of events, when touched or due.
  virtual void service(TimePoint now) = 0;
  bool touched() const { return touched_; }
  void touch() { touched_ = true; }
  TimePoint due() const { return due_; }

 protected:
  bool touched_ = false;
  TimePoint due_ = kNever;
};

}  // namespace qvx::bench
