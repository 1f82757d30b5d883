#include "protocol/channel.h"

#include "protocol/connection.h"

#include <array>

namespace qvx {

// A connection, as those read it who wait for a reply: an event loop, or a thread.
class ConnectionReader final : public Source, public Reader {
 public:
  ConnectionReader(std::shared_ptr<Transport> client, std::shared_ptr<const Descriptor> descriptor,
                   std::shared_ptr<Intake> intake)
      : client_(std::move(client)), descriptor_(std::move(descriptor)), intake_(std::move(intake)) {}
  bool reads(const std::shared_ptr<Transport>& client) const { return !over_ && client_ == client; }
  // The channel has another connection now. This one may still be open, in somebody else's hands.
  void retire() { over_ = true; }

  // As a loop.
  int fd() const override { return descriptor_->get(); }
  bool read() override { return intake_->leasedUntil() > Clock::now() && readNow(); }

  // As a thread.
  bool usable() const override { return !over_; }
  void begin() override { intake_->attend(); }
  void end() override {
    if (intake_->leave()) {
      client_->wake();
    }
  }
  void wake() override { woken_.signal(); }
  // Also where the connection was renewed without the channel's knowledge: the descriptor is then another one's.
  void read(const Deadline& deadline) override {
    std::array<pollfd, 2> fds{pollfd{descriptor_->get(), POLLIN, 0}, pollfd{woken_.fd(), POLLIN, 0}};
    if (!waitReady(fds, deadline)) {
      return;
    }
    if (fds[1].revents != 0) {
      woken_.drain();
    }
    if (fds[0].revents != 0 && !readNow()) {
      // The receive thread finds out why.
      over_ = true;
      intake_->endLease();
      client_->wake();
    }
  }

 private:
  bool readNow() { return !over_ && !origin_.isLeft() && client_->receiveNow(*descriptor_, *intake_); }

  const std::shared_ptr<Transport> client_;
  const std::shared_ptr<const Descriptor> descriptor_;
  const std::shared_ptr<Intake> intake_;
  Origin origin_;  // a forked child must not take its parent's bytes
  std::atomic<bool> over_ = false;
  WakeUp woken_;
};

Channel::Channel(Connection& connection, Setup setup, bool owner)
    : connection_(connection),
      setup_(std::move(setup)),
      intake_(std::make_shared<Intake>(setup_.read_size, setup_.file)),
      // The thread's work keeps the connection, and with it this channel, until the thread has ended.
      worker_(setup_.thread_name, gate_,
              owner ? Work{.step = [kept = connection.shared_from_this()] { kept->step(); },
                           .wake = [this, kept = connection.shared_from_this()] { wake(); },
                           .called = [kept = connection.shared_from_this()] { return kept->called(); }}
                    : Work{.step = [this, kept = connection.shared_from_this()] { read(); },
                           .wake = [this, kept = connection.shared_from_this()] { wake(); }}) {}

Channel::State Channel::state() const {
  return connection_.state();
}

bool Channel::connected() const {
  return connection_.connected();
}

std::string Channel::identifier() const {
  return connection_.identifier();
}

void Channel::wake() {
  if (const auto client = setup_.client->get()) {
    client->wake();
  }
}

std::shared_ptr<Reader> Channel::expectReply() {
  const Fiber* const fiber = Fiber::current();
  const auto client = setup_.client->get();
  std::shared_ptr<ConnectionReader> reader;
  {
    const Lock lock(reader_mutex_);
    if (!reader_ || !reader_->reads(client)) {
      if (reader_) {
        reader_->retire();
      }
      auto descriptor = client ? client->watchable() : nullptr;
      reader_ = descriptor ? std::make_shared<ConnectionReader>(client, std::move(descriptor), intake_) : nullptr;
    }
    reader = reader_;
  }
  if (!reader) {
    return nullptr;
  }
  if (fiber != nullptr) {
    intake_->renewLease();
    fiber->scheduler()->watch(reader);
  }
  return reader;
}

// A connection that is over is let go of, so that its descriptor can be closed.
void Channel::end() {
  gate_->tryAcquire();
  const Lock lock(reader_mutex_);
  if (reader_) {
    reader_->retire();
    reader_.reset();
  }
}

void Channel::read() {
  const std::uint64_t number = connection_.number_;
  const auto client = setup_.client->get();
  if (!client) {
    gate_->tryAcquire();
    return;
  }
  try {
    client->receive(*intake_);
  } catch (const Failure& failure) {
    connection_.noteLoss(failure, number);
  } catch (const std::exception& error) {
    connection_.noteLoss(Failure(connection_.connection_error_, error.what()), number);
  }
}

}  // namespace qvx
