#include "virtual/rtc.h"

namespace qvx::bench {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::sys_days;

void RealTimeClock::set(Moment moment, TimePoint now) {
  catchUp(now);
  set_to_ = moment;
  set_at_ = now;
  watched_from_ = moment;  // moments jumped over do not count
}

void RealTimeClock::startAlarm(const Alarm& alarm, TimePoint now) {
  alarm_ = alarm;
  on_ = true;
  count_ = 0;
  watched_from_ = read(now);
}

void RealTimeClock::stopAlarm(TimePoint now) {
  catchUp(now);
  on_ = false;
}

TimePoint RealTimeClock::alarmDue(TimePoint now) {
  catchUp(now);
  return on_ ? set_at_ + (nextAfter(watched_from_) - set_to_) : kNever;
}

std::uint32_t RealTimeClock::alarmCount(TimePoint now) {
  catchUp(now);
  return count_;
}

RealTimeClock::Moment RealTimeClock::nextAfter(Moment moment) const {
  sys_days day = floor<days>(moment);
  const auto fits = [this](sys_days candidate) {
    return alarm_.weekly ? std::chrono::weekday(candidate).iso_encoding() == alarm_.day
                         : static_cast<unsigned>(std::chrono::year_month_day(candidate).day()) == alarm_.day;
  };
  // At most two months: no two neighbouring months both lack a day.
  while (!fits(day) || day + alarm_.time <= moment) {
    day += days(1);
  }
  return day + alarm_.time;
}

void RealTimeClock::catchUp(TimePoint now) {
  const Moment moment = read(now);
  while (on_) {
    const Moment next = nextAfter(watched_from_);
    if (next > moment) {
      break;
    }
    ++count_;
    watched_from_ = next;
  }
}

}  // namespace qvx::bench
