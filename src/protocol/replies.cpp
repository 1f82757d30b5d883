#include "protocol/replies.h"

#include <algorithm>
#include <utility>

namespace qvx {
namespace {

// A device that has answered and then not for so long, nor for four times as long as it ever took, answers no more of
// what it has been sent. One may pause between two replies: to write its flash memory, or for a slow command.
constexpr std::chrono::seconds kGap{2};
// When nothing comes any more, each copy that is unanswered costs a repeat, and those come at growing intervals.
constexpr std::size_t kFarBehind = 5;

}  // namespace

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key) : Waiter(pool, key, {}, Lock(pool.mutex_)) {}

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key, ByteView question)
    : Waiter(pool, key, question, Lock(pool.mutex_)) {}

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key, std::optional<ByteView> question, const Lock& /*lock*/)
    : pool_(pool), line_(&pool.lineOf(key)) {
  if (!question) {
    return;
  }
  if (line_->asking == 0) {
    line_->question.assign(question->begin(), question->end());
  }
  // Behind those who wait for their turn, so that it comes.
  in_turn_ = line_->queue.empty() && std::ranges::equal(line_->question, *question);
  if (in_turn_) {
    ++line_->asking;
  } else {
    question_.assign(question->begin(), question->end());
    place_ = line_->queue.insert(line_->queue.end(), this);
    came_later_ = queued_ = true;
  }
}

bool ReplyPool::Waiter::awaitTurn(double patience) {
  if (!came_later_) {
    return true;
  }
  Lock lock(pool_.mutex_);
  const auto decided = [this]() QVX_REQUIRES(pool_.mutex_) { return in_turn_ || over() || pool_.loss_; };
  Clock::time_point came;
  do {
    came = line_->came;
  } while (!changed_.wait(lock, deadlineAfter(patience), decided) && line_->came != came);
  if (!in_turn_ && pool_.loss_) {
    end_ = End::Lost;
  }
  return in_turn_;
}

ReplyPool::Waiter::~Waiter() {
  if (taken_) {
    return;  // it has left the line
  }
  const Lock lock(pool_.mutex_);
  part();
  if (asked_) {
    asked_->waiter = nullptr;
  }
  if (reply_) {
    pool_.fileLate(*line_, std::move(*reply_));
  }
}

void ReplyPool::Waiter::join() {
  if (!std::exchange(joined_, true)) {
    place_ = line_->waiters.insert(line_->waiters.end(), this);
  }
}

void ReplyPool::Waiter::part() {
  if (std::exchange(joined_, false)) {
    line_->waiters.erase(place_);
  }
  if (std::exchange(queued_, false)) {
    line_->queue.erase(place_);
  }
  line_->asking -= std::exchange(in_turn_, false) ? 1 : 0;
  pool_.nextTurn(*line_);
}

void ReplyPool::Waiter::sending(std::optional<Clock::duration> silence) {
  const Lock lock(pool_.mutex_);
  pool_.silence_ = silence.value_or(pool_.silence_);
  const auto now = Clock::now();
  if (!asked_) {
    const bool owed = std::ranges::any_of(line_->copies, [](const auto& copy) { return copy->waiter != nullptr; });
    if (!owed && now - std::max(line_->sent, line_->came) > pool_.silence_) {
      line_->copies.clear();
    }
    passed_ = line_->passed;
    asked_ = std::make_shared<Copy>(Copy{.waiter = reply_ ? nullptr : this});
    taken_ = false;
    if (!reply_) {
      join();
    }
  }
  line_->sent = now;
  line_->copies.push_back(asked_);
}

void ReplyPool::Waiter::unsent() {
  const Lock lock(pool_.mutex_);
  auto& copies = line_->copies;
  if (const auto last = std::ranges::find(copies.rbegin(), copies.rend(), asked_); last != copies.rend()) {
    copies.erase(std::prev(last.base()));
  }
}

