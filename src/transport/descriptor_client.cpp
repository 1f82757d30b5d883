#include "transport/descriptor_client.h"

#include "core/errors.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace qvx {
namespace {

// When it is first looked whether what was sent has been acknowledged.
constexpr std::chrono::milliseconds kFirstLook{1000};

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

// Also ends the waits of the other users. Where shutting down fails, there was nothing left to end.
void DescriptorClient::Link::lose() {
  lost_ = true;
  if (medium_.drop != nullptr) {
    medium_.drop(fd());
  }
  shutDown();
}

bool DescriptorClient::Link::end() {
  ended_ = true;
  return shutDown();
}

bool DescriptorClient::Link::shutDown() {
  const bool done = shut_.exchange(true) || medium_.shutDown(fd());
  wake.signal();
  over.signal();
  return done;
}

void DescriptorClient::Link::noteSent() {
  if (alarm_ && !alarm_set_.exchange(true)) {
    alarm_->set(kFirstLook);
  }
}

// The system gives up by itself what it has sent over a network that does not answer, but repeats nothing, and so does
// not look, while its own end of the cable is dead.
void DescriptorClient::Link::checkSent() {
  alarm_->drain();
  alarm_set_ = false;
  const auto unheard = medium_.unheard(fd());
  if (unheard >= kAcknowledgeLimit) {
    lose();
  } else if (unheard > std::chrono::milliseconds::zero() && !alarm_set_.exchange(true)) {
    alarm_->set(kAcknowledgeLimit - unheard);
  }
}

DescriptorClient::Link::Came DescriptorClient::Link::await(bool arrivals, const Deadline& deadline) {
  // A descriptor below 0 is passed over.
  std::array<pollfd, 3> coming{pollfd{arrivals ? fd() : -1, POLLIN, 0}, pollfd{wake.fd(), POLLIN, 0},
                               pollfd{alarm_ ? alarm_->fd() : -1, POLLIN, 0}};
  while (waitReady(coming, deadline)) {
    if (coming[0].revents != 0) {
      return Came::Data;
    }
    if (coming[1].revents != 0) {
      wake.drain();
      return Came::Call;
    }
    checkSent();
  }
  return Came::Nothing;
}

bool DescriptorClient::Link::takeTurn(std::chrono::milliseconds limit) {
  if (!sending_.exchange(true)) {
    return true;
  }
  struct Wanting {
    std::atomic<int>& count;
    ~Wanting() { --count; }
  };
  ++wanting_;
  const Wanting wanting{wanting_};
  const auto deadline = Clock::now() + limit;
  Lock lock(turn_mutex_);
  while (turn_free_.wait(lock, deadline, [this] { return !sending_; })) {
    if (!sending_.exchange(true)) {
      return true;
    }
  }
  return false;
}

void DescriptorClient::Link::giveTurn() {
  sending_ = false;
  if (wanting_ != 0) {
    Lock lock(turn_mutex_);
    turn_free_.notify(lock);
  }
}

int DescriptorClient::socket() const {
  const Lock lock(mutex_);
  return link_ ? link_->fd() : 0;
}

void DescriptorClient::setTimeout(std::optional<double> timeout_s) {
  if (timeout_s && !(*timeout_s >= 0)) {
    fail(ErrorId::InputDataNotInRangeError, "a read timeout of " + std::to_string(*timeout_s) + " s is below 0");
  }
  const Lock lock(mutex_);
  timeout_s_ = timeout_s;
}

void DescriptorClient::sendPacket(ByteView frame) {
  sendInTurn(frame, [] {});
}

void DescriptorClient::sendInTurn(ByteView frame, const std::function<void()>& before) {
  const auto link = current();
  if (!link->takeTurn(send_limit_)) {
    link->lose();
    failLost();
  }
  const auto give = [](Link* sender) { sender->giveTurn(); };
  const std::unique_ptr<Link, decltype(give)> turn(link.get(), give);
  before();
  sendAll(*link, frame);
}

void DescriptorClient::sendAll(Link& link, ByteView frame) {
  std::size_t sent = 0;
  Deadline deadline;  // from the first moment when the device takes no more
  try {
    while (sent < frame.size()) {
      if (link.isLost() || link.isEnded()) {
        failLost();
      }
      const auto count = medium_.write(link.fd(), frame.data() + sent, frame.size() - sent);
      if (count >= 0) {
        sent += static_cast<std::size_t>(count);
        link.noteSent();
        continue;
      }
      if (errno == EINTR) {
        continue;
      }
      const bool full = wouldBlock(errno);
      deadline = deadline ? deadline : Clock::now() + send_limit_;
      std::array<pollfd, 2> writable{pollfd{link.fd(), POLLOUT, 0}, pollfd{link.over.fd(), POLLIN, 0}};
      if (!full || !waitReady(writable, deadline)) {
        link.lose();
        failLost();
      }
    }
  } catch (...) {
    if (sent != 0) {
      link.lose();  // the device would take the next frame for the rest of this one
    }
    throw;
  }
}

Bytes DescriptorClient::recvPacket(std::size_t size) {
  const auto link = current();
  return read(*link, size);
}

std::vector<Frame> DescriptorClient::recvAndSplitPacket(std::size_t size) {
  const auto link = current();
  return appendAndSplit(read(*link, size), link->number());
}

Bytes DescriptorClient::read(Link& link, std::size_t size) {
  const Deadline deadline = readDeadline();
  Bytes bytes(std::min(size, kMostAtOnce));
  while (size != 0) {
    if (const auto count = readOnce(link, bytes)) {
      bytes.resize(*count);
      return bytes;
    }
    if (link.await(true, deadline) != Link::Came::Data) {
      break;
    }
  }
  return {};
}

std::optional<std::size_t> DescriptorClient::readOnce(Link& link, std::span<std::uint8_t> to) {
  for (;;) {
    const bool readable = medium_.reads_to_the_end || !(link.isLost() || link.isEnded());
    const auto count = readable ? medium_.read(link.fd(), to.data(), to.size()) : 0;
    const int error = errno;
    if (count > 0 || link.isEnded()) {
      return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    if (count < 0 && error == EINTR) {
      continue;
    }
    if (count == 0 || !wouldBlock(error)) {
      link.lose();
      failLost();
    }
    return std::nullopt;
  }
}

void DescriptorClient::disconnect() {
  std::shared_ptr<Link> link;
  std::shared_ptr<Link> connecting;
  {
    const Lock lock(mutex_);
    link.swap(link_);
    connecting.swap(connecting_);
  }
  if (origin_.isLeft()) {
    return;  // a forked child lets go of its copy; ending the traffic is the parent's
  }
  if (connecting) {
    connecting->end();  // not connected yet, so there is nothing to report
  }
  if (link && !link->end()) {
    failLost();
  }
}

bool DescriptorClient::isLost() const {
  const auto link = openLink();
  return link && link->isLost();
}

void DescriptorClient::wake() {
  if (const auto link = openLink()) {
    link->wake.signal();
  }
}

void DescriptorClient::refuseSecond() const {
  const Lock lock(mutex_);
  refuseSecondLocked();
}

void DescriptorClient::refuseSecondLocked() const {
  if (connecting_ || (link_ && !link_->isLost())) {
    fail(medium_.connection_error,
         connecting_ ? "A connect is in progress already." : "Already connected: call disconnect first.");
  }
}

std::shared_ptr<DescriptorClient::Link> DescriptorClient::prepare(Descriptor descriptor) {
  std::shared_ptr<Link> lost;
  std::shared_ptr<Link> link;
  {
    const Lock lock(mutex_);
    refuseSecondLocked();
    link = std::make_shared<Link>(medium_, std::move(descriptor), ++links_made_);
    lost.swap(link_);
    connecting_ = link;
  }
  if (lost) {
    lost->end();  // so that a read which still waits on it returns
  }
  return link;
}

bool DescriptorClient::open(const std::shared_ptr<Link>& link) {
  const Lock lock(mutex_);
  if (connecting_ != link) {
    return false;
  }
  beginStream(link->number());
  link_.swap(connecting_);
  return true;
}

void DescriptorClient::abandon(const std::shared_ptr<Link>& link) {
  const Lock lock(mutex_);
  if (connecting_ == link) {
    connecting_.reset();
  }
}

Deadline DescriptorClient::readDeadline() const {
  const Lock lock(mutex_);
  return timeout_s_ ? deadlineAfter(*timeout_s_) : std::nullopt;
}

std::shared_ptr<DescriptorClient::Link> DescriptorClient::openLink() const {
  const Lock lock(mutex_);
  return link_;
}

std::shared_ptr<DescriptorClient::Link> DescriptorClient::current() const {
  const Lock lock(mutex_);
  if (!link_) {
    fail(medium_.lost_error, "Not connected: call connect first.");
  }
  return link_;
}

void DescriptorClient::failBecause(ErrorId id, const std::string& reason) {
  fail(id, std::string(errorKind(id).message) + " " + reason);
}

void DescriptorClient::failLost() const {
  if (medium_.lost_reason == nullptr) {
    fail(medium_.lost_error);
  }
  failBecause(medium_.lost_error, medium_.lost_reason);
}

}  // namespace qvx
