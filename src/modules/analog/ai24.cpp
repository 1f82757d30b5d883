#include "modules/analog/ai24.h"

#include "core/constants.h"

#include <array>
#include <cmath>

namespace qvx {
namespace {

constexpr std::size_t kValueSize = 3;
constexpr int kEveryChannel = 255;
constexpr double kHalfScale = 1 << 23;

// Offset binary: raw 0 is the lower end of the range, 2^23 is 0 V.
double voltsOf(std::uint32_t raw, int range) {
  constexpr double kDecimals = 1e3;
  const double span = range == 0 ? 50 : 25;
  return std::rint((raw * span / kHalfScale - span) * kDecimals) / kDecimals;
}

std::uint32_t unsigned24(ByteView raw, std::size_t at) {
  return static_cast<std::uint32_t>(raw[at] << 16 | raw[at + 1] << 8 | raw[at + 2]);
}

}  // namespace

AI24BitStreamingOperations::AI24BitStreamingOperations(Link link, const AIConfiguration& configuration)
    : AIBased(link, configuration, READAI24BIT, AI_START_STREAMING_24BIT, kValueSize) {
  startDecoder();
}

AI24BitStreamingOperations::~AI24BitStreamingOperations() {
  _AI_free();
}

// raw: i24 BE
void AI24BitStreamingOperations::decode(ByteView raw, std::span<double> volts) const {
  const double ratio = ai_ratio;
  for (std::size_t i = 0; i < volts.size(); ++i) {
    // The value's sign bit becomes the integer's, and comes down again with the shift.
    const auto code = static_cast<std::int32_t>(unsigned24(raw, kValueSize * i) << 8) >> 8;
    volts[i] = code * ratio;
  }
}

// reply: port, status, for each channel: range u8 (0: +-50 V, else +-25 V), value u24
std::vector<double> AI24BitOperations::AI_readOnDemand(const Argument& port, const Argument& timeout) {
  const int number = _checkAIPort(port);
  const Reply reply = request(READAI24BIT, payload(u8(number), u8(kEveryChannel)), timeout);
  reply.status(1);
  std::vector<double> sample(static_cast<std::size_t>(ai_num_channels.load()));
  constexpr std::size_t kReading = 1 + kValueSize;
  const ByteView readings = reply.field(2, sample.size() * kReading);
  for (std::size_t i = 0; i < sample.size(); ++i) {
    sample[i] = voltsOf(unsigned24(readings, i * kReading + 1), readings[i * kReading]);
  }
  return sample;
}

}  // namespace qvx
