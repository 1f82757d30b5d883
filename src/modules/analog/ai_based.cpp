#include "modules/analog/ai.h"

#include "core/constants.h"
#include "modules/streamed.h"
#include "modules/system/system.h"

#include <algorithm>

namespace qvx {
namespace {

struct RateLimit {
  ProductId product;
  std::array<int, 8> hz;  // by number of channels (or chip selects) in use, from one
};

constexpr std::array kRateLimits{
    RateLimit{ProductId::LUMA, {12000, 6000, 4000, 4000, 4000, 4000, 4000, 4000}},
    RateLimit{ProductId::FeroxA, {20000, 20000, 20000, 20000, 20000, 20000, 20000, 20000}},
    RateLimit{ProductId::SkylogF4A, {20000, 20000, 20000, 20000, 20000, 20000, 20000, 20000}},
    RateLimit{ProductId::FeroxA2, {10000, 10000, 10000, 10000, 10000, 10000, 10000, 10000}},
    RateLimit{ProductId::SkylogE3A, {10000, 10000, 10000, 10000, 10000, 10000, 10000, 10000}},
    RateLimit{ProductId::SkylogE3AH, {10000, 10000, 10000, 10000, 10000, 10000, 10000, 10000}},
    RateLimit{ProductId::SkylogE3AOD, {10000, 10000, 10000, 10000, 10000, 10000, 10000, 10000}},
    RateLimit{ProductId::CordlogF1AD, {16000, 8000, 6300, 4000, 3200, 2600, 2200, 2000}},
    RateLimit{ProductId::CordlogF1AOD, {16000, 8000, 6300, 4000, 3200, 2600, 2200, 2000}},
};

// What AI_open and AI_close do, beyond checking their arguments.
enum class Opening : std::uint8_t { Nothing, Gate, Command };

Opening openingOf(ProductId product) {
  switch (product) {
    case ProductId::FeroxI:
    case ProductId::FeroxIA:
      return Opening::Nothing;
    case ProductId::FeroxA:
    case ProductId::FeroxA2:
    case ProductId::LUMA:
      return Opening::Gate;
    default:
      return Opening::Command;
  }
}

}  // namespace

AIUnion::AIUnion(Link link, AIConfiguration configuration)
    : ai_dict(std::move(configuration.ports)),
      ai_ratio(configuration.ratio),
      ai_max_rate(configuration.max_rate),
      ai_num_channels(configuration.num_channels),
      channels_at_start_(configuration.num_channels),
      link_(link),
      pin_ports_from_(configuration.pin_ports_from) {}

int AIUnion::_checkAIPort(const Argument& port) const {
  return checkedKey(port, "port", ai_dict, ErrorId::AIPortNotAvaliableError);
}

int AIUnion::_convertAITriggerModeToMask(const Argument& mode) {
  constexpr std::array kMasks{1, 2, 4, 3, 5, 6};
  constexpr int kAll = 7;
  const auto number = checkedInt(mode, "mode");
  return number >= 0 && number < static_cast<std::int64_t>(kMasks.size()) ? kMasks.at(static_cast<std::size_t>(number))
                                                                          : kAll;
}

Reply AIUnion::request(int cmd, const Bytes& payload, const Argument& timeout) const {
  return link_.request(cmd, payload, checkedTimeout(timeout));
}

int AIUnion::setting(int cmd, int port, const Bytes& fields, const Argument& timeout) const {
  return request(cmd, payload(u8(port), fields), timeout).status(1);
}

void AIUnion::openOrClose(bool open, const Argument& port, const Argument& timeout) {
  const int number = _checkAIPort(port);
  checkedTimeout(timeout);
  const Opening opening = openingOf(link_.product());
  if (opening == Opening::Nothing) {
    return;
  }
  std::optional<Reply> reply;
  if (opening == Opening::Command) {
    reply = request(open ? OPEN_AI : CLOSE_AI, payload(u8(number)), timeout);
  }
  if (open) {
    openGate();
  } else {
    closeGate();
  }
  if (reply) {
    reply->status(1);
  }
}

int AIUnion::AI_open(const Argument& port, const Argument& timeout) {
  openOrClose(true, port, timeout);
  return 0;
}

int AIUnion::AI_close(const Argument& port, const Argument& timeout) {
  openOrClose(false, port, timeout);
  return 0;
}

AIBased::AIBased(Link link, AIConfiguration configuration, int echo_cmd, int strm_cmd, std::size_t value_size)
    : AIUnion(link, std::move(configuration)), ai_echo_cmd(echo_cmd), ai_strm_cmd(strm_cmd), value_size_(value_size) {
  for (const auto& [port, pins] : ai_dict) {
    raw_.push_back(link_.rawQueue(ai_strm_cmd, port));
    signal_.push_back(std::make_shared<SampleQueue>(QUEUE_SIZE_MAX));
    widths_.push_back({{0, ai_num_channels}});
  }
}

AIBased::~AIBased() {
  _AI_free();
}

void AIBased::startDecoder() {
  decoder_ = std::make_unique<StreamDecoder>(
      "qvx-ai", raw_,
      StreamDecoder::Functions{
          .decode = [this](std::size_t index, const RawItem& block) { return decodeBlock(index, block); },
          .begin = [this](std::uint64_t connection) { beginConnection(connection); },
          .finish = [this] { std::ranges::for_each(signal_, [](const auto& queue) { queue->finish(); }); },
          .overflow = ErrorId::AIQueueOverflowWarning});
  link_.onConnection(*decoder_);
  link_.onClose([this] { _AI_free(); });
}

// An incomplete sample at the end of a block is no sample; neither is the lone status with which a device acknowledges
// or refuses a start.
std::size_t AIBased::decodeBlock(std::size_t index, const RawItem& block) {
  const std::size_t channels = channelsAt(index, block.place);
  const std::size_t samples = block.bytes.size() / (value_size_ * channels);
  volts_.resize(samples * channels);
  decode(block.bytes, volts_);
  return signal_[index]->put(volts_, channels, block.connection);
}

// The device is not asked which channels it samples, for it has no answer to that; what it does after a restart is
// assumed.
void AIBased::beginConnection(std::uint64_t connection) {
  for (const auto& queue : signal_) {
    queue->begin(connection);
  }
  setNumChannels(channels_at_start_);
  ai_mode = 0;
  const Lock lock(chips_mutex_);
  chip_select_ = kChipsAtStart;
}

void AIBased::_AI_free() {
  ai_killed = true;
  if (decoder_) {
    decoder_->free();
  }
  for (const auto& queue : signal_) {
    queue->close();
  }
}

void AIBased::setNumChannels(int channels) {
  const Lock lock(widths_mutex_);
  for (std::size_t index = 0; index < widths_.size(); ++index) {
    const std::uint64_t from = raw_[index]->arrived();
    auto& widths = widths_[index];
    if (widths.back().from == from) {
      widths.pop_back();
    }
    widths.push_back({from, channels});
  }
  ai_num_channels = channels;
}

std::size_t AIBased::channelsAt(std::size_t index, std::uint64_t place) {
  const Lock lock(widths_mutex_);
  auto& widths = widths_[index];
  while (widths.size() > 1 && widths[1].from <= place) {
    widths.pop_front();
  }
  return static_cast<std::size_t>(widths.front().channels);
}

int AIBased::portOfSlot(const Argument& slot) const {
  if (link_.product() == ProductId::LUMA) {
    return _checkAIPort(checkedRange(slot, "slot", 1, 256, ErrorId::AIPortNotAvaliableError) - 1);
  }
  return _checkAIPort(slot);
}

int AIBased::indexOfPort(int port) const {
  return static_cast<int>(std::distance(ai_dict.begin(), ai_dict.find(port)));
}

int AIBased::_AI_changePortToIndex(const Argument& port) const {
  return indexOfPort(_checkAIPort(port));
}

std::vector<int> AIBased::chipSelects(int port) const {
  const Lock lock(chips_mutex_);
  const auto found = chip_select_.find(port);
  return found == chip_select_.end() ? std::vector<int>{} : found->second;
}

void AIBased::setChipSelects(int port, std::vector<int> chips) {
  const Lock lock(chips_mutex_);
  chip_select_[port] = std::move(chips);
}

int AIBased::AI_openStreaming(const Argument& port, const Argument& timeout) {
  const int number = _checkAIPort(port);
  const Reply reply = request(OPEN_AI_STREAMING, payload(u8(number)), timeout);
  const int status = reply.status(1);
  switch (link_.product()) {
    case ProductId::SkylogE3A:
    case ProductId::SkylogE3AH:
    case ProductId::SkylogF4A:
    case ProductId::SkylogE3AOD:
      // port, status, configured mode u32, configured rate f32
      reply.get<float>(6);
      ai_mode = checkedRange(Argument(static_cast<std::int64_t>(reply.get<std::uint32_t>(2))), "mode", 0, 2,
                             ErrorId::FirmwareOtherError);
      break;
    default:
      break;
  }
  return status;
}

int AIBased::AI_startStreaming(const Argument& port) {
  link_.send(ai_strm_cmd, payload(u8(portOfSlot(port))));
  return 0;
}

int AIBased::AI_closeStreaming(const Argument& port, const Argument& timeout) {
  return setting(CLOSE_AI_STREAMING, portOfSlot(port), {}, timeout);
}

int AIBased::AI_setMode(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = portOfSlot(port);
  const int chosen = _checkAIMode(mode);
  const int status = setting(SET_AI_MODE, number, payload(u8(chosen)), timeout);
  ai_mode = chosen;
  return status;
}

int AIBased::AI_setNumSamples(const Argument& port, const Argument& num_samples, const Argument& timeout) {
  const int number = portOfSlot(port);
  return setting(SET_AI_NUM_SAMPLES, number, payload(u32(checkedU32(num_samples, "num_samples"))), timeout);
}

int AIBased::AI_setSamplingRate(const Argument& port, const Argument& sampling_rate, const Argument& timeout) {
  const int number = portOfSlot(port);
  const int rate = _ckeckAISamplingRate(number, sampling_rate);
  return setting(SET_AI_SAMPLING_RATE, number, payload(f32(rate)), timeout);
}

std::vector<double> AIBased::readSample(int cmd, int port, const Argument& timeout) const {
  const Reply reply = request(cmd, payload(u8(port)), timeout);
  reply.status(1);
  std::vector<double> sample(static_cast<std::size_t>(ai_num_channels.load()));
  decode(reply.field(2, sample.size() * value_size_), sample);
  return sample;
}

std::vector<double> AIBased::AI_readOnDemand(const Argument& port, const Argument& timeout) {
  return readSample(ai_echo_cmd, portOfSlot(port), timeout);
}

Samples AIBased::AI_readStreaming(const Argument& port, const Argument& num_samples, const Argument& delay) {
  return take(port, num_samples, delay, false);
}

SampleArray AIBased::AI_readStreamingArray(const Argument& port, const Argument& num_samples, const Argument& delay) {
  Samples samples = take(port, num_samples, delay, true);
  if (samples.empty()) {
    return {static_cast<std::size_t>(ai_num_channels.load()), {}};
  }
  return {samples.front().width, std::move(samples.front().values)};
}

int AIBased::_checkAIMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 2, ErrorId::AIModeNotAvaliableError);
}

