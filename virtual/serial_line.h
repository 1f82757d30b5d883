// What becomes of characters on a serial line when its two ends are set differently.
#pragma once

#include "core/bytes.h"

#include <cstdint>
#include <vector>

namespace qvx::bench {

enum class Parity : std::uint8_t { None, Reserved, Even, Odd };

struct LineSettings {
  std::uint32_t baud_rate = 115200;
  bool nine_bits = false;  // the ninth is sent as 0
  Parity parity = Parity::None;
  std::uint8_t stop_mode = 0;  // 1, 0.5, 2, 1.5 bits

  bool operator==(const LineSettings&) const = default;
  // From start bit to the end of the stop bits.
  double secondsPerCharacter() const;
};

struct Character {
  std::uint8_t value;
  double end;  // seconds after the beginning of the first character
};

// What a receiver reads of characters that follow each other without a pause: it waits for a falling edge and then
// samples the middle of each bit, as it takes the bits to be. It doesn't judge what it has read: wrong parity and
// missing stop bits are nothing to it.
std::vector<Character> receivedOf(ByteView sent, const LineSettings& sender, const LineSettings& receiver);

}  // namespace qvx::bench
