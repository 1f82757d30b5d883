// The clock by which everything waits.
#pragma once

#include <chrono>
#include <optional>

namespace qvx {

using Clock = std::chrono::steady_clock;

// A moment at which a wait gives up; nothing: never.
using Deadline = std::optional<Clock::time_point>;

// The moment `seconds` from now; at once for less than 0. So far ahead that the clock cannot express it, infinity
// included, and not a number: never.
Deadline deadlineAfter(double seconds);

}  // namespace qvx
