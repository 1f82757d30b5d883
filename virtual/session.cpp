#include "virtual/session.h"

#include <algorithm>

namespace qvx::bench {

void Session::receive(ByteView bytes, TimePoint now) {
  reader_.feed(bytes, now);
  handleFrames(now);
}

void Session::advance(TimePoint now) {
  while (!delayed_.empty() && delayed_.front().due <= now) {
    const Delayed delayed = std::move(delayed_.front());
    delayed_.pop_front();
    delayed_bytes_ -= delayed.frame.size();
    release(delayed.frame);
  }
  if (reader_.deadline() <= now) {
    handleFrames(now);
  }
}

TimePoint Session::due() const {
  const TimePoint release_at = delayed_.empty() ? kNever : delayed_.front().due;
  return ending_ ? release_at : std::min(release_at, reader_.deadline());
}

void Session::handleFrames(TimePoint now) {
  while (!ending_ && !device_.rebootPending()) {
    const auto frame = reader_.next(now);
    if (!frame) {
      break;
    }
    log_.frame(name_, "<-", frame->code, frame->payload);
    device_.handle(*frame, *this, now);
  }
}

void Session::sendAfter(std::chrono::nanoseconds time, int code, ByteView payload, TimePoint now) {
  log_.frame(name_, "->", code, payload);
  const auto delay = device_.faults().options().delay + time;
  for (Bytes& frame : device_.faults().pass(buildFrame(code, payload))) {
    if (delay.count() == 0) {
      release(frame);
    } else {
      delayed_bytes_ += frame.size();
      const auto place = std::upper_bound(delayed_.begin(), delayed_.end(), now + delay,
                                          [](TimePoint due, const Delayed& other) { return due < other.due; });
      delayed_.insert(place, {now + delay, std::move(frame)});
    }
  }
}

void Session::release(const Bytes& frame) {
  if (reset_) {
    return;
  }
  output_.insert(output_.end(), frame.begin(), frame.end());
  ++frames_;
  reset_ = device_.faults().options().reset_after.value_or(frames_ + 1) <= frames_;
}

ByteView Session::output() const {
  const ByteView waiting = ByteView(output_).subspan(head_);
  return device_.faults().options().split ? waiting.first(std::min<std::size_t>(waiting.size(), 1)) : waiting;
}

void Session::written(std::size_t count) {
  head_ += count;
  if (head_ == output_.size()) {
    output_.clear();
    head_ = 0;
  } else if (head_ > kBacklog / 2) {
    output_.erase(output_.begin(), output_.begin() + static_cast<std::ptrdiff_t>(head_));
    head_ = 0;
  }
}

}  // namespace qvx::bench
