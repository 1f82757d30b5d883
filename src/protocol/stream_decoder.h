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
  struct Functions {
    // Queues what is in one raw item of the queue with that index; returns how many rows did not fit. On the decoder's
    // thread, under a mutex; empty items never reach it.
    std::function<std::size_t(std::size_t index, const RawItem& item)> decode;
    // A connection begins whose number all items have from now on: what was decoded before is gone. Any thread.
    std::function<void(std::uint64_t connection)> begin = [](std::uint64_t) {};
    // Nothing more comes on a connection that is lost, and all that came is decoded.
    std::function<void()> finish = [] {};
    // Reported when rows did not fit: at once, then at most once a second while they don't.
    ErrorId overflow = ErrorId::AIQueueOverflowWarning;
  };

  StreamDecoder(const char* name, std::vector<std::shared_ptr<RawQueue>> raw, Functions functions);
  // As free().
  ~StreamDecoder() { free(); }

  // Opens the gate. False when it was open.
  bool open() { return gate_->release(); }
  // Closes the gate and sends the thread back to it. False when it was closed.
  bool close();
  // Ends the thread. Nothing is decoded any more, and no function called, once this has returned. Safe to repeat.
  void free();
  bool opened() const { return !gate_->locked(); }

  // A connection begins, or is lost; doesn't wait. Any thread.
  void begin(std::uint64_t connection);
  void finish();

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }
  const std::vector<std::shared_ptr<RawQueue>>& raw() const;

 private:
  struct Shared;
  const std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  const std::shared_ptr<Shared> shared_;
  Worker worker_;
};

}  // namespace qvx
