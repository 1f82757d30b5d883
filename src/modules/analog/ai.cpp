#include "modules/analog/ai.h"

#include "core/constants.h"

#include <algorithm>
#include <cmath>

namespace qvx {
namespace {

bool isCordlog(ProductId product) {
  return product == ProductId::CordlogF1AD || product == ProductId::CordlogF1AOD;
}

// Volts of a raw code, rounded to four decimals.
double voltsOf(std::int16_t code, double ratio) {
  constexpr double kDecimals = 1e4;
  return std::rint(code * ratio * kDecimals) / kDecimals;
}

}  // namespace

AIOperations::AIOperations(Link link, const AIConfiguration& configuration)
    : AIBased(link, configuration, configuration.variable ? READ_AI_ON_DEMAND_VARIABLE : READ_AI_ON_DEMAND,
              configuration.variable ? START_AI_STREAMING_VARIABLE : START_AI_STREAMING) {
  volts_of_code_.resize(0x10000);
  for (std::uint32_t code = 0; code < volts_of_code_.size(); ++code) {
    volts_of_code_[code] = voltsOf(static_cast<std::int16_t>(code), ai_ratio);
  }
  startDecoder();
}

AIOperations::~AIOperations() {
  _AI_free();
}

// block: i16 BE for each channel, sample after sample
void AIOperations::decode(const Bytes& block, std::size_t channels, std::vector<double>& volts) const {
  const std::size_t count = block.size() / (2 * channels) * channels;
  volts.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    volts[i] = volts_of_code_[static_cast<std::size_t>(block[2 * i] << 8 | block[2 * i + 1])];
  }
}

int AIOperations::AI_enableChannel(const Argument& port, const Argument& channel, const Argument& timeout) {
  if (!isCordlog(link_.product())) {
    fail(ErrorId::APINotSupportError);
  }
  const int number = _checkAIPort(port);
  const int count = _checkAIChannel(channel);
  const int status = setting(SET_AI_ENABLED_CS, number, payload(u8(count)), timeout);
  ai_num_channels = count;
  return status;
}

int AIOperations::AI_enableCS(const Argument& slot, const Argument& chip_select, const Argument& timeout) {
  if (link_.product() != ProductId::LUMA) {
    fail(ErrorId::APINotSupportError);
  }
  const int port = portOfSlot(slot);
  const auto chips = _checkAIChipSelect(chip_select);
  int mask = 0;
  for (const int chip : chips) {
    mask |= 1 << chip;
  }
  setChipSelects(port, chips);
  return setting(SET_AI_ENABLED_CS, port, payload(u8(mask)), timeout);
}

int AIOperations::AI_setTriggerMode(const Argument& port, const Argument& mode, const Argument& timeout) {
  if (isCordlog(link_.product())) {
    fail(ErrorId::APINotSupportError);
  }
  const int number = _checkAIPort(port);
  const int mask = _convertAITriggerModeToMask(_checkAITriggerMode(mode));
  return setting(AI_SET_TRIG_MODE, number, payload(u8(mask)), timeout);
}

// reply: port, status, i16 for each channel
std::vector<double> AIOperations::readSample(int cmd, int port, const Argument& timeout) const {
  const Reply reply = request(cmd, payload(u8(port)), timeout);
  reply.status(1);
  std::vector<double> sample;
  const auto channels = static_cast<std::size_t>(ai_num_channels.load());
  for (std::size_t channel = 0; channel < channels; ++channel) {
    sample.push_back(volts_of_code_[reply.get<std::uint16_t>(2 + 2 * channel)]);
  }
  return sample;
}

std::vector<double> AIOperations::AI_readOnDemand(const Argument& port, const Argument& timeout) {
  return readSample(ai_echo_cmd, portOfSlot(port), timeout);
}

std::vector<double> AIOperations::_AI_getDataRTC(const Argument& port, const Argument& timeout) {
  return readSample(AI_GET_DATA, _checkAIPort(port), timeout);
}

Samples AIOperations::AI_readStreaming(const Argument& port, const Argument& num_samples, const Argument& delay) {
  return take(port, num_samples, delay, false);
}

SampleArray AIOperations::AI_readStreamingArray(const Argument& port, const Argument& num_samples,
                                                const Argument& delay) {
  Samples samples = take(port, num_samples, delay, true);
  if (samples.empty()) {
    return {static_cast<std::size_t>(ai_num_channels.load()), {}};
  }
  return {samples.front().width, std::move(samples.front().values)};
}

// reply: port, status, u32 counters
std::vector<std::uint32_t> AIOperations::readCounters(int cmd, const Argument& port, const Argument& timeout) const {
  const Reply reply = request(cmd, payload(u8(portOfSlot(port))), timeout);
  reply.status(1);
  return reply.u32List(2);
}

std::vector<std::uint32_t> AIOperations::_AI_getCounter(const Argument& port, const Argument& timeout) {
  return readCounters(GET_AI_COUNTERS, port, timeout);
}

std::vector<std::uint32_t> AIOperations::_AI_readBufferStatus(const Argument& port, const Argument& timeout) {
  return readCounters(CHECK_BUFFER_STATUS, port, timeout);
}

int AIOperations::_AI_clearBufferStatus(const Argument& port, const Argument& timeout) {
  return setting(CLEAR_DATA, portOfSlot(port), {}, timeout);
}

}  // namespace qvx
