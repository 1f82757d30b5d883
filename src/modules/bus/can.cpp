#include "modules/bus/can.h"

#include "core/constants.h"
#include "modules/streamed.h"

#include <chrono>

namespace qvx {
namespace {

constexpr int kHighestFilterOrMask = 7;
constexpr std::size_t kCounters = 6;

}  // namespace

CANBased::CANBased(Link link, CANConfiguration configuration)
    : can_dict(std::move(configuration.ports)),
      link_(link),
      frames_(std::make_shared<FrameQueue>(QUEUE_SIZE_MAX)),
      decoder_("qvx-can", {link.rawQueue(START_CAN, can_dict.empty() ? 0 : can_dict.begin()->first)},
               {.decode = [this](std::size_t, const RawItem& block) { return decode(block); },
                .begin = [frames = frames_](std::uint64_t connection) { frames->begin(connection); },
                .finish = [frames = frames_] { frames->finish(); },
                .overflow = ErrorId::CANQueueOverflowWarning}) {
  link_.onConnection(decoder_);
  link_.onClose([this] { _CAN_free(); });
}

CANBased::~CANBased() {
  _CAN_free();
}

void CANBased::_CAN_free() {
  can_killed = true;
  decoder_.free();
  frames_->close();
}

std::size_t CANBased::decode(const RawItem& block) {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  decoded_.clear();
  for (ByteView rest = block.bytes; rest.size() >= CANFrame::kRecordSize; rest = rest.subspan(CANFrame::kRecordSize)) {
    decoded_.push_back(CANFrame::fromRecord(rest.first(CANFrame::kRecordSize)));
    decoded_.back().stamp(now.count());
  }
  return frames_->put(decoded_, 1, block.connection);
}

int CANBased::_checkCANPort(const Argument& port) const {
  return checkBusPort(can_dict, port, ErrorId::CANPortNotAvaliableError);
}

int CANBased::_checkCANSpeed(const Argument& speed_mode) {
  return checkedRange(speed_mode, "speed_mode", 0, 3, ErrorId::CANSpeedNotVaildError);
}

int CANBased::_checkCANTXIndex(const Argument& index) {
  return checkedRange(index, "tx_mode", 0, 2, ErrorId::CANTXNotVaildError);
}

int CANBased::_checkCANTXPriority(const Argument& priority) {
  return checkedRange(priority, "priority", 0, 3, ErrorId::CANTXPriorityNotVaildError);
}

void CANBased::_checkCANPinState_(const Argument& port, const Argument& timeout) {
  const int number = _checkCANPort(port);
  checkBusPins(link_, can_dict, number, timeout, ErrorId::CANPortNotAvaliableError);
}

int CANOperations::CAN_open(const Argument& port, const Argument& timeout) {
  const int number = _checkCANPort(port);
  _checkCANPinState_(port, timeout);
  const int status = statusOfPort(link_, OPEN_CAN, number, {}, timeout);
  decoder().open();
  return status;
}

int CANOperations::CAN_close(const Argument& port, const Argument& timeout) {
  CAN_stop(port, timeout);
  const int status = statusOfPort(link_, CLOSE_CAN, _checkCANPort(port), {}, timeout);
  decoder().close();
  return status;
}

int CANOperations::CAN_start(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, START_CAN, _checkCANPort(port), {}, timeout);
}

int CANOperations::CAN_stop(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, STOP_CAN, _checkCANPort(port), {}, timeout);
}

int CANOperations::CAN_setSpeed(const Argument& port, const Argument& speed_mode, const Argument& timeout) {
  const int number = _checkCANPort(port);
  return statusOfPort(link_, SET_CAN_SPEED, number, payload(u8(_checkCANSpeed(speed_mode))), timeout);
}

int CANOperations::CAN_write(const Argument& port, const Argument& id, const Argument& data, const Argument& remote,
                             const Argument& extended_id, const Argument& timeout) {
  const int number = _checkCANPort(port);
  return statusOfPort(link_, WRITE_CAN, number, CANFrame(id, data, remote, extended_id).bytes(), timeout, Repeat::Acts);
}

std::vector<CANFrame> CANOperations::CAN_read(const Argument& port, const Argument& num_frames, const Argument& delay) {
  _checkCANPort(port);
  auto pieces = takeStreamed(link_, *frameQueue(), num_frames, "num_frames", delay);
  return pieces.empty() ? std::vector<CANFrame>() : std::move(pieces.front().values);
}

int CANOperations::CAN_setRXFilteringOn(const Argument& port, const Argument& on_off, const Argument& timeout) {
  const int number = _checkCANPort(port);
  return statusOfPort(link_, SET_CAN_RX_FILTERING_ON, number, payload(u8(checkedRange(on_off, "on_off", 0, 1))),
                      timeout);
}

int CANOperations::CAN_setRXFilterOrMask(const Argument& port, const Argument& index, const Argument& id,
                                         const Argument& remote, const Argument& extended_id, const Argument& timeout) {
  const int number = _checkCANPort(port);
  const int which = checkedRange(index, "index", 0, kHighestFilterOrMask);
  const CANFrame frame(id, std::vector<Argument>(), remote, extended_id);
  return statusOfPort(link_, SET_CAN_RX_FILTER_OR_MASK, number, payload(u8(which), u32(frame.word())), timeout);
}

int CANOperations::_CAN_setTXPriority(const Argument& port, const Argument& tx_mode, const Argument& priority,
                                      const Argument& timeout) {
  const int number = _checkCANPort(port);
  const int buffer = _checkCANTXIndex(tx_mode);
  return statusOfPort(link_, SET_CAN_TX_PRIORITY, number, payload(u8(buffer), u8(_checkCANTXPriority(priority))),
                      timeout);
}

int CANOperations::_CAN_setRXRollover(const Argument& port, const Argument& status, const Argument& timeout) {
  const int number = _checkCANPort(port);
  return statusOfPort(link_, SET_CAN_RX_ROLLOVER, number, payload(u8(checkedRange(status, "status", 0, 1))), timeout);
}

int CANOperations::_CAN_setEnableInterrupt(const Argument& port, const Argument& status, const Argument& timeout) {
  const int number = _checkCANPort(port);
  return statusOfPort(link_, SET_CAN_ENABLED_ITR, number, payload(u8(checkedRange(status, "status", 0, 255))), timeout);
}

// reply: port, status, `count` bytes
std::vector<int> CANOperations::bytesOf(int cmd, std::size_t count, const Argument& port,
                                        const Argument& timeout) const {
  const Reply data(cmd, dataOfPort(link_, cmd, _checkCANPort(port), {}, timeout));
  const ByteView bytes = data.field(0, count);
  return {bytes.begin(), bytes.end()};
}

std::vector<int> CANOperations::_CAN_getInterrupts(const Argument& port, const Argument& timeout) {
  return bytesOf(GET_CAN_INTERRUPTS, 3, port, timeout);
}

std::vector<int> CANOperations::_CAN_getErrors(const Argument& port, const Argument& timeout) {
  return bytesOf(GET_CAN_ERRORS, 2, port, timeout);
}

// reply: port, status, u32 for each counter
std::vector<std::uint32_t> CANOperations::_CAN_getCounters(const Argument& port, const Argument& timeout) {
  const Reply data(GET_CAN_COUNTERS, dataOfPort(link_, GET_CAN_COUNTERS, _checkCANPort(port), {}, timeout));
  std::vector<std::uint32_t> counters;
  for (std::size_t i = 0; i < kCounters; ++i) {
    counters.push_back(data.get<std::uint32_t>(4 * i));
  }
  return counters;
}

}  // namespace qvx
