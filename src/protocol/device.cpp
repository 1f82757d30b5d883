#include "protocol/device.h"

namespace qvx {
namespace {

// How long disconnect() waits for the receive thread to finish a read before it closes the medium under it. A native
// transport is woken and needs microseconds; one written in Python may not notice at all.
constexpr std::chrono::milliseconds kParkLimit{100};

}  // namespace

void Device::say(const std::string& line) const {
  if (verbose_) {
    host().print(line);
  }
}

std::string Device::deviceName() const {
  return product_ == ProductId::None ? handleName() : std::string(productLabel(product_));
}

void Device::failUnanswered() const {
  if (data_pool_echo.closed()) {
    fail(lostError(), "The device was closed while a reply was awaited.");
  }
  fail(ErrorId::ReceivePacketTimeoutError);
}

void Device::close() {
  {
    // A second close() returns when the first one is done; one from within the first returns at once.
    std::unique_lock lock(close_mutex_);
    if (closer_) {
      if (*closer_ != std::this_thread::get_id()) {
        close_changed_.wait(lock, std::nullopt, [this] { return closed_.load(); });
      }
      return;
    }
    closer_ = std::this_thread::get_id();
  }
  killed = true;
  if (forked()) {
    // A forked child shares the socket with its parent, whose connection this is.
    closed_ = true;
    return;
  }
  try {
    disconnect();
  } catch (const Failure& failure) {
    host().printFailure(failure);
  }
  closePools();
  for (const auto& free : on_close_) {
    free();
  }
  closeHandle();
  {
    std::unique_lock lock(close_mutex_);
    closed_ = true;
    close_changed_.notify(lock);
  }
  say("Closed handle (" + deviceName() + ")");
}

Receiver::Receiver(const char* name, std::size_t read_size, std::function<std::shared_ptr<Transport>()> client,
                   std::function<void(Frame)> file, const std::atomic<bool>& killed)
    : read_size_(read_size),
      client_(std::move(client)),
      file_(std::move(file)),
      killed_(killed),
      worker_(
          name, gate_, [this] { readOnce(); },
          [this] {
            if (const auto transport = client_()) {
              transport->wake();
            }
          }) {}

void Receiver::start() {
  const std::lock_guard lock(state_mutex_);
  state_ = State::Connected;
  gate_->release();
}

void Receiver::stop() {
  {
    const std::lock_guard lock(state_mutex_);
    state_ = State::Disconnected;
    gate_->tryAcquire();
  }
  const auto client = client_();
  if (!client) {
    return;
  }
  client->wake();
  gate_->waitParked(Clock::now() + kParkLimit);
  client->disconnect();
}

void Receiver::readOnce() {
  const auto client = client_();
  if (!client) {
    gate_->tryAcquire();
    return;
  }
  try {
    for (Frame& frame : client->recvAndSplitPacket(read_size_)) {
      file_(std::move(frame));
    }
  } catch (const Failure& failure) {
    // One report for each lost connection; the thread then sleeps at its gate until there is another. Errors caused by
    // closing the transport under a running read stay silent.
    bool lost = false;
    {
      const std::lock_guard lock(state_mutex_);
      lost = state_ == State::Connected;
      if (lost) {
        state_ = State::Lost;
        gate_->tryAcquire();
      }
    }
    if (lost && !killed_) {
      host().printFailure(failure);
    }
  }
}

}  // namespace qvx
