#include "virtual/ai24_firmware.h"

#include "core/constants.h"

#include <algorithm>
#include <cmath>

namespace qvx::bench {
namespace {

constexpr std::uint8_t kEveryChannel = 255;
constexpr double kHalfScale = 1 << 23;

}  // namespace

void Ai24Firmware::addCommands(CommandTable& table) {
  static constexpr CommandRow<Ai24Firmware> kRows[] = {
      {READAI24BIT, 2, 2, ReplyForm::EchoStatus, &Ai24Firmware::read},
  };
  table.add<Ai24Firmware>(*this, kRows);
}

// payload: port u8, 255; reply for each channel: range u8, value u24, offset binary
Answer Ai24Firmware::read(const Request& request) {
  if (request.payload[0] != 0) {
    return status::kPinIndex;
  }
  if (request.payload[1] != kEveryChannel) {
    return status::kAi;
  }
  const double seconds = secondsBetween(board_.switched_on, request.now);
  Bytes readings;
  for (const auto& input : board_.inputs) {
    const double volts = input->at(seconds);
    const bool narrow = std::abs(volts) < 25;
    const double span = narrow ? 25 : 50;
    const double raw = std::clamp(std::nearbyint((volts / span + 1) * kHalfScale), 0.0, 2 * kHalfScale - 1);
    const Bytes value = payload(u32(static_cast<std::uint32_t>(raw)));
    readings.push_back(narrow ? 1 : 0);
    readings.insert(readings.end(), value.begin() + 1, value.end());
  }
  return readings;
}

}  // namespace qvx::bench
