// Analog input: what all kinds of it share (AIUnion), what the streaming kinds share (AIBased), and the 16-bit kind
// (AIModule). The 24-bit kinds are in ai24.h.
//
// While streaming, the device pushes raw blocks that the receive thread files in the handle's streaming pool; the
// decoder thread of this module turns them into volts and files them in a bounded signal queue for each port, from
// which AI_readStreaming takes them.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises AIPortNotAvaliableError for a port the product does not have, ReceivePacketTimeoutError,
// the connection's class, and the class of a firmware status other than 0. "Status" results are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"
#include "protocol/signal_queue.h"
#include "protocol/stream_decoder.h"

#include <array>
#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <vector>

namespace qvx {

// What a product gives its AI module.
struct AIConfiguration {
  std::map<int, std::vector<int>> ports;  // port number to its pins (channels)
  double ratio = 10.0 / 32768;            // volts per least-significant bit
  int num_channels = 8;                   // at start
  double max_rate = 0;                    // Hz
  bool variable = false;                  // the commands of a changing number of channels
  int pin_ports_from = 0;                 // where the ports' pins have their numbers in the pin query
};

using SampleQueue = SignalQueue<double>;
// Samples of one or more channels in volts: values of one instant together.
using Samples = std::vector<Rows<double>>;

// Samples that make one rectangle, for the array form of a read.
struct SampleArray {
  std::size_t channels = 0;
  std::vector<double> values;
};

class AIUnion {
 public:
  AIUnion(Link link, AIConfiguration configuration);
  virtual ~AIUnion() = default;

  const std::map<int, std::vector<int>> ai_dict;
  const double ai_ratio;
  const double ai_max_rate;
  std::atomic<int> ai_num_channels;

  int AI_open(const Argument& port, const Argument& timeout);
  int AI_close(const Argument& port, const Argument& timeout);

  // Returns the port number; anything else than a port of the product raises AIPortNotAvaliableError.
  int _checkAIPort(const Argument& port) const;
  // bit 0 = command, bit 1 = real-time clock, bit 2 = external interrupt
  static int _convertAITriggerModeToMask(const Argument& mode);

 protected:
  // Sends [port, fields...] and returns the status that follows the port in the reply.
  int setting(int cmd, int port, const Bytes& fields, const Argument& timeout) const;
  Reply request(int cmd, const Bytes& payload, const Argument& timeout) const;
  // The way of streamed samples is opened and closed here.
  virtual void openGate() {}
  virtual void closeGate() {}

  const int channels_at_start_;
  Link link_;
  const int pin_ports_from_;

 private:
  void openOrClose(bool open, const Argument& port, const Argument& timeout);
};

class AIBased : public AIUnion {
 public:
  // `value_size`: bytes of one channel's value in replies and in streamed blocks.
  AIBased(Link link, AIConfiguration configuration, int echo_cmd, int strm_cmd, std::size_t value_size);
  ~AIBased() override;

  const int ai_echo_cmd;
  const int ai_strm_cmd;
  std::atomic<int> ai_mode{0};
  std::atomic<bool> ai_killed{false};
  bool aiOpenFlag() const { return decoder_->opened(); }
  std::vector<int> chipSelects(int port) const;

  int AI_openStreaming(const Argument& port, const Argument& timeout);
  int AI_startStreaming(const Argument& port);
  int AI_closeStreaming(const Argument& port, const Argument& timeout);
  int AI_setMode(const Argument& port, const Argument& mode, const Argument& timeout);
  int AI_setNumSamples(const Argument& port, const Argument& num_samples, const Argument& timeout);
  int AI_setSamplingRate(const Argument& port, const Argument& sampling_rate, const Argument& timeout);
  std::vector<double> AI_readOnDemand(const Argument& port, const Argument& timeout);
  // At most `num_samples` samples (-1: all that are there), waiting for them at most `delay` seconds.
  Samples AI_readStreaming(const Argument& port, const Argument& num_samples, const Argument& delay);
  // The same as samples x channels values; a change of the number of channels ends it early.
  SampleArray AI_readStreamingArray(const Argument& port, const Argument& num_samples, const Argument& delay);

