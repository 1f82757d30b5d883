#include "protocol/stream_decoder.h"

namespace qvx {

StreamDecoder::StreamDecoder(const char* name, std::vector<std::shared_ptr<RawQueue>> raw, Decode decode)
    : raw_(std::move(raw)),
      decode_(std::move(decode)),
      worker_(
          name, gate_, [this] { step(); }, [this] { wakeUp(); }) {
  for (const auto& queue : raw_) {
    queue->setDoorbell(bell_);
  }
  bell_->ring();  // for what came before the bell hung there
}

bool StreamDecoder::close() {
  const bool was_open = gate_->tryAcquire();
  if (was_open) {
    wakeUp();
  }
  return was_open;
}

void StreamDecoder::free() {
  worker_.stop();
}

// An empty item is what the decoder recognises and skips.
void StreamDecoder::wakeUp() {
  for (const auto& queue : raw_) {
    queue->put({});
  }
  bell_->ring();
}

void StreamDecoder::step() {
  bell_->wait();
  for (std::size_t index = 0; index < raw_.size(); ++index) {
    // What came before the gate was closed, up to the wake-up item, can be read after it.
    while (!worker_.killed()) {
      const auto item = raw_[index]->take(&place_);
      if (!item || (item->empty() && gate_->locked())) {
        break;
      }
      if (!item->empty()) {
        try {
          decode_(index, *item);
        } catch (const std::exception& error) {
          host().printFailure(Failure(ErrorId::FirmwareOtherError, error.what()));
        }
      }
    }
  }
  if (gate_->locked()) {
    bell_->ring();  // what is left is decoded when the gate opens again
  }
}

void OverflowReport::dropped() {
  const auto now = Clock::now();
  if (now >= silent_until_) {
    silent_until_ = now + std::chrono::seconds(1);
    host().warn(warning_);
  }
}

}  // namespace qvx
