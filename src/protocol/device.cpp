#include "protocol/device.h"

#include "core/host.h"
#include "protocol/attempts.h"

namespace qvx {
namespace {

// How long a close that comes second waits for the first.
constexpr double kCloserPatience = 2;

}  // namespace

// What the application wants to be called at a loss.
struct Device::LossCall {
  Mutex mutex;
  std::function<void()> call QVX_GUARDED_BY(mutex);

  void operator()() {
    std::function<void()> now;
    {
      const Lock lock(mutex);
      now = call;
    }
    if (now) {
      now();
    }
  }
};

Device::Device(const Identity& identity)
    : identity_(identity),
      loss_call_(std::make_shared<LossCall>()),
      connection_(std::make_shared<Connection>(
          deviceName(), identity.connection_error, identity.verbose,
          Connection::Events{.begun = [this](std::uint64_t number) { begun(number); },
                             .ended = [this](const std::optional<Failure>& loss) { ended(loss); },
                             .reported = [call = loss_call_] { (*call)(); }})) {}

// A handle that is whole closes itself before, and nothing is waited for; one whose constructor has failed ends its
// threads here.
Device::~Device() {
  if (forked()) {
    return;
  }
  try {
    if (!closed_) {
      connection_->close();
    }
  } catch (...) {
    // Only what is printed can fail, and nobody is there to be told.
  }
  connection_->leave();
}

Channel& Device::add(Channel::Setup setup) {
  Channel& channel = connection_->add(std::move(setup));
  first_channel_ = first_channel_ == nullptr ? &channel : first_channel_;
  return channel;
}

void Device::say(const std::string& line) const {
  if (identity_.verbose) {
    host().print(line);
  }
}

std::string Device::deviceName() const {
  return identity_.product == ProductId::None ? identity_.handle_name : std::string(productLabel(identity_.product));
}

std::shared_ptr<Reader> Device::expectReply() {
  return first_channel_ != nullptr ? first_channel_->expectReply() : nullptr;
}

void Device::begun(std::uint64_t number) {
  const auto client = clientCmd();
  data_pool_echo.begin(client ? client->longestSilence() : Clock::duration::zero());
  for (const Listener& listener : listeners_) {
    listener.begun(number);
  }
  for (const auto& [key, queue] : data_pool_strm.entries()) {
    queue->begin(number);  // those that no decoder serves, too
  }
}

void Device::ended(const std::optional<Failure>& loss) {
  data_pool_echo.end(loss);
  if (!loss) {
    return;
  }
  for (const auto& [key, queue] : data_pool_strm.entries()) {
    queue->finish();
  }
  for (const Listener& listener : listeners_) {
    listener.lost();
  }
}

void Device::open(Connection::Opening opening) const {
  refuseForked(identity_.connection_error);
  connection_->connect(std::move(opening));
}

void Device::failUnanswered() const {
  refuseLost();
  if (data_pool_echo.closed()) {
    fail(lostError(), "The device was closed while a reply was awaited.");
  }
  fail(ErrorId::ReceivePacketTimeoutError);
}

void Device::disconnect() {
  if (!forked()) {  // the connection is the parent's, which may have held any mutex at the fork
    connection_->disconnect();
  }
}

bool Device::waitLost(const Deadline& deadline) const {
  refuseForked(lostError());
  return connection_->waitLost(deadline);
}

void Device::onConnectionLost(std::function<void()> call) {
  const Lock lock(loss_call_->mutex);
  loss_call_->call.swap(call);
}

void Device::close() {
  killed = true;
  if (forked()) {
    closed_ = true;
    return;
  }
  {
    // A second close() returns when the first one is done. One from within the first, or from a thread of the driver,
    // returns at once.
    Lock lock(close_mutex_);
    if (closer_) {
      if (*closer_ != std::this_thread::get_id() && !Worker::isCurrentThread()) {
        close_changed_.wait(lock, deadlineAfter(kCloserPatience), [this] { return closed_.load(); });
      }
      return;
    }
    closer_ = std::this_thread::get_id();
  }
  Attempts attempt;  // a host that cannot print must not keep threads running
  attempt([this] {
    try {
      connection_->close();
    } catch (const Failure& failure) {
      host().reportFailure(failure, identity_.verbose);
    }
  });
  connection_->leave();  // an owner that comes back later finds nobody
  closePools();
  for (const auto& free : on_close_) {
    attempt(free);
  }
  {
    Lock lock(close_mutex_);
    closed_ = true;
    close_changed_.notify(lock);
  }
  attempt([this] { say("Closed handle (" + deviceName() + ")"); });
  attempt.end();
}

}  // namespace qvx