bool ReplyPool::Waiter::over() const {
  return reply_ || pool_.closed_ || end_ != End::None;
}

bool ReplyPool::Waiter::takeKept() {
  auto& kept = line_->kept;
  // What was there before somebody asked is no answer where late replies are not wanted.
  if (!kept || (asked_ && kept->source == Source::Device && !pool_.late_replies_)) {
    return false;
  }
  late_ = kept->source == Source::Late;
  reply_ = std::move(kept->reply);
  kept.reset();
  part();
  if (asked_) {
    asked_->waiter = nullptr;
    asked_->answered = true;
  }
  return true;
}

std::optional<Bytes> ReplyPool::Waiter::wait(const Deadline& deadline, const std::shared_ptr<Reader>& reader) {
  Lock lock(pool_.mutex_);
  if (!over() && !takeKept()) {
    if (pool_.loss_) {
      end_ = End::Lost;
      return std::nullopt;
    }
    join();
    if (reader != nullptr && Fiber::current() == nullptr) {
      waitReading(lock, deadline, reader);
    } else {
      changed_.wait(lock, deadline, [&]() QVX_REQUIRES(pool_.mutex_) { return over(); });
    }
  }
  taken_ = reply_.has_value() && !joined_ && !queued_ && !in_turn_;
  return std::exchange(reply_, std::nullopt);
}

// One of the threads that wait reads for all. It goes on until its own reply is there, and then offers its turn to
// another that waits; who has none of that reads at once.
void ReplyPool::Waiter::waitReading(Lock& lock, const Deadline& deadline,
                                    const std::shared_ptr<Reader>& reader) QVX_UNCHECKED {
  struct Turn {
    ReplyPool& pool;
    ~Turn() {
      pool.reader_->end();
      pool.reader_.reset();
      pool.reading_ = nullptr;
      pool.offerTurn();
    }
  };
  bool in_time = true;
  const auto timeLeft = [&] { return in_time = !deadline || Clock::now() < *deadline; };
  while (!over() && in_time) {
    if (pool_.reading_ != nullptr || !reader->usable()) {
      offered_ = false;
      const auto place = pool_.following_.insert(pool_.following_.end(), this);
      const auto leave = [&](Waiter*) QVX_REQUIRES(pool_.mutex_) { pool_.following_.erase(place); };
      const std::unique_ptr<Waiter, decltype(leave)> following(this, leave);
      in_time = changed_.wait(lock, deadline, [&]() QVX_REQUIRES(pool_.mutex_) { return over() || offered_; });
      continue;
    }
    offered_ = false;
    pool_.reading_ = this;
    pool_.reader_ = reader;
    pool_.reading_thread_ = std::this_thread::get_id();
    const Turn turn{pool_};
    reader->begin();
    do {
      const Condition::Unlocking unlocked(lock);
      reader->read(deadline);
    } while (!over() && reader->usable() && timeLeft());
  }
  if (offered_ && pool_.reading_ == nullptr) {
    pool_.offerTurn();
  }
}

bool ReplyPool::Waiter::lost() const {
  const Lock lock(pool_.mutex_);
  return end_ == End::Lost;
}

bool ReplyPool::Waiter::ended() const {
  const Lock lock(pool_.mutex_);
  return end_ == End::Ended;
}

bool ReplyPool::Waiter::lateForTheFirstTime() {
  if (!late_) {  // who has a reply is left alone
    return false;
  }
  const Lock lock(pool_.mutex_);
  return !std::exchange(pool_.late_told_, true);
}

bool ReplyPool::Waiter::passedOver(Clock::duration quiet) const {
  const Lock lock(pool_.mutex_);
  return asked_ && line_->passed != passed_ && Clock::now() - line_->came >= quiet;
}

bool ReplyPool::Waiter::farBehind() const {
  const Lock lock(pool_.mutex_);
  const Clock::duration quiet = pool_.slowest_ > Clock::duration::zero() ? 2 * pool_.slowest_ : kGap;
  return line_->copies.size() >= kFarBehind && Clock::now() - line_->came >= quiet;
}

