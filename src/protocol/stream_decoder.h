// The background half of every stream: raw queues in, decoded rows out. AI, UART, CAN and AHRS differ only in `decode`.
#pragma once

#include "protocol/pools.h"
#include "protocol/worker.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qvx {

// Owned by a module; its thread is the only consumer of the raw queues. It parks at the gate while the function is
// closed and sleeps while the queues are empty.
class StreamDecoder {
 public:
  // Called on the decoder's thread with the index of the queue and one raw item. Empty items never reach it.
  using Decode = std::function<void(std::size_t index, const Bytes& item)>;

  StreamDecoder(const char* name, std::vector<std::shared_ptr<RawQueue>> raw, Decode decode);

  // Opens the gate. False when it was open.
  bool open() { return gate_->release(); }
  // Closes the gate and sends the thread back to it. False when it was closed.
  bool close();
  // Ends the thread. Safe to repeat.
  void free();
  bool opened() const { return !gate_->locked(); }

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }
  const std::vector<std::shared_ptr<RawQueue>>& raw() const { return raw_; }
  // For `decode`: how many items came into its queue before the one that it has been given.
  std::uint64_t place() const { return place_; }

 private:
  void step();
  void wakeUp();

  std::vector<std::shared_ptr<RawQueue>> raw_;
  Decode decode_;
  std::uint64_t place_ = 0;  // decoder's thread only
  std::shared_ptr<Doorbell> bell_ = std::make_shared<Doorbell>();
  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  Worker worker_;
};

// Reports dropped rows: the first at once, then at most once a second while rows are being dropped.
class OverflowReport {
 public:
  explicit OverflowReport(ErrorId warning) : warning_(warning) {}
  // Decoder's thread only.
  void dropped();

 private:
  ErrorId warning_;
  Clock::time_point silent_until_{};
};

}  // namespace qvx
