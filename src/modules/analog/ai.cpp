#include "modules/analog/ai.h"

#include "core/constants.h"

namespace qvx {
namespace {

bool isCordlog(ProductId product) {
  return product == ProductId::CordlogF1AD || product == ProductId::CordlogF1AOD;
}

}  // namespace

AIOperations::AIOperations(Link link, const AIConfiguration& configuration)
    : AIBased(link, configuration, configuration.variable ? READ_AI_ON_DEMAND_VARIABLE : READ_AI_ON_DEMAND,
              configuration.variable ? START_AI_STREAMING_VARIABLE : START_AI_STREAMING, sizeof(std::int16_t)) {
  startDecoder();
}

AIOperations::~AIOperations() {
  _AI_free();
}

// raw: i16 BE. Volts are rounded to four decimals.
void AIOperations::decode(ByteView raw, std::span<double> volts) const {
  constexpr double kDecimals = 1e4;
  // Added and taken away it leaves an integer, rounded half to even: what rint does, but in vector registers.
  constexpr double kRound = 0x1.8p52;
  const double ratio = ai_ratio;
  for (std::size_t i = 0; i < volts.size(); ++i) {
    const auto code = static_cast<std::int16_t>(raw[2 * i] << 8 | raw[2 * i + 1]);
    volts[i] = ((code * ratio * kDecimals + kRound) - kRound) / kDecimals;
  }
}

int AIOperations::AI_enableChannel(const Argument& port, const Argument& channel, const Argument& timeout) {
  if (!isCordlog(link_.product())) {
    fail(ErrorId::APINotSupportError);
  }
  const int number = _checkAIPort(port);
  const int count = _checkAIChannel(channel);
  const int status = setting(SET_AI_ENABLED_CS, number, payload(u8(count)), timeout);
  setNumChannels(count);
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

std::vector<double> AIOperations::_AI_getDataRTC(const Argument& port, const Argument& timeout) {
  return readSample(AI_GET_DATA, _checkAIPort(port), timeout);
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
