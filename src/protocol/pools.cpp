#include "protocol/pools.h"

#include <algorithm>

namespace qvx {

void Doorbell::ring() {
  Lock lock(mutex_);
  rung_ = true;
  changed_.notify(lock);
}

void Doorbell::wait() {
  Lock lock(mutex_);
  changed_.wait(lock, std::nullopt, [this]() QVX_REQUIRES(mutex_) { return rung_; });
  rung_ = false;
}

void RawQueue::put(Bytes item) {
  Lock lock(mutex_);
  items_.push_back(std::move(item));
  const auto bell = bell_;
  changed_.notify(lock);
  if (bell) {
    bell->ring();
  }
}

std::optional<RawItem> RawQueue::take() {
  const Lock lock(mutex_);
  if (items_.empty()) {
    return std::nullopt;
  }
  RawItem item{std::move(items_.front()), taken_++, connection_};
  items_.pop_front();
  return item;
}

std::uint64_t RawQueue::arrived() const {
  const Lock lock(mutex_);
  return taken_ + items_.size();
}

std::size_t RawQueue::size() const {
  const Lock lock(mutex_);
  return items_.size();
}

bool RawQueue::waitForSize(std::size_t count, const Deadline& deadline) {
  Lock lock(mutex_);
  changed_.wait(lock, deadline, [&]() QVX_REQUIRES(mutex_) { return closed_ || finished_ || items_.size() >= count; });
  return items_.size() >= count;
}

void RawQueue::setDoorbell(std::shared_ptr<Doorbell> bell) {
  const Lock lock(mutex_);
  bell_ = std::move(bell);
}

void RawQueue::begin(std::uint64_t connection) {
  const Lock lock(mutex_);
  taken_ += items_.size();
  items_.clear();
  connection_ = connection;
  finished_ = false;
}

void RawQueue::finish() {
  Lock lock(mutex_);
  finished_ = true;
  const auto bell = bell_;
  changed_.notify(lock);
  if (bell) {
    bell->ring();
  }
}

bool RawQueue::finished() const {
  const Lock lock(mutex_);
  return finished_;
}

void RawQueue::close() {
  Lock lock(mutex_);
  closed_ = true;
  changed_.notify(lock);
}

void AnswerSet::add(Bytes answer) {
  for (const auto& queue : subscribers()) {
    if (queue->size() < kCapacity) {
      queue->put(answer);
    }
  }
  const Lock lock(mutex_);
  if (answers_.size() < kCapacity) {
    answers_.insert(std::move(answer));
  }
}

std::shared_ptr<RawQueue> AnswerSet::subscribe() {
  auto queue = std::make_shared<RawQueue>();
  {
    const Lock lock(mutex_);
    if (!closed_) {
      subscribers_.push_back(queue);
      return queue;
    }
  }
  queue->close();
  return queue;
}

void AnswerSet::close() {
  {
    const Lock lock(mutex_);
    closed_ = true;
  }
  for (const auto& queue : subscribers()) {
    queue->close();
  }
}

std::vector<std::shared_ptr<RawQueue>> AnswerSet::subscribers() {
  const Lock lock(mutex_);
  std::erase_if(subscribers_, [](const auto& entry) { return entry.expired(); });
  std::vector<std::shared_ptr<RawQueue>> queues;
  for (const auto& entry : subscribers_) {
    if (auto queue = entry.lock()) {
      queues.push_back(std::move(queue));
    }
  }
  return queues;
}

void AnswerSet::clear() {
  const Lock lock(mutex_);
  answers_.clear();
}

std::set<Bytes> AnswerSet::snapshot() const {
  const Lock lock(mutex_);
  return answers_;
}

}  // namespace qvx
