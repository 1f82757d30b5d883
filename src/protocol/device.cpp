#include "protocol/device.h"

#include "protocol/attempts.h"

#include <algorithm>

namespace qvx {

void Device::say(const std::string& line, std::optional<bool> verbose) const {
  if (verbose.value_or(verbose_)) {
    host().print(line);
  }
}

std::string Device::deviceName() const {
  return product_ == ProductId::None ? handle_name_ : std::string(productLabel(product_));
}

const Channel* Device::lostChannel() const {
  const auto lost = std::ranges::find(channels_, Channel::State::Lost, &Channel::state);
  return lost != channels_.end() ? *lost : nullptr;
}

void Device::expectReply() {
  if (!channels_.empty()) {
    channels_.front()->expectReply();
  }
}

void Device::failUnanswered() const {
  if (data_pool_echo.closed()) {
    fail(lostError(), "The device was closed while a reply was awaited.");
  }
  fail(ErrorId::ReceivePacketTimeoutError);
}

void Device::disconnect() {
  Attempts attempt;
  for (Channel* channel : channels_) {
    attempt([channel] { channel->disconnect(); });
  }
  attempt.end();
}

void Device::abortConnect() {
  for (Channel* channel : channels_) {
    channel->abortConnect();
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
  Attempts attempt;  // a host that cannot print must not keep threads running
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
  attempt.end();
}

}  // namespace qvx