int AIBased::_checkAIChannel(const Argument& channel) {
  return checkedRange(channel, "channel", 1, 8, ErrorId::AIChannelNotAvaliableError);
}

int AIBased::_checkAITriggerMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 6, ErrorId::AITriggerModeNotAvaliableError);
}

std::vector<int> AIBased::_checkAIChipSelect(const Argument& chip_select) {
  std::vector<int> chips;
  for (const Argument& chip : checkedList(chip_select, "chip_select")) {
    chips.push_back(checkedRange(chip, "chip_select", 0, 2, ErrorId::AICSNotAvaliableError));
  }
  if (chips.empty()) {
    refuse(ErrorId::AICSNotAvaliableError, "chip_select", "at least one chip is needed");
  }
  return chips;
}

int AIBased::_ckeckAISamplingRate(const Argument& port, const Argument& sampling_rate) const {
  const int number = _checkAIPort(port);
  int most = 1 << 24;  // beyond it binary32 no longer holds every integer
  const auto limit = std::find_if(kRateLimits.begin(), kRateLimits.end(),
                                  [this](const RateLimit& row) { return row.product == link_.product(); });
  if (limit != kRateLimits.end()) {
    auto in_use = static_cast<std::size_t>(ai_num_channels.load());
    if (link_.product() == ProductId::LUMA) {
      auto chips = chipSelects(number);
      std::sort(chips.begin(), chips.end());
      in_use = static_cast<std::size_t>(std::unique(chips.begin(), chips.end()) - chips.begin());
    }
    most = limit->hz.at(std::clamp<std::size_t>(in_use, 1, limit->hz.size()) - 1);
  }
  return checkedRange(sampling_rate, "sampling_rate", 1, most, ErrorId::AIRateNotVaildError);
}

void AIBased::_checkAIPinState(const Argument& port, const Argument& timeout) {
  const int number = _checkAIPort(port);
  checkPinsAre(link_, "ADC", number + pin_ports_from_, checkedTimeout(timeout), ErrorId::AIPortNotAvaliableError);
}

Samples AIBased::take(const Argument& port, const Argument& num_samples, const Argument& delay, bool uniform) {
  const auto& queue = signal_.at(static_cast<std::size_t>(indexOfPort(portOfSlot(port))));
  return takeStreamed(link_, *queue, num_samples, "num_samples", delay, uniform);
}

}  // namespace qvx