void ReplyPool::Waiter::dryLine() {
  const Lock lock(pool_.mutex_);
  line_->drying = true;
}

bool ReplyPool::Waiter::holdBack(const Deadline& deadline) {
  Lock lock(pool_.mutex_);
  const auto useless = [this]() QVX_REQUIRES(pool_.mutex_) { return !line_->drying || over() || pool_.loss_; };
  while (!useless()) {
    const auto dry = std::max(line_->sent, line_->came) + std::max<Clock::duration>(kGap, 4 * pool_.slowest_);
    if (Clock::now() >= dry) {
      line_->drying = false;
      forgotten_ = !line_->copies.empty();
      line_->copies.clear();
      break;
    }
    if (deadline && Clock::now() >= *deadline) {
      return false;
    }
    // Only who has asked already can be served meanwhile.
    Condition& changed = joined_ ? changed_ : pool_.idle_;
    changed.wait(lock, deadline ? std::min(*deadline, dry) : dry, useless);
  }
  return !reply_;
}

void ReplyPool::setLateReplies(bool kept) {
  const Lock lock(mutex_);
  late_replies_ = kept;
}

bool ReplyPool::lateReplies() const {
  const Lock lock(mutex_);
  return late_replies_;
}

void ReplyPool::wake(Waiter& waiter) {
  if (reading_ != &waiter) {
    waiter.changed_.notifyHeld();
  } else if (reading_thread_ != std::this_thread::get_id()) {
    reader_->wake();
  }
}

void ReplyPool::offerTurn() {
  if (!following_.empty()) {
    Waiter& next = *following_.front();
    next.offered_ = true;
    next.changed_.notifyHeld();
  }
}

void ReplyPool::nextTurn(Line& line) {
  if (line.asking != 0 || line.queue.empty()) {
    return;
  }
  line.question = line.queue.front()->question_;
  std::erase_if(line.queue, [&](Waiter* waiter) QVX_REQUIRES(mutex_) {
    if (waiter->question_ != line.question) {
      return false;
    }
    waiter->queued_ = false;
    waiter->in_turn_ = true;
    ++line.asking;
    waiter->changed_.notifyHeld();
    return true;
  });
}

void ReplyPool::serve(Waiter& waiter, Bytes reply) {
  waiter.pool_.mutex_.assertHeld();  // it is this pool's
  waiter.line_->kept.reset();        // an older one
  waiter.reply_ = std::move(reply);
  waiter.part();
  if (waiter.asked_) {
    waiter.asked_->waiter = nullptr;
    waiter.asked_->answered = true;
  }
  wake(waiter);
}

void ReplyPool::fileUnasked(Line& line, Bytes reply) {
  const auto waiter = std::ranges::find(line.waiters, nullptr, [](const Waiter* other) { return other->asked_; });
  if (waiter != line.waiters.end()) {
    serve(**waiter, std::move(reply));
  } else {
    line.kept = Kept{std::move(reply), Source::Device};
  }
}

void ReplyPool::sendingAlone(int key) {
  const Lock lock(mutex_);
  Line& line = lineOf(key);
  line.sent = Clock::now();
  line.copies.push_back(std::make_shared<Copy>(Copy{.waiter = nullptr, .alone = true}));
}

void ReplyPool::fileLate(Line& line, Bytes reply) {
  if (!late_replies_) {
    return;
  }
  if (line.waiters.empty()) {
    line.kept = Kept{std::move(reply), Source::Late};
  } else {
    Waiter& next = *line.waiters.front();
    next.late_ = true;
    serve(next, std::move(reply));
  }
}

