#include "protocol/pools.h"

#include <algorithm>

namespace qvx {

void ReplyPool::Waiter::join() {
  if (!std::exchange(entered_, true)) {
    stranded_ = false;
    pool_.waiters_.insert(std::ranges::find(pool_.waiters_, true, &Waiter::stranded_), this);
  }
}

void ReplyPool::Waiter::part() {
  if (std::exchange(entered_, false)) {
    std::erase(pool_.waiters_, this);
  }
}

void ReplyPool::Waiter::enter() {
  const std::lock_guard lock(pool_.mutex_);
  if (stranded_) {
    part();
  }
  join();
}

void ReplyPool::Waiter::leave() {
  if (!entered_) {
    return;
  }
  std::unique_lock lock(pool_.mutex_);
  part();
  if (reply_) {
    pool_.file(key_, *std::exchange(reply_, std::nullopt), false);
    pool_.changed_.notify(lock);
  }
}

std::optional<Bytes> ReplyPool::Waiter::wait(const Deadline& deadline) {
  std::unique_lock lock(pool_.mutex_);
  if (!reply_) {
    if (auto entry = pool_.replies_.extract(key_)) {
      reply_ = std::move(entry.mapped());
    } else {
      join();
      pool_.changed_.wait(lock, deadline, [this] { return pool_.closed_ || reply_; });
    }
  }
  if (reply_) {
    part();
  }
  return std::exchange(reply_, std::nullopt);
}

void ReplyPool::file(int key, Bytes reply, bool overwrite) {
  const auto waiter =
      std::find_if(waiters_.begin(), waiters_.end(), [key](const Waiter* w) { return w->key_ == key && !w->reply_; });
  if (waiter != waiters_.end()) {
    (*waiter)->reply_ = std::move(reply);
    replies_.erase(key);  // an older one
  } else if (overwrite) {
    replies_.insert_or_assign(key, std::move(reply));
  } else {
    replies_.try_emplace(key, std::move(reply));
  }
}

void ReplyPool::put(int key, Bytes reply) {
  std::unique_lock lock(mutex_);
  file(key, std::move(reply), true);
  changed_.notify(lock);
}

std::optional<Bytes> ReplyPool::take(int key) {
  const std::lock_guard lock(mutex_);
  auto entry = replies_.extract(key);
  return entry ? std::optional(std::move(entry.mapped())) : std::nullopt;
}

std::optional<Bytes> ReplyPool::peek(int key) const {
  const std::lock_guard lock(mutex_);
  const auto found = replies_.find(key);
  return found == replies_.end() ? std::nullopt : std::optional(found->second);
}

void ReplyPool::waitInVain(const Deadline& deadline) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, deadline, [this] { return closed_; });
}

void ReplyPool::strand() {
  const std::lock_guard lock(mutex_);
  for (Waiter* waiter : waiters_) {
    waiter->stranded_ = true;
  }
}

std::vector<int> ReplyPool::keys() const {
  const std::lock_guard lock(mutex_);
  std::vector<int> keys;
  keys.reserve(replies_.size());
  for (const auto& [key, reply] : replies_) {
    keys.push_back(key);
  }
  return keys;
}

std::size_t ReplyPool::size() const {
  const std::lock_guard lock(mutex_);
  return replies_.size();
}

void ReplyPool::clear() {
  const std::lock_guard lock(mutex_);
  replies_.clear();
}

void ReplyPool::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  changed_.notify(lock);
}

bool ReplyPool::closed() const {
  const std::lock_guard lock(mutex_);
  return closed_;
}

void Doorbell::ring() {
  {
    const std::lock_guard lock(mutex_);
    rung_ = true;
  }
  changed_.notify_one();
}

void Doorbell::wait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return rung_; });
  rung_ = false;
}

void RawQueue::put(Bytes item) {
  std::unique_lock lock(mutex_);
  items_.push_back(std::move(item));
  const auto bell = bell_;
  changed_.notify(lock);
  if (bell) {
    bell->ring();
  }
}

std::optional<Bytes> RawQueue::take(std::uint64_t* place) {
  const std::lock_guard lock(mutex_);
  if (items_.empty()) {
    return std::nullopt;
  }
  Bytes item = std::move(items_.front());
  items_.pop_front();
  if (place != nullptr) {
    *place = taken_;
  }
  ++taken_;
  return item;
}

std::uint64_t RawQueue::arrived() const {
  const std::lock_guard lock(mutex_);
  return taken_ + items_.size();
}

std::size_t RawQueue::size() const {
  const std::lock_guard lock(mutex_);
  return items_.size();
}

bool RawQueue::waitForSize(std::size_t count, const Deadline& deadline) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, deadline, [&] { return closed_ || items_.size() >= count; });
  return items_.size() >= count;
}

void RawQueue::setDoorbell(std::shared_ptr<Doorbell> bell) {
  const std::lock_guard lock(mutex_);
  bell_ = std::move(bell);
}

void RawQueue::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  changed_.notify(lock);
}

void AnswerSet::add(Bytes answer) {
  for (const auto& queue : subscribers()) {
    if (queue->size() < kCapacity) {
      queue->put(answer);
    }
  }
  const std::lock_guard lock(mutex_);
  if (answers_.size() < kCapacity) {
    answers_.insert(std::move(answer));
  }
}

std::shared_ptr<RawQueue> AnswerSet::subscribe() {
  auto queue = std::make_shared<RawQueue>();
  {
    const std::lock_guard lock(mutex_);
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
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  for (const auto& queue : subscribers()) {
    queue->close();
  }
}

std::vector<std::shared_ptr<RawQueue>> AnswerSet::subscribers() {
  const std::lock_guard lock(mutex_);
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
  const std::lock_guard lock(mutex_);
  answers_.clear();
}

std::set<Bytes> AnswerSet::snapshot() const {
  const std::lock_guard lock(mutex_);
  return answers_;
}

}  // namespace qvx
