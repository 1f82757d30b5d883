#include "protocol/connection.h"

#include "core/host.h"
#include "runtime/thread.h"

#include <algorithm>
#include <utility>

namespace qvx {
namespace {

// How long anybody waits for the owner. A native transport is woken and needs microseconds; one written in Python may
// not notice at all.
constexpr double kOwnerPatience = 1;
// How long a read is given to end by itself before its transport is told to disconnect.
constexpr std::chrono::milliseconds kForReading{100};
// The first time after which a transport that is connecting is told again: it may not have begun to when it was told.
constexpr std::chrono::milliseconds kForConnecting{5};
constexpr const char* kClosed = "This device is closed; construct a new one to connect again.";

}  // namespace

// Shared by who has posted it and the owner. Guarded by the connection's mutex until it is served, but what it asks for
// and `lines` and `failure`, which are the owner's until then.
struct Connection::Request {
  std::optional<Opening> opening;  // of a connect; nothing: disconnect
  std::optional<bool> verbose;     // of a disconnect
  bool begun = false;              // the owner is at it
  bool given_up = false;           // a connect: it is to come to nothing
  bool unattended = false;         // nobody waits for it
  bool served = false;
  std::vector<std::string> lines;  // to be printed
  std::exception_ptr failure;
};

Connection::Connection(std::string device_name, ErrorId connection_error, bool verbose, Events events)
    : device_name_(std::move(device_name)),
      connection_error_(connection_error),
      verbose_(verbose),
      events_(std::move(events)) {}

Connection::~Connection() = default;

Channel& Connection::add(Channel::Setup setup) {
  channels_.push_back(std::make_unique<Channel>(*this, std::move(setup), channels_.empty()));
  return *channels_.back();
}

std::string Connection::identifier() const {
  const Lock lock(mutex_);
  return identifier_;
}

void Connection::post(const std::shared_ptr<Request>& request) {
  requests_.push_back(request);
  pending_ = true;
}

void Connection::callOwner() {
  channels_.front()->gate().call();
  channels_.front()->wake();
}

void Connection::connect(Opening opening) {
  if (Worker::isCurrentThread()) {
    fail(connection_error_, "A thread of the driver cannot connect: it would wait for itself.");
  }
  const auto request = std::make_shared<Request>();
  request->opening = std::move(opening);
  const auto giveUp = [this](const std::shared_ptr<Request>* ended) { undo(*ended); };
  std::unique_ptr<const std::shared_ptr<Request>, decltype(giveUp)> undoing(nullptr, giveUp);
  bool lost = false;
  for (const auto& channel : channels_) {
    const auto client = channel->setup_.client->get();
    lost = lost || (client && client->isLost());
  }
  {
    Lock lock(mutex_);
    if (closed_) {
      fail(connection_error_, kClosed);
    }
    const auto connects = [](const auto& other) { return other && other->opening && !other->given_up; };
    if (connects(serving_) || std::ranges::any_of(requests_, connects)) {
      fail(connection_error_, "Another connect is in progress.");
    }
    if (state_ == State::Connected && !lost && !serving_ && requests_.empty() && !loss_) {
      fail(connection_error_, "Already connected to " + identifier_ + "; call disconnect() first.");
    }
    post(request);
  }
  undoing.reset(&request);
  callOwner();
  {
    Lock lock(mutex_);
    if (!changed_.wait(lock, deadlineAfter(kOwnerPatience),
                       [&]() QVX_REQUIRES(mutex_) { return request->begun || request->served; })) {
      request->given_up = true;
      request->unattended = true;
      static_cast<void>(undoing.release());
      fail(connection_error_, "The transport of this device has not come back from its last read.");
    }
    changed_.wait(lock, std::nullopt, [&]() QVX_REQUIRES(mutex_) { return request->served; });
  }
  static_cast<void>(undoing.release());
  conclude(request);
}

std::shared_ptr<Connection::Request> Connection::postDisconnect(std::optional<bool> verbose) {
  const Lock lock(mutex_);
  if (channels_.empty() || (state_ == State::Disconnected && !serving_ && requests_.empty())) {
    return nullptr;
  }
  if (serving_) {
    serving_->given_up = true;
  }
  for (const auto& request : requests_) {
    request->given_up = true;
  }
  auto request = std::make_shared<Request>();
  request->verbose = verbose;
  request->unattended = Worker::isCurrentThread();
  post(request);
  return request;
}

void Connection::disconnect(std::optional<bool> verbose) {
  const auto request = postDisconnect(verbose);
  if (!request) {
    return;
  }
  callOwner();
  if (!Worker::isCurrentThread()) {
    press(request, deadlineAfter(kOwnerPatience), false);
    conclude(request);
  }
}

void Connection::close() {
  const Deadline deadline = deadlineAfter(kOwnerPatience);
  {
    Lock lock(mutex_);
    closed_ = true;
    changed_.notify(lock);
  }
  const auto request = postDisconnect({});
  if (request) {
    callOwner();
    if (!Worker::isCurrentThread()) {
      press(request, deadline, false);
    }
  }
  for (const auto& channel : channels_) {
    channel->worker().kill();
  }
  for (const auto& channel : channels_) {
    if (!channel->worker().join(deadline) && !Worker::isCurrentThread()) {
      channel->worker().abandon();
    }
  }
  if (request && !Worker::isCurrentThread()) {
    conclude(request);
  }
}

void Connection::leave() {
  for (const auto& channel : channels_) {
    channel->intake_->end();
  }
  const Lock lock(events_mutex_);
  events_ = {.begun = [](std::uint64_t) {}, .ended = [](const std::optional<Failure>&) {}, .reported = nullptr};
}

bool Connection::waitLost(const Deadline& deadline) {
  Lock lock(mutex_);
  // Who is told of it may have connected again before this wait ends.
  const std::uint64_t before = state_ == State::Lost ? losses_ - 1 : losses_;
  changed_.wait(lock, deadline, [&]() QVX_REQUIRES(mutex_) {
    return losses_ != before || closed_ || (state_ == State::Disconnected && !serving_ && requests_.empty());
  });
  return losses_ != before;
}

void Connection::tellTransports(void (Transport::*order)()) noexcept {
  for (const auto& channel : channels_) {
    try {
      if (const auto client = channel->setup_.client->get()) {
        (*client.*order)();
      }
    } catch (...) {
      // It was told to end what it does. Whether it could is for the owner to find out.
    }
  }
}

void Connection::press(const std::shared_ptr<Request>& request, const Deadline& deadline, bool undisturbed) {
  Clock::duration pause = kForReading;
  void (Transport::*order)() = &Transport::wake;
  for (;;) {
    {
      const Lock lock(mutex_);
      if (request->served) {
        return;  // what is connected now is somebody else's
      }
      if (state_ == State::Connecting && order == &Transport::wake) {
        pause = kForConnecting;
        order = &Transport::disconnect;
      }
      told_ = told_ || (order == &Transport::disconnect && state_ == State::Connected);
      ++orders_;
    }
    tellTransports(order);
    bool last = false;
    {
      const Lock lock(mutex_);
      last = --orders_ == 0 && !requests_.empty();
      pending_ = pending_ || last;
    }
    if (last) {
      callOwner();
    }
    Lock lock(mutex_);
    const auto served = [&]() QVX_REQUIRES(mutex_) { return request->served; };
    const Deadline until = std::min(*deadline, Clock::now() + pause);
    const bool done = undisturbed ? changed_.waitUndisturbed(lock, until, served) : changed_.wait(lock, until, served);
    if (done || Clock::now() >= *deadline) {
      return;
    }
    order = &Transport::disconnect;
    pause *= 2;
  }
}

void Connection::undo(const std::shared_ptr<Request>& request) noexcept {
  Fiber::outside([&] {
    std::shared_ptr<Request> last = request;
    {
      const Lock lock(mutex_);
      request->given_up = true;
      request->unattended = true;
      if (request->served && !request->failure) {
        last = std::make_shared<Request>();
        last->verbose = false;
        last->unattended = true;
        post(last);
      }
    }
    callOwner();
    press(last, deadlineAfter(kOwnerPatience), true);
  });
}

void Connection::conclude(const std::shared_ptr<Request>& request) {
  {
    const Lock lock(mutex_);
    if (!request->served) {
      request->unattended = true;
      return;
    }
  }
  for (const std::string& line : request->lines) {
    host().print(line);
  }
  // Taken out of the request, which the owner may be the last to let go of: the exception belongs to this thread now.
  if (request->failure) {
    std::rethrow_exception(std::exchange(request->failure, nullptr));
  }
}

void Connection::step() {
  if (const auto loss = takeLoss()) {
    lose(*loss);
    return;
  }
  std::shared_ptr<Request> request;
  {
    const Lock lock(mutex_);
    // An order to the transports that is still on its way must not reach the connection that is made next.
    const bool kept = !requests_.empty() && requests_.front()->opening && orders_ != 0;
    if (!requests_.empty() && !kept) {
      request = std::move(requests_.front());
      requests_.pop_front();
    }
    serving_ = request;
    pending_ = !requests_.empty() && !kept;
    if (request) {
      request->begun = true;
      changed_.notifyHeld();
    }
  }
  if (!request) {
    // A gate that the application has closed keeps the owner from reading only.
    if (Channel& channel = *channels_.front(); state_ == State::Connected && !channel.gate().locked()) {
      channel.read();
    }
    return;
  }
  try {
    serve(*request);
  } catch (...) {
    request->failure = std::current_exception();
  }
  bool unattended = false;
  {
    const Lock lock(mutex_);
    request->served = true;
    serving_.reset();
    unattended = request->unattended;
    changed_.notifyHeld();
  }
  if (unattended && !request->lines.empty()) {
    report(std::move(request->lines), {});
  }
}

std::optional<Failure> Connection::takeLoss() {
  const Lock lock(mutex_);
  return std::exchange(loss_, std::nullopt);
}

void Connection::serve(Request& request) {
  if (!request.opening) {
    if (connected()) {
      putAway(request);
    }
    return;
  }
  // A send may have met the loss of the connection before the read did.
  for (const auto& channel : channels_) {
    if (const auto client = channel->setup_.client->get(); state_ == State::Connected && client && client->isLost()) {
      channel->read();
    }
  }
  if (const auto loss = takeLoss()) {
    lose(*loss);
  }
  if (state_ == State::Connected) {
    fail(connection_error_, "Already connected to " + identifier() + "; call disconnect() first.");
  }
  if (state_ == State::Lost) {
    putAway(request);
  }
  open(request);
}

void Connection::refuseEnded(const Request& request) const {
  if (closed_) {
    fail(connection_error_, kClosed);
  }
  if (request.given_up) {
    fail(connection_error_, "The connect was ended by disconnect.");
  }
}

void Connection::open(Request& request) {
  {
    const Lock lock(mutex_);
    refuseEnded(request);
  }
  {
    const Lock lock(events_mutex_);
    events_.begun(number_ + 1);
  }
  changeTo(State::Connecting);
  bool opened = false;
  try {
    request.opening->open();
    opened = true;
    // The receive threads are woken when they must look up; they have no reason to tick.
    for (const auto& channel : channels_) {
      if (const auto client = channel->setup_.client->get()) {
        client->setTimeout(std::nullopt);
      }
    }
    // Who ends it from here on finds it connected: the two are one step.
    const Lock lock(mutex_);
    refuseEnded(request);
    identifier_ = request.opening->identifier;
    told_ = false;
    ++number_;
    state_ = State::Connected;
    changed_.notifyHeld();
  } catch (...) {
    if (opened) {
      tellTransports(&Transport::disconnect);
    }
    changeTo(State::Disconnected);
    throw;
  }
  verbose_now_ = request.opening->verbose;
  for (const auto& channel : channels_) {
    channel->begin();
  }
  if (verbose_now_.value_or(verbose_)) {
    request.lines.push_back("Connected to " + request.opening->identifier + " (" + device_name_ + ")");
  }
}

void Connection::putAway(Request& request) {
  changeTo(State::Disconnecting);
  bool told = false;
  {
    const Lock lock(mutex_);
    told = std::exchange(told_, false);
    loss_.reset();
  }
  std::exception_ptr trouble;
  for (const auto& channel : channels_) {
    channel->end();
    try {
      if (const auto client = channel->setup_.client->get(); client && !told) {
        client->disconnect();
      }
    } catch (...) {
      trouble = trouble ? trouble : std::current_exception();
    }
    channel->intake_->settle();
  }
  {
    const Lock lock(events_mutex_);
    events_.ended(std::nullopt);
  }
  changeTo(State::Disconnected);
  if (request.verbose.value_or(verbose_now_.value_or(verbose_))) {
    request.lines.push_back("Disconnected from " + identifier() + " (" + device_name_ + ")");
  }
  if (trouble) {
    std::rethrow_exception(trouble);
  }
}

void Connection::lose(const Failure& failure) {
  if (state_ != State::Connected) {
    return;
  }
  changeTo(State::Lost);
  for (const auto& channel : channels_) {
    channel->end();
    channel->intake_->settle();
  }
  {
    const Lock lock(events_mutex_);
    events_.ended(failure);
  }
  bool closed = false;
  {
    const Lock lock(mutex_);
    closed = closed_;
  }
  if (!closed) {
    report({}, failure);
  }
}

void Connection::changeTo(State state) {
  const Lock lock(mutex_);
  state_ = state;
  losses_ += state == State::Lost ? 1 : 0;
  changed_.notifyHeld();
}

void Connection::report(std::vector<std::string> lines, std::optional<Failure> loss) {
  const auto print = [self = shared_from_this(), lines = std::move(lines), loss = std::move(loss),
                      printed = verbose_now_.value_or(verbose_)] {
    for (const std::string& line : lines) {
      host().print(line);
    }
    std::function<void()> reported;
    {
      const Lock lock(self->events_mutex_);
      reported = self->events_.reported;
    }
    if (loss && reported) {
      host().reportFailure(*loss, printed);
      reported();
    }
  };
  try {
    startThread("qvx-report", print).detach();
  } catch (const std::system_error&) {
    print();  // no thread is left
  }
}

void Connection::noteLoss(const Failure& failure, std::uint64_t number) {
  {
    const Lock lock(mutex_);
    if (state_ != State::Connected || number_ != number || told_ || loss_) {
      return;
    }
    loss_ = failure;
    pending_ = true;
  }
  for (const auto& channel : channels_) {
    channel->end();  // what failed is not read again
  }
  callOwner();
}

}  // namespace qvx
