// What goes wrong on purpose. One per device; seeded, so that a failure can be replayed: the fate of the n-th frame
// that a device sends depends on the seed and n alone.
#pragma once

#include "virtual/random.h"

#include "core/bytes.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace qvx::bench {

struct FaultOptions {
  std::chrono::milliseconds delay{0};  // every frame leaves this much later
  bool split = false;                  // the transport writes one byte at a time
  double drop = 0;                     // probabilities per frame
  double duplicate = 0;
  double corrupt = 0;
  // Frames a device sends before it falls silent (0: from the start), and a connection carries before it is reset.
  std::optional<std::uint64_t> silent_after = std::nullopt;
  std::optional<std::uint64_t> reset_after = std::nullopt;
  std::optional<int> status = std::nullopt;  // of every reply
  std::map<int, int> status_of = {};         // of the replies to one command; goes before `status`
};

class Faults {
 public:
  Faults(FaultOptions options, std::uint64_t seed) : options_(std::move(options)), random_(seed) {}

  // What of `frame` goes out: nothing, the frame (perhaps with one byte changed), or that twice.
  std::vector<Bytes> pass(Bytes frame);
  // The status that replies to `code` must carry.
  std::optional<int> forcedStatus(int code) const;
  const FaultOptions& options() const { return options_; }

 private:
  FaultOptions options_;
  Random random_;
  std::uint64_t frames_ = 0;
};

}  // namespace qvx::bench
