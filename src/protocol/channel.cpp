#include "protocol/channel.h"

#include "protocol/device.h"

#include <algorithm>

namespace qvx {
namespace {

// How long disconnect() waits for the receive thread to finish a read before it closes the medium under it. A native
// transport is woken and needs microseconds; one written in Python may not notice at all.
constexpr std::chrono::milliseconds kParkLimit{100};

}  // namespace

// A connection, as an event loop reads it.
class ConnectionSource final : public Source {
 public:
  ConnectionSource(std::shared_ptr<Transport> client, std::shared_ptr<const Descriptor> descriptor,
                   std::shared_ptr<Intake> intake)
      : client_(std::move(client)), descriptor_(std::move(descriptor)), intake_(std::move(intake)) {}
  int fd() const override { return descriptor_->get(); }
  bool read() override {
    return !retired_ && !origin_.isLeft() && intake_->leasedUntil() > Clock::now() &&
           client_->receiveNow(*descriptor_, *intake_);
  }
  // The channel has another connection now. This one may still be open, in somebody else's hands.
  void retire() { retired_ = true; }
  bool reads(const std::shared_ptr<const Descriptor>& descriptor) const { return descriptor_ == descriptor; }

 private:
  const std::shared_ptr<Transport> client_;
  const std::shared_ptr<const Descriptor> descriptor_;
  const std::shared_ptr<Intake> intake_;
  Origin origin_;  // a forked child must not take its parent's bytes
  std::atomic<bool> retired_ = false;
};

Channel::Channel(Device& device, Setup setup)
    : device_(device),
      setup_(std::move(setup)),
      intake_(std::make_shared<Intake>(setup_.read_size, setup_.file)),
      worker_(
          setup_.thread_name, gate_, [this] { readOnce(); }, [this] { wakeReader(); }) {}

Channel::~Channel() {
  worker_.stop();
  if (!device_.forked()) {  // a child may have been forked in the middle of a step
    intake_->end();
  }
}

void Channel::wakeReader() {
  if (const auto client = setup_.client()) {
    client->wake();
  }
}

void Channel::expectReply() {
  const Fiber* const fiber = Fiber::current();
  if (fiber == nullptr) {
    if (intake_->endLease()) {
      wakeReader();
    }
    return;
  }
  const auto client = setup_.client();
  auto descriptor = client ? client->watchable() : nullptr;
  if (!descriptor) {
    return;
  }
  std::shared_ptr<ConnectionSource> source;
  {
    const std::lock_guard lock(source_mutex_);
    source = source_.lock();
    if (!source || !source->reads(descriptor)) {
      if (source) {
        source->retire();
      }
      source = std::make_shared<ConnectionSource>(client, std::move(descriptor), intake_);
      source_ = source;
    }
  }
  intake_->renewLease();
  fiber->scheduler()->watch(source);
}

std::string Channel::identifier() const {
  const std::lock_guard lock(state_mutex_);
  return identifier_;
}

void Channel::noticeLoss() {
  constexpr double kLimit = 1;  // a native transport's read fails at once
  if (device_.forked()) {
    return;
  }
  const auto client = setup_.client();
  if (client && client->isLost()) {
    std::unique_lock lock(state_mutex_);
    changed_.wait(lock, deadlineAfter(kLimit), [this] { return state_ != State::Connected; });
  }
}

void Channel::connect(const std::string& identifier, const std::function<void()>& open, std::optional<bool> verbose) {
  device_.refuseForked(setup_.connection_error);
  noticeLoss();
  {
    std::unique_lock lock(state_mutex_);
    if (state_ == State::Lost) {
      putAway(lock, {});
    }
  }
  {
    std::unique_lock lock(state_mutex_);
    const auto self = std::this_thread::get_id();
    changed_.wait(lock, std::nullopt, [this, self] {
      const auto others = aborters_.size() - static_cast<std::size_t>(std::ranges::count(aborters_, self));
      return others == 0 && (state_ != State::Disconnecting || holder_ == self);
    });
    if (device_.killed) {
      fail(setup_.connection_error, "This device is closed; construct a new one to connect again.");
    }
    if (state_ != State::Disconnected) {
      fail(setup_.connection_error, state_ == State::Connecting
                                        ? "Another connect is in progress."
                                        : "Already connected to " + identifier_ + "; call disconnect() first.");
    }
    state_ = State::Connecting;
    holder_ = self;
    abort_ = false;
  }
  try {
    if (device_.channels().front() == this) {
      device_.data_pool_echo.strand();
    }
    open();
    // The receive thread is woken when it must look up; it has no reason to tick.
    if (const auto client = setup_.client()) {
      client->setTimeout(std::nullopt);
    }
  } catch (...) {
    settle(State::Disconnected);
    throw;
  }
  {
    std::unique_lock lock(state_mutex_);
    if (!abort_ && !device_.killed) {
      identifier_ = identifier;
      verbose_ = verbose;
      device_.expectLossReport();
      state_ = State::Connected;
      ++connections_;
      gate_->release();
      changed_.notify(lock);
    }
  }
  if (state_ == State::Connecting) {
    if (const auto client = setup_.client()) {
      client->disconnect();
    }
    settle(State::Disconnected);
    fail(setup_.connection_error, "The connect was ended by disconnect.");
  }
  device_.say("Connected to " + identifier + " (" + device_.deviceName() + ")", verbose);
}

void Channel::settle(State state) {
  std::unique_lock lock(state_mutex_);
  state_ = state;
  changed_.notify(lock);
}

// Keeps later connects waiting until the thread has done with the transport, however it ends.
class Channel::Aborting {
 public:
  Aborting(Channel& channel, std::unique_lock<std::mutex>& lock) : channel_(channel), lock_(lock) {
    channel_.aborters_.push_back(self_);
  }
  ~Aborting() {
    if (!lock_.owns_lock()) {
      lock_.lock();
    }
    channel_.aborters_.erase(std::ranges::find(channel_.aborters_, self_));
    channel_.changed_.notify(lock_);
  }
  Aborting(const Aborting&) = delete;
  Aborting& operator=(const Aborting&) = delete;

