// The real-time clock of a device and its alarm.
#pragma once

#include "virtual/clock.h"

#include "core/bytes.h"

#include <chrono>
#include <cstdint>

namespace qvx::bench {

// Runs on the bench's monotonic clock from the moment it is set. The alarm repeats, monthly or weekly, until stopped.
class RealTimeClock {
 public:
  using Moment = std::chrono::sys_seconds;

  struct Alarm {
    bool weekly = false;  // by weekday, 1 = Monday to 7; else by day of the month
    unsigned day = 1;
    std::chrono::seconds time{0};  // since midnight
  };

  RealTimeClock(Moment moment, TimePoint now) : set_to_(moment), set_at_(now), watched_from_(moment) {}

  Moment read(TimePoint now) const { return set_to_ + std::chrono::duration_cast<std::chrono::seconds>(now - set_at_); }
  void set(Moment moment, TimePoint now);

  void startAlarm(const Alarm& alarm, TimePoint now);
  void stopAlarm(TimePoint now);
  bool alarmOn() const { return on_; }
  // When the alarm is due next, whether it is on or not: at or after the present second.
  Moment nextAlarm(TimePoint now) const { return nextAfter(read(now) - std::chrono::seconds(1)); }
  // When the running alarm goes off next; kNever when it is off.
  TimePoint alarmDue(TimePoint now);
  // How often it has gone off since it was started.
  std::uint32_t alarmCount(TimePoint now);

 private:
  Moment nextAfter(Moment moment) const;
  void catchUp(TimePoint now);

  Moment set_to_;
  TimePoint set_at_;
  bool on_ = false;
  Alarm alarm_;
  Moment watched_from_;  // alarms up to here are counted
  std::uint32_t count_ = 0;
};

}  // namespace qvx::bench
