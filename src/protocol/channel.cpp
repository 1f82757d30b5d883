#include "protocol/channel.h"

#include "protocol/device.h"

namespace qvx {
namespace {

// How long disconnect() waits for the receive thread to finish a read before it closes the medium under it. A native
// transport is woken and needs microseconds; one written in Python may not notice at all.
constexpr std::chrono::milliseconds kParkLimit{100};

}  // namespace

Channel::Channel(Device& device, Setup setup)
    : device_(device),
      setup_(std::move(setup)),
      worker_(
          setup_.thread_name, gate_, [this] { readOnce(); },
          [this] {
            if (const auto client = setup_.client()) {
              client->wake();
            }
          }) {}

std::string Channel::identifier() const {
  const std::lock_guard lock(state_mutex_);
  return identifier_;
}

void Channel::connect(const std::string& identifier, const std::function<void()>& open) {
  if (state_ == State::Lost) {
    disconnect();
  }
  {
    const std::lock_guard lock(connect_mutex_);
    if (device_.killed) {
      fail(setup_.connection_error, "This device is closed; construct a new one to connect again.");
    }
    if (connected()) {
      fail(setup_.connection_error, "Already connected to " + this->identifier() + "; call disconnect() first.");
    }
    connecting_ = true;
    try {
      open();
    } catch (...) {
      connecting_ = false;
      throw;
    }
    connecting_ = false;
    // The receive thread is woken when it must look up; it has no reason to tick.
    if (const auto client = setup_.client()) {
      client->setTimeout(std::nullopt);
    }
    start(identifier);
  }
  device_.say("Connected to " + identifier + " (" + device_.deviceName() + ")");
}

void Channel::disconnect() {
  if (const auto client = setup_.client(); client && connecting_) {
    client->disconnect();
  }
  {
    const std::lock_guard lock(connect_mutex_);
    if (!connected()) {
      return;
    }
    stop();
  }
  device_.say("Disconnected from " + identifier() + " (" + device_.deviceName() + ")");
}

void Channel::start(const std::string& identifier) {
  const std::lock_guard lock(state_mutex_);
  identifier_ = identifier;
  state_ = State::Connected;
  gate_->release();
}

void Channel::stop() {
  {
    const std::lock_guard lock(state_mutex_);
    state_ = State::Disconnected;
    gate_->tryAcquire();
  }
  const auto client = setup_.client();
  if (!client) {
    return;
  }
  client->wake();
  gate_->waitParked(Clock::now() + kParkLimit);
  client->disconnect();
}

void Channel::readOnce() {
  const auto client = setup_.client();
  if (!client) {
    gate_->tryAcquire();
    return;
  }
  try {
    for (Frame& frame : client->recvAndSplitPacket(setup_.read_size)) {
      setup_.file(std::move(frame));
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
    if (lost && !device_.killed) {
      host().printFailure(failure);
    }
  }
}

}  // namespace qvx
