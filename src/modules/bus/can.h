// The CAN bus of a device: CAN 2.0B, standard and extended identifiers, up to 1 Mbit/s.
//
// While the bus is started the device pushes the frames that it receives; the receive thread files them in the handle's
// streaming pool, the decoder thread of this module turns them into frames in a bounded queue, from which CAN_read
// takes them.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises CANPortNotAvaliableError for a port the product does not have, ReceivePacketTimeoutError,
// the connection's class, and the class of a firmware status other than 0. "Status" results are 0. Requests carry the
// port u8 first; replies the port u8, then the status u8.
#pragma once

#include "modules/bus/can_frame.h"
#include "modules/bus/ports.h"
#include "modules/faces.h"
#include "protocol/signal_queue.h"
#include "protocol/stream_decoder.h"

#include <atomic>
#include <memory>
#include <vector>

namespace qvx {

// What a product gives its CAN module.
struct CANConfiguration {
  BusPorts ports;
};

using FrameQueue = SignalQueue<CANFrame>;

class CANBased {
 public:
  CANBased(Link link, CANConfiguration configuration);
  virtual ~CANBased();

  const BusPorts can_dict;
  std::atomic<bool> can_killed{false};
  bool canOpenFlag() const { return decoder_.opened(); }

  int _checkCANPort(const Argument& port) const;
  // 0..3, else CANSpeedNotVaildError.
  static int _checkCANSpeed(const Argument& speed_mode);
  // 0..2, else CANTXNotVaildError.
  static int _checkCANTXIndex(const Argument& index);
  // 0..3, else CANTXPriorityNotVaildError.
  static int _checkCANTXPriority(const Argument& priority);
  // The port's pins must be idle or digital lines, else CANPortNotAvaliableError.
  void _checkCANPinState_(const Argument& port, const Argument& timeout);
  // Ends the decoder thread; called when the device is closed.
  void _CAN_free();

  const std::shared_ptr<RawQueue>& rawQueue() const { return decoder_.raw().front(); }
  const std::shared_ptr<FrameQueue>& frameQueue() const { return frames_; }
  StreamDecoder& decoder() { return decoder_; }

 protected:
  Link link_;

 private:
  // block: records of CANFrame::kRecordSize bytes; an incomplete one at the end is no frame. Returns how many frames
  // did not fit.
  std::size_t decode(const RawItem& block);

  std::shared_ptr<FrameQueue> frames_;
  std::vector<CANFrame> decoded_;  // decoder's thread only
  StreamDecoder decoder_;
};

class CANOperations : public CANBased {
 public:
  using CANBased::CANBased;

  BusPorts CAN_getPort() { return can_dict; }
  int CAN_open(const Argument& port, const Argument& timeout);
  // Stops the bus first. What has been received stays readable.
  int CAN_close(const Argument& port, const Argument& timeout);
  int CAN_start(const Argument& port, const Argument& timeout);
  int CAN_stop(const Argument& port, const Argument& timeout);
  // 0: 125, 1: 250, 2: 500, 3: 1000 kbit/s.
  int CAN_setSpeed(const Argument& port, const Argument& speed_mode, const Argument& timeout);
  int CAN_write(const Argument& port, const Argument& id, const Argument& data, const Argument& remote,
                const Argument& extended_id, const Argument& timeout);
  // At most `num_frames` frames (-1: all that are there), waiting for them at most `delay` seconds.
  std::vector<CANFrame> CAN_read(const Argument& port, const Argument& num_frames, const Argument& delay);
  int CAN_setRXFilteringOn(const Argument& port, const Argument& on_off, const Argument& timeout);
  // index 0..5: filters 0 to 5; 6, 7: masks 0 and 1.
  int CAN_setRXFilterOrMask(const Argument& port, const Argument& index, const Argument& id, const Argument& remote,
                            const Argument& extended_id, const Argument& timeout);
  int _CAN_setTXPriority(const Argument& port, const Argument& tx_mode, const Argument& priority,
                         const Argument& timeout);
  int _CAN_setRXRollover(const Argument& port, const Argument& status, const Argument& timeout);
  int _CAN_setEnableInterrupt(const Argument& port, const Argument& status, const Argument& timeout);
  // Interrupt enable, interrupt state, error state.
  std::vector<int> _CAN_getInterrupts(const Argument& port, const Argument& timeout);
  // TX error code, RX error code.
  std::vector<int> _CAN_getErrors(const Argument& port, const Argument& timeout);
  // TX interrupt, RX interrupt, SPI, send, bus error, overflow counters.
  std::vector<std::uint32_t> _CAN_getCounters(const Argument& port, const Argument& timeout);

 private:
  std::vector<int> bytesOf(int cmd, std::size_t count, const Argument& port, const Argument& timeout) const;
};

using CANModule = BlockingFace<CANOperations>;
using CANModule_async = CoroutineFace<CANOperations>;

}  // namespace qvx