 private:
  Channel& channel_;
  std::unique_lock<std::mutex>& lock_;
  const std::thread::id self_ = std::this_thread::get_id();
};

// Until the connect has seen it: it may not have reached the transport yet when the transport is told to stop.
bool Channel::abortConnect(std::unique_lock<std::mutex>& lock) {
  constexpr double kAgain = 0.01;
  if (state_ != State::Connecting) {
    return false;
  }
  abort_ = true;
  // From within the connect, a signal handler or a transport, one call is all that can be done.
  const bool within = holder_ == std::this_thread::get_id();
  const Aborting aborting(*this, lock);
  do {
    lock.unlock();
    if (const auto client = setup_.client()) {
      client->disconnect();
    }
    lock.lock();
    if (within) {
      break;
    }
    changed_.wait(lock, deadlineAfter(kAgain), [this] { return state_ != State::Connecting; });
  } while (state_ == State::Connecting);
  return true;
}

void Channel::abortConnect() {
  std::unique_lock lock(state_mutex_);
  abortConnect(lock);
}

void Channel::disconnect(std::optional<bool> verbose) {
  if (device_.forked()) {
    return;  // the connection is the parent's, which may have held any mutex at the fork
  }
  std::unique_lock lock(state_mutex_);
  if (abortConnect(lock)) {
    return;
  }
  if (state_ == State::Disconnecting && holder_ != std::this_thread::get_id()) {
    changed_.wait(lock, std::nullopt, [this] { return state_ != State::Disconnecting; });
  }
  if (connected()) {
    putAway(lock, verbose);
  }
}

void Channel::putAway(std::unique_lock<std::mutex>& lock, std::optional<bool> verbose) {
  state_ = State::Disconnecting;
  holder_ = std::this_thread::get_id();
  gate_->tryAcquire();
  const std::string line = "Disconnected from " + identifier_ + " (" + device_.deviceName() + ")";
  verbose = verbose ? verbose : verbose_;
  lock.unlock();
  try {
    stop();
  } catch (...) {
    settle(State::Disconnected);
    throw;
  }
  settle(State::Disconnected);
  device_.say(line, verbose);
}

void Channel::stop() {
  const auto client = setup_.client();
  if (!client) {
    return;
  }
  client->wake();
  gate_->waitParked(Clock::now() + kParkLimit);
  client->disconnect();
  intake_->settle();
}

void Channel::readOnce() {
  const std::uint64_t connection = connections_;
  const auto client = setup_.client();
  if (!client) {
    gate_->tryAcquire();
    return;
  }
  try {
    client->receive(*intake_);
  } catch (const Failure& failure) {
    lose(failure, connection);
  } catch (const std::exception& error) {
    lose(Failure(setup_.connection_error, error.what()), connection);
  }
}

// One report for each lost connection; the thread then sleeps at its gate until there is another. Errors caused by
// closing the transport under a running read stay silent.
void Channel::lose(const Failure& failure, std::uint64_t connection) {
  {
    std::unique_lock lock(state_mutex_);
    if (state_ != State::Connected || connections_ != connection) {
      return;
    }
    state_ = State::Lost;
    gate_->tryAcquire();
    changed_.notify(lock);
  }
  if (device_.takeLossReport()) {
    host().printFailure(failure);
  }
}

}  // namespace qvx
