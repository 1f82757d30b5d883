#include "runtime/clock.h"

#include <algorithm>

namespace qvx {

Deadline deadlineAfter(double seconds) {
  constexpr double kForever = 1e9;
  if (!(seconds <= kForever)) {
    return std::nullopt;
  }
  return Clock::now() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::max(seconds, 0.0)));
}

}  // namespace qvx