  static int _checkAIMode(const Argument& mode);
  static int _checkAIChannel(const Argument& channel);
  static int _checkAITriggerMode(const Argument& mode);
  static std::vector<int> _checkAIChipSelect(const Argument& chip_select);
  // A rate in Hz above the product's limit, or not above 0, raises AIRateNotVaildError.
  int _ckeckAISamplingRate(const Argument& port, const Argument& sampling_rate) const;
  int _AI_changePortToIndex(const Argument& port) const;
  // The pins of the port must be in AI mode; else AIPortNotAvaliableError.
  void _checkAIPinState(const Argument& port, const Argument& timeout);
  // Ends the decoder thread; called when the device is closed.
  void _AI_free();

  const std::vector<std::shared_ptr<RawQueue>>& rawQueues() const { return raw_; }
  const std::vector<std::shared_ptr<SampleQueue>>& signalQueues() const { return signal_; }
  StreamDecoder& decoder() { return *decoder_; }

 protected:
  // The port of a slot argument: on the LUMA product slots count from 1, elsewhere a slot is a port.
  int portOfSlot(const Argument& slot) const;
  int indexOfPort(int port) const;
  // Turns raw values, channel by channel and sample after sample, into as many volts.
  virtual void decode(ByteView raw, std::span<double> volts) const = 0;
  // The decoder thread may run decode() from here on: the last thing a subclass's constructor does.
  void startDecoder();
  void setChipSelects(int port, std::vector<int> chips);
  // For blocks that come from now on; what is raw yet keeps the number with which it was sampled.
  void setNumChannels(int channels);
  // Asks for one sample; reply: port, status, a value for each channel.
  std::vector<double> readSample(int cmd, int port, const Argument& timeout) const;

 private:
  void openGate() override { decoder_->open(); }
  void closeGate() override { decoder_->close(); }
  // Returns how many samples did not fit.
  std::size_t decodeBlock(std::size_t index, const RawItem& block);
  // What is known of the device is what it does after a restart.
  void beginConnection(std::uint64_t connection);
  Samples take(const Argument& port, const Argument& num_samples, const Argument& delay, bool uniform);

  const std::size_t value_size_;
  std::vector<std::shared_ptr<RawQueue>> raw_;  // by queue, as the next
  std::vector<std::shared_ptr<SampleQueue>> signal_;
  mutable Mutex chips_mutex_;
  static inline const std::map<int, std::vector<int>> kChipsAtStart{{0, {0}}, {1, {0}}, {3, {0}}};
  std::map<int, std::vector<int>> chip_select_ QVX_GUARDED_BY(chips_mutex_) = kChipsAtStart;
  // The channels of raw blocks, from that place in their queue on.
  struct Width {
    std::uint64_t from;
    int channels;
  };
  std::size_t channelsAt(std::size_t index, std::uint64_t place);
  Mutex widths_mutex_;                                                   // a raw queue's own may be taken under it
  std::vector<std::deque<Width>> widths_ QVX_GUARDED_BY(widths_mutex_);  // by queue
  std::vector<double> volts_;                                            // decoder's thread only
  std::unique_ptr<StreamDecoder> decoder_;
};

// 16-bit analog input. A sample is a list of volts, one for each of `ai_num_channels` channels.
class AIOperations : public AIBased {
 public:
  AIOperations(Link link, const AIConfiguration& configuration);
  ~AIOperations() override;

  int AI_enableChannel(const Argument& port, const Argument& channel, const Argument& timeout);
  int AI_enableCS(const Argument& slot, const Argument& chip_select, const Argument& timeout);
  int AI_setTriggerMode(const Argument& port, const Argument& mode, const Argument& timeout);
  std::vector<double> _AI_getDataRTC(const Argument& port, const Argument& timeout);
  std::vector<std::uint32_t> _AI_getCounter(const Argument& port, const Argument& timeout);
  int _AI_clearBufferStatus(const Argument& port, const Argument& timeout);
  std::vector<std::uint32_t> _AI_readBufferStatus(const Argument& port, const Argument& timeout);

 protected:
  void decode(ByteView raw, std::span<double> volts) const override;

 private:
  std::vector<std::uint32_t> readCounters(int cmd, const Argument& port, const Argument& timeout) const;
};

using AIModule = BlockingFace<AIOperations>;
using AIModule_async = CoroutineFace<AIOperations>;

}  // namespace qvx
