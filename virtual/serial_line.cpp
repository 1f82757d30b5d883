#include "virtual/serial_line.h"

#include <algorithm>
#include <array>
#include <bit>

namespace qvx::bench {
namespace {

constexpr std::array<double, 4> kStopBits = {1, 0.5, 2, 1.5};

bool hasParity(const LineSettings& settings) {
  return settings.parity == Parity::Even || settings.parity == Parity::Odd;
}

int dataBits(const LineSettings& settings) {
  return settings.nine_bits ? 9 : 8;
}

// The level of a line over time; idle, and before and after everything, it is high.
class Waveform {
 public:
  Waveform(ByteView sent, const LineSettings& sender) {
    const double bit = 1.0 / sender.baud_rate;
    for (const std::uint8_t value : sent) {
      add(false, bit);
      for (int i = 0; i < dataBits(sender); ++i) {
        add((value >> i & 1) != 0, bit);
      }
      if (hasParity(sender)) {
        add((std::popcount(value) % 2 != 0) == (sender.parity == Parity::Even), bit);
      }
      add(true, bit * kStopBits.at(sender.stop_mode));
    }
  }
  bool at(double time) const {
    const auto edge = std::upper_bound(edges_.begin(), edges_.end(), time);
    return (edge - edges_.begin()) % 2 == 0;
  }
  // The first fall at `from` or later; negative when there is none.
  double fall(double from) const {
    auto edge = std::lower_bound(edges_.begin(), edges_.end(), from) - edges_.begin();
    edge += edge % 2;
    return edge < static_cast<std::ptrdiff_t>(edges_.size()) ? edges_[static_cast<std::size_t>(edge)] : -1;
  }

 private:
  void add(bool level, double duration) {
    if (level != level_) {
      edges_.push_back(end_);
      level_ = level;
    }
    end_ += duration;
  }

  std::vector<double> edges_;  // those with an even index are falls
  double end_ = 0;
  bool level_ = true;
};

}  // namespace

double LineSettings::secondsPerCharacter() const {
  return (1 + dataBits(*this) + (hasParity(*this) ? 1 : 0) + kStopBits.at(stop_mode)) / baud_rate;
}

std::vector<Character> receivedOf(ByteView sent, const LineSettings& sender, const LineSettings& receiver) {
  std::vector<Character> characters;
  if (sender == receiver) {
    for (const std::uint8_t value : sent) {
      characters.push_back({value, static_cast<double>(characters.size() + 1) * sender.secondsPerCharacter()});
    }
    return characters;
  }
  const Waveform line(sent, sender);
  const double bit = 1.0 / receiver.baud_rate;
  const int bits = dataBits(receiver) + (hasParity(receiver) ? 1 : 0);
  for (double start = line.fall(0); start >= 0;) {
    unsigned value = 0;
    for (int i = 0; i < 8; ++i) {
      value |= static_cast<unsigned>(line.at(start + (1.5 + i) * bit)) << i;
    }
    const double end = start + (1.5 + bits) * bit;  // the middle of the stop bit
    characters.push_back({static_cast<std::uint8_t>(value), end});
    start = line.fall(end);
  }
  return characters;
}

}  // namespace qvx::bench