void ReplyPool::arrive(int key, Bytes reply) {
  const Lock lock(mutex_);
  Line& line = lineOf(key);
  line.came = Clock::now();
  if (line.copies.empty()) {
    fileUnasked(line, std::move(reply));
    return;
  }
  const auto copy = std::move(line.copies.front());
  line.copies.pop_front();
  if (line.copies.empty()) {  // it was the latest one; else this may be the reply to a later one
    slowest_ = std::max(slowest_, line.came - line.sent);
    if (line.drying.exchange(false)) {
      idle_.notifyHeld();
    }
  }
  if (copy->waiter != nullptr) {
    serve(*copy->waiter, std::move(reply));
    return;
  }
  if (copy->alone) {
    fileUnasked(line, std::move(reply));
    return;
  }
  ++line.passed;
  if (!std::exchange(copy->answered, true)) {
    fileLate(line, std::move(reply));
  }
}

void ReplyPool::put(int key, Bytes reply) {
  const Lock lock(mutex_);
  Line& line = lineOf(key);
  if (line.waiters.empty()) {
    line.kept = Kept{std::move(reply), Source::Application};
    return;
  }
  Waiter& waiter = *line.waiters.front();
  // Who answers in the device's place has taken the request.
  if (const auto copy = std::ranges::find(line.copies, waiter.asked_); waiter.asked_ && copy != line.copies.end()) {
    line.copies.erase(copy);
  }
  serve(waiter, std::move(reply));
}

std::optional<Bytes> ReplyPool::take(int key) {
  const Lock lock(mutex_);
  const auto line = lines_.find(key);
  if (line == lines_.end() || !line->second.kept) {
    return std::nullopt;
  }
  return std::move(std::exchange(line->second.kept, std::nullopt)->reply);
}

std::optional<Bytes> ReplyPool::peek(int key) const {
  const Lock lock(mutex_);
  const auto line = lines_.find(key);
  return line == lines_.end() || !line->second.kept ? std::nullopt : std::optional(line->second.kept->reply);
}

void ReplyPool::waitInVain(const Deadline& deadline) {
  Lock lock(mutex_);
  idle_.wait(lock, deadline, [this]() QVX_REQUIRES(mutex_) { return closed_ || loss_; });
}

std::vector<int> ReplyPool::keys() const {
  const Lock lock(mutex_);
  std::vector<int> keys;
  for (const auto& [key, line] : lines_) {
    if (line.kept) {
      keys.push_back(key);
    }
  }
  return keys;
}

std::size_t ReplyPool::size() const {
  return keys().size();
}

void ReplyPool::clear() {
  const Lock lock(mutex_);
  for (auto& [key, line] : lines_) {
    line.kept.reset();
  }
}

template <class Visit>
void ReplyPool::eachWaiter(Visit visit) {
  for (auto& [key, line] : lines_) {
    for (Waiter* waiter : line.waiters) {
      visit(*waiter);
    }
    for (Waiter* waiter : line.queue) {
      visit(*waiter);
    }
  }
}

void ReplyPool::begin(Clock::duration silence) {
  const Lock lock(mutex_);
  for (auto& [key, line] : lines_) {
    line.copies.clear();
    line.drying = false;
    if (line.kept && line.kept->source != Source::Application) {
      line.kept.reset();
    }
  }
  silence_ = silence;
  slowest_ = {};
  late_told_ = false;
  loss_.reset();
}

void ReplyPool::end(const std::optional<Failure>& loss) {
  const Lock lock(mutex_);
  loss_ = loss;
  eachWaiter([&](Waiter& waiter) QVX_REQUIRES(mutex_) {
    if (loss || waiter.asked_) {
      waiter.end_ = loss ? Waiter::End::Lost : Waiter::End::Ended;
      wake(waiter);
    }
  });
  idle_.notifyHeld();
}

std::optional<Failure> ReplyPool::loss() const {
  const Lock lock(mutex_);
  return loss_;
}

void ReplyPool::close() {
  const Lock lock(mutex_);
  closed_ = true;
  eachWaiter([this](Waiter& waiter) QVX_REQUIRES(mutex_) { wake(waiter); });
  idle_.notifyHeld();
}

}  // namespace qvx
