#include "virtual/faults.h"

namespace qvx::bench {

std::vector<Bytes> Faults::pass(Bytes frame) {
  // Always the same number of draws per frame, so that one option does not shift the dice of another.
  const bool drop = random_.unit() < options_.drop;
  const bool duplicate = random_.unit() < options_.duplicate;
  const bool corrupt = random_.unit() < options_.corrupt;
  const auto position = static_cast<std::size_t>(random_.below(frame.size()));
  const auto change = static_cast<std::uint8_t>(1 + random_.below(255));
  if (options_.silent_after && frames_ >= *options_.silent_after) {
    return {};
  }
  ++frames_;
  if (drop) {
    return {};
  }
  if (corrupt) {
    frame[position] ^= change;
  }
  std::vector<Bytes> out;
  if (duplicate) {
    out.push_back(frame);
  }
  out.push_back(std::move(frame));
  return out;
}

std::optional<int> Faults::forcedStatus(int code) const {
  const auto found = options_.status_of.find(code);
  return found != options_.status_of.end() ? found->second : options_.status;
}

}  // namespace qvx::bench
