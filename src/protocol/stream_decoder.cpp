#include "protocol/stream_decoder.h"

#include "core/host.h"

#include <atomic>
#include <optional>

namespace qvx {
namespace {

constexpr std::chrono::seconds kBetweenReports{1};
// How long the thread's end is awaited. One that doesn't come back from a warning that it has issued is left to itself.
constexpr double kDecoderPatience = 1;

}  // namespace

// What the thread works on.
struct StreamDecoder::Shared {
  Shared(std::vector<std::shared_ptr<RawQueue>> queues, std::shared_ptr<Gate> at, Functions given)
      : raw(std::move(queues)), gate(std::move(at)), overflow(given.overflow), functions(std::move(given)) {}

  const std::vector<std::shared_ptr<RawQueue>> raw;
  const std::shared_ptr<Gate> gate;
  const std::shared_ptr<Doorbell> bell = std::make_shared<Doorbell>();
  const ErrorId overflow;
  Clock::time_point silent_until{};  // decoder's thread only
  std::atomic<bool> freed{false};
  Mutex mutex;  // the queues' may be taken under it
  Functions functions QVX_GUARDED_BY(mutex);

  // An empty item is what the decoder recognises and skips.
  void wakeUp() {
    for (const auto& queue : raw) {
      queue->put({});
    }
    bell->ring();
  }

  void step() {
    bell->wait();
    for (std::size_t index = 0; index < raw.size(); ++index) {
      // What came before the gate was closed, up to the wake-up item, can be read after it.
      while (!freed) {
        const auto item = raw[index]->take();
        if (!item || (item->bytes.empty() && gate->locked())) {
          break;
        }
        if (!item->bytes.empty()) {
          decode(index, *item);
        }
      }
      if (raw[index]->finished()) {
        finish();
      }
    }
    if (gate->locked()) {
      bell->ring();  // what is left is decoded when the gate opens again
    }
  }

  void finish() {
    const Lock lock(mutex);
    functions.finish();
  }

  // Reports without the mutex: a warning is Python's, and may take long or close the device.
  void decode(std::size_t index, const RawItem& item) {
    std::optional<std::string> trouble;
    std::size_t dropped = 0;
    try {
      const Lock lock(mutex);
      dropped = functions.decode(index, item);
    } catch (const std::exception& error) {
      trouble = error.what();
    }
    if (trouble) {
      host().reportFailure(Failure(ErrorId::FirmwareOtherError, *trouble), true);
    }
    const auto now = Clock::now();
    if (dropped != 0 && now >= silent_until) {
      silent_until = now + kBetweenReports;
      host().warn(overflow);
    }
  }
};

StreamDecoder::StreamDecoder(const char* name, std::vector<std::shared_ptr<RawQueue>> raw, Functions functions)
    : shared_(std::make_shared<Shared>(std::move(raw), gate_, std::move(functions))),
      worker_(name, gate_,
              {.step = [shared = shared_] { shared->step(); }, .wake = [shared = shared_] { shared->wakeUp(); }}) {
  for (const auto& queue : shared_->raw) {
    queue->setDoorbell(shared_->bell);
  }
  shared_->bell->ring();  // for what came before the bell hung there
}

const std::vector<std::shared_ptr<RawQueue>>& StreamDecoder::raw() const {
  return shared_->raw;
}

bool StreamDecoder::close() {
  const bool was_open = gate_->tryAcquire();
  if (was_open) {
    shared_->wakeUp();
  }
  return was_open;
}

void StreamDecoder::free() {
  const bool again = shared_->freed.exchange(true);
  worker_.kill();
  {
    const Lock lock(shared_->mutex);
    shared_->functions = {.decode = [](std::size_t, const RawItem&) { return std::size_t{0}; }};
  }
  if (!worker_.join(deadlineAfter(again ? 0 : kDecoderPatience)) && !Worker::isCurrentThread()) {
    worker_.abandon();
  }
}

// In this order: an item that the thread has taken before is refused by who has begun.
void StreamDecoder::begin(std::uint64_t connection) {
  {
    const Lock lock(shared_->mutex);
    shared_->functions.begin(connection);
  }
  for (const auto& queue : shared_->raw) {
    queue->begin(connection);
  }
}

// Behind a closed gate nobody decodes, and nothing more is to be waited for.
void StreamDecoder::finish() {
  for (const auto& queue : shared_->raw) {
    queue->finish();
  }
  if (gate_->locked()) {
    shared_->finish();
  }
}

}  // namespace qvx
