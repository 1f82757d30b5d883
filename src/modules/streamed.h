// How every operation that reads a stream takes what its decoder has queued.
#pragma once

#include "core/argument.h"
#include "protocol/link.h"
#include "protocol/signal_queue.h"

#include <string>
#include <string_view>
#include <vector>

namespace qvx {

// -1, everything that is there, becomes the greatest number. `what` names the argument in the message.
inline std::size_t checkedRows(const Argument& number, std::string_view what) {
  const auto count = checkedInt(number, what);
  if (count < -1) {
    refuse(ErrorId::InputDataNotInRangeError, what, number.show() + " is below -1, all that are there");
  }
  return count == -1 ? SIZE_MAX : static_cast<std::size_t>(count);
}

// Takes at most `number` rows. When fewer are there it waits for them, once, at most `delay` seconds; less when the
// connection is lost or the device closed. Raises the connection's class when it is lost and no row is left.
template <class Value>
std::vector<Rows<Value>> takeStreamed(const Link& link, SignalQueue<Value>& queue, const Argument& number,
                                      std::string_view what, const Argument& delay, bool uniform = false) {
  const std::size_t wanted = checkedRows(number, what);
  const double seconds = checkedNumber(delay, "delay");
  if (seconds < 0) {
    refuse(ErrorId::InputDataNotInRangeError, "delay", delay.show() + " s is below 0");
  }
  if (wanted != SIZE_MAX && seconds > 0) {
    queue.waitForSize(wanted, deadlineAfter(seconds));
  }
  auto rows = queue.take(wanted, uniform);
  if (rows.empty() && wanted != 0 && queue.finished()) {
    link.refuseLost();
  }
  return rows;
}

}  // namespace qvx
