// Random numbers that are the same on every machine: a seed reproduces a run (the standard distributions differ
// between libraries).
#pragma once

#include <cstdint>

namespace qvx::bench {

// splitmix64: turns a counter into 64 well mixed bits.
inline std::uint64_t mixBits(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31);
}

// 64 bits to 0 <= x < 1.
inline double unitInterval(std::uint64_t bits) {
  return static_cast<double>(bits >> 11) * 0x1.0p-53;
}

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(mixBits(seed)) {}
  std::uint64_t bits() { return mixBits(state_++); }
  double unit() { return unitInterval(bits()); }
  // 0 <= x < bound; bound > 0.
  std::uint64_t below(std::uint64_t bound) { return bits() % bound; }

 private:
  std::uint64_t state_;
};

}  // namespace qvx::bench
