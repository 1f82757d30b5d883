// The bench's notion of time: the monotonic clock, always passed in, so that tests can move it.
#pragma once

#include <chrono>

namespace qvx::bench {

using TimePoint = std::chrono::steady_clock::time_point;
using std::chrono::steady_clock;

inline constexpr TimePoint kNever = TimePoint::max();

inline double secondsBetween(TimePoint from, TimePoint to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace qvx::bench
