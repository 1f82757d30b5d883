#include "protocol/device.h"

namespace qvx {

void Device::say(const std::string& line) const {
  if (verbose_) {
    host().print(line);
  }
}

std::string Device::deviceName() const {
  return product_ == ProductId::None ? handle_name_ : std::string(productLabel(product_));
}

void Device::failUnanswered() const {
  if (data_pool_echo.closed()) {
    fail(lostError(), "The device was closed while a reply was awaited.");
  }
  fail(ErrorId::ReceivePacketTimeoutError);
}

void Device::disconnect() {
  for (Channel* channel : channels_) {
    channel->disconnect();
  }
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
  // Every step is taken, whatever an earlier one threw: a host that cannot print must not keep threads running.
  std::exception_ptr trouble;
  const auto attempt = [&trouble](const auto& step) {
    try {
      step();
    } catch (...) {
      trouble = trouble ? trouble : std::current_exception();
    }
  };
  for (Channel* channel : channels_) {
    attempt([channel] {
      try {
        channel->disconnect();
      } catch (const Failure& failure) {
        host().printFailure(failure);
      }
    });
  }
  closePools();
  for (const auto& free : on_close_) {
    attempt(free);
  }
  for (Channel* channel : channels_) {
    attempt([channel] { channel->end(); });
  }
  {
    std::unique_lock lock(close_mutex_);
    closed_ = true;
    close_changed_.notify(lock);
  }
  attempt([this] { say("Closed handle (" + deviceName() + ")"); });
  if (trouble) {
    std::rethrow_exception(trouble);
  }
}

}  // namespace qvx
