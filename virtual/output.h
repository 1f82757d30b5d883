// What the analog outputs of a virtual device put out, now and in the recent past: what is wired to them may be sampled
// later than it was measured.
#pragma once

#include "virtual/clock.h"
#include "virtual/source.h"
#include "virtual/wire.h"

#include <deque>
#include <memory>
#include <vector>

namespace qvx::bench {

// Volts as a function of the seconds since it began.
class Signal {
 public:
  virtual ~Signal() = default;
  virtual double at(double seconds) const = 0;
};

class OutputLine {
 public:
  // Puts out `signal` from `from` on, which must not be earlier than what was given last.
  void play(TimePoint from, std::shared_ptr<const Signal> signal);
  // A level.
  void set(TimePoint from, double volts);
  // 0 V, as if there had never been anything else.
  void reset() { history_.clear(); }
  double at(TimePoint time) const;

 private:
  struct Stretch {
    TimePoint from;
    std::shared_ptr<const Signal> signal;
  };
  std::deque<Stretch> history_;  // by time; the oldest are forgotten
};

// By analog channel.
using Outputs = std::vector<std::shared_ptr<OutputLine>>;

// Puts what the wires lead to in the place of the inputs' sources. Throws std::invalid_argument, with a message for the
// user, when there is no such output or input, and when two wires lead to one input.
void connect(const std::vector<Wire>& wires, const Outputs& outputs, TimePoint switched_on, Inputs& inputs);

}  // namespace qvx::bench
