// Analog output: levels (AOModule), and the generation of waveforms on the device (AOStreamingModule).
//
// The device generates by itself; the host chooses mode, rate, channels and the form of each channel's signal, or fills
// the device's buffer with values of its own.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises AOPortNotAvaliableError for a port the product does not have, ReceivePacketTimeoutError,
// the connection's class, and the class of a firmware status other than 0. "Status" results are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <map>
#include <vector>

namespace qvx {

// What a product gives its AO module.
struct AOConfiguration {
  std::map<int, std::vector<int>> ports;  // port number to its pins (channels)
  double volt_min = -10;
  double volt_max = 10;
  int channels = 8;
  int max_rate = 10000;  // Hz
};

// What a device is set to when it is opened for generation.
struct AOSettings {
  int mode = 0;
  double sampling_rate = 0;  // Hz
};

class AOBased {
 public:
  AOBased(Link link, const AOConfiguration& configuration);
  virtual ~AOBased() = default;

  const std::map<int, std::vector<int>> ao_dict;
  const double ao_volt_min;
  const double ao_volt_max;
  const int ao_channel;
  const int ao_rate;

  std::vector<int> AO_getPort();
  std::vector<int> _AO_getPinMapPort(const Argument& port);

  // Each returns the checked value; what is refused raises the class named in its comment.
  int _checkAOPort(const Argument& port) const;            // AOPortNotAvaliableError
  static int _checkAOChannel(const Argument& channel);     // 0..7, else AOChannelNotAvaliableError
  static int _checkAOMode(const Argument& mode);           // 0..2, else AOModeNotVaildError
  static int _checkAOForm(const Argument& form);           // 1..3, else AOFormNotAvaliableError: DC is not chosen here
  static int _checkAOSpan(const Argument& span);           // 0..4, else AOSpanNotVaildError
  int _ckeckAOSamplingRate(const Argument& rate) const;    // above 0, to ao_rate, else AORateNotVaildError
  static bool _checkAONumOfValues(const Argument& count);  // whether one push can carry as many
  // The pins of the port must be idle; else AOPortNotAvaliableError.
  void _checkAOPinState(const Argument& port, const Argument& timeout);

 protected:
  // The port of a slot argument: on the LUMA product slots count from 1, elsewhere a slot is a port.
  int portOfSlot(const Argument& slot) const;
  // Volts within the product's range; else InputDataNotInRangeError.
  double checkedVolts(const Argument& value, std::string_view what) const;
  std::vector<double> checkedVoltsList(const Argument& values, std::string_view what) const;

  Reply request(int cmd, const Bytes& payload, const Argument& timeout, Repeat repeat = Repeat::Harmless) const;
  // Sends [port, fields...] and returns the status that follows the port in the reply.
  int setting(int cmd, int port, const Bytes& fields, const Argument& timeout, Repeat repeat = Repeat::Harmless) const;
  // Sends [port] and returns the reply once its status has been checked.
  Reply reading(int cmd, int port, const Argument& timeout) const;

  Link link_;
};

class AOOperations : public AOBased {
 public:
  using AOBased::AOBased;

  int AO_open(const Argument& port, const Argument& timeout);
  int AO_close(const Argument& port, const Argument& timeout);
  int AO_writeOneChannel(const Argument& port, const Argument& channel, const Argument& value, const Argument& timeout);
  int AO_writeAllChannels(const Argument& port, const Argument& value_list, const Argument& timeout);

 private:
  bool isAlwaysOpen() const;
};

class AOStreamingOperations : public AOOperations {
 public:
  using AOOperations::AOOperations;

  AOSettings AO_openStreaming(const Argument& port, const Argument& timeout);
  int AO_startStreaming(const Argument& port);
  int AO_closeStreaming(const Argument& port, const Argument& timeout);
  int _AO_stopStreaming(const Argument& port, const Argument& timeout);
  int AO_setMode(const Argument& port, const Argument& mode, const Argument& timeout);
  int AO_setSamplingRate(const Argument& port, const Argument& sampling_rate, const Argument& timeout);
  int AO_setNumSamples(const Argument& port, const Argument& num_samples, const Argument& timeout);
  int AO_setEnableChannels(const Argument& port, const Argument& channel_list, const Argument& timeout);
  int AO_setForm(const Argument& port, const Argument& channel, const Argument& form, const Argument& timeout);
  int AO_setFormParam(const Argument& port, const Argument& channel, const Argument& amplitude, const Argument& offset,
                      const Argument& frequency, const Argument& phase, const Argument& duty_cycle,
                      const Argument& timeout);
  std::vector<double> AO_getValues(const Argument& port, const Argument& timeout);
  int _AO_setSpan(const Argument& port, const Argument& span, const Argument& timeout);
  int _AO_getMode(const Argument& port, const Argument& timeout);
  int _AO_getState(const Argument& port, const Argument& timeout);
  std::vector<std::uint32_t> _AO_getCounters(const Argument& port, const Argument& timeout);
  std::uint32_t _AO_initialBuffer(const Argument& port, const Argument& timeout);
  // A list longer than one packet can carry goes out as several, in order; the first one refused ends it.
  int _AO_pushToBuffer(const Argument& port, const Argument& num_of_val, const Argument& value_list,
                       const Argument& timeout);
};

using AOModule = BlockingFace<AOOperations>;
using AOModule_async = CoroutineFace<AOOperations>;
using AOStreamingModule = BlockingFace<AOStreamingOperations>;
using AOStreamingModule_async = CoroutineFace<AOStreamingOperations>;

}  // namespace qvx
