#include "protocol/replies.h"

#include <algorithm>
#include <utility>

namespace qvx {
namespace {

// A device that has answered and then not for so long, nor for four times as long as it ever took, answers no more of
// what it has been sent. One may pause between two replies: to write its flash memory, or for a slow command.
constexpr std::chrono::seconds kGap{2};
// How long somebody who may ask may take to do so, before others are let in: the task's loop may be busy, or stopped.
constexpr std::chrono::milliseconds kCourtesy{50};
constexpr std::chrono::milliseconds kLongestLook{500};
constexpr double kLongestTimeout = 1e8;  // seconds, three years
// When nothing comes any more, each copy that is unanswered costs a repeat, and those come at growing intervals.
constexpr std::size_t kFarBehind = 5;

}  // namespace

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key) : Waiter(pool, key, {}, 0, Lock(pool.mutex_)) {}

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key, ByteView question, double timeout)
    : Waiter(pool, key, question, timeout, Lock(pool.mutex_)) {}

ReplyPool::Waiter::Waiter(ReplyPool& pool, int key, std::optional<ByteView> question, double timeout,
                          const Lock& /*lock*/)
    : pool_(pool),
      line_(&pool.lineOf(key)),
      timeout_(std::chrono::duration_cast<Clock::duration>(
          std::chrono::duration<double>(std::min(timeout, kLongestTimeout)))) {
  if (!question) {
    return;
  }
  thread_ = Fiber::current() == nullptr ? std::this_thread::get_id() : std::thread::id();
  if (line_->speakers.empty()) {
    line_->question.assign(question->begin(), question->end());
  }
  // Behind those who wait already, so that their turn comes.
  if (line_->queue.empty() && std::ranges::equal(line_->question, *question)) {
    giveFloor();
  } else {
    question_.assign(question->begin(), question->end());
    queue();
    had_to_queue_ = true;
  }
}

void ReplyPool::Waiter::queue() {
  place_ = line_->queue.insert(line_->queue.end(), this);
  queued_ = true;
}

void ReplyPool::Waiter::giveFloor() {
  speaker_ = line_->speakers.size();
  line_->speakers.push_back(this);
}

void ReplyPool::Waiter::leaveFloor() {
  if (speaker_) {
    Waiter* const last = line_->speakers.back();
    line_->speakers[*speaker_] = last;
    last->speaker_ = speaker_;
    line_->speakers.pop_back();
    speaker_.reset();
  }
}

bool ReplyPool::Waiter::awaitFloor() {
  if (!had_to_queue_) {
    return true;
  }
  Lock lock(pool_.mutex_);
  const auto decided = [this]() QVX_REQUIRES(pool_.mutex_) { return speaker_ || over() || pool_.loss_; };
  // Who gives the floor up wakes the next. What nobody wakes for is looked after in growing pauses.
  Clock::duration pause = kCourtesy;
  while (!changed_.wait(lock, Clock::now() + pause, decided)) {
    const auto same_thread = [this](const Waiter* other) { return other->thread_ == thread_; };
    if (thread_ != std::thread::id() && std::ranges::any_of(line_->speakers, same_thread)) {
      line_->queue.erase(place_);
      queued_ = false;
      return true;  // that one goes on when this one has returned: a handler of signals asks
    }
    const auto now = Clock::now();
    if (std::ranges::none_of(line_->speakers, [now](const Waiter* other) { return other->speaks_until_ > now; })) {
      pool_.takeFloor(*line_);
    }
    pause = std::min<Clock::duration>(2 * pause, kLongestLook);
  }
  if (!speaker_ && pool_.loss_) {
    end_ = End::Lost;
  }
  speaks_until_ = Clock::now() + timeout_;
  return speaker_ && end_ == End::None;
}

ReplyPool::Waiter::~Waiter() {
  if (done_) {
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
  leaveFloor();
  pool_.passFloor(*line_);
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
    done_ = false;
    if (!reply_) {
      join();
    }
  }
  line_->sent = now;
  line_->copies.push_back(asked_);
  speaks_until_ = now + timeout_;
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
  done_ = reply_.has_value() && !joined_ && !queued_ && !speaker_;
  return std::exchange(reply_, std::nullopt);
}

// One of the threads that wait reads for all. It goes on until its own reply is there, and then offers its turn to
// another that waits; who has none of that reads at once.
void ReplyPool::Waiter::waitReading(Lock& lock, const Deadline& deadline,
                                    const std::shared_ptr<Reader>& reader) QVX_UNCHECKED {
  // Where the thread reads already, because a signal's handler asks while it does, it goes on for the handler first.
  struct Turn {
    ReplyPool& pool;
    Waiter* const before = pool.reading_;
    const std::shared_ptr<Reader> reader_before = pool.reader_;
    ~Turn() {
      if (before == nullptr || pool.reader_ != reader_before) {
        pool.reader_->end();
      }
      pool.reader_ = reader_before;
      pool.reading_ = before;
      if (before == nullptr) {
        pool.offerTurn();
      }
    }
  };
  bool in_time = true;
  const auto timeLeft = [&] { return in_time = !deadline || Clock::now() < *deadline; };
  while (!over() && in_time) {
    const bool taken = pool_.reading_ != nullptr && pool_.reading_thread_ != std::this_thread::get_id();
    if (taken || !reader->usable()) {
      offered_ = false;
      const auto place = pool_.following_.insert(pool_.following_.end(), this);
      const auto leave = [&](Waiter*) QVX_REQUIRES(pool_.mutex_) { pool_.following_.erase(place); };
      const std::unique_ptr<Waiter, decltype(leave)> following(this, leave);
      in_time = changed_.wait(lock, deadline, [&]() QVX_REQUIRES(pool_.mutex_) { return over() || offered_; });
      continue;
    }
    offered_ = false;
    const Turn turn{pool_};
    pool_.reading_ = this;
    pool_.reader_ = reader;
    pool_.reading_thread_ = std::this_thread::get_id();
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

void ReplyPool::passFloor(Line& line) {
  if (!line.speakers.empty() || line.queue.empty()) {
    return;
  }
  line.question = line.queue.front()->question_;
  const auto until = Clock::now() + kCourtesy;
  std::erase_if(line.queue, [&](Waiter* waiter) QVX_REQUIRES(mutex_) {
    waiter->pool_.mutex_.assertHeld();  // it is this pool's
    if (waiter->question_ != line.question) {
      return false;
    }
    waiter->queued_ = false;
    waiter->speaks_until_ = until;
    waiter->giveFloor();
    waiter->changed_.notifyHeld();
    return true;
  });
}

void ReplyPool::takeFloor(Line& line) {
  while (!line.speakers.empty()) {
    Waiter& waiter = *line.speakers.back();
    waiter.pool_.mutex_.assertHeld();  // it is this pool's
    waiter.leaveFloor();
    if (waiter.asked_) {
      waiter.asked_->waiter = nullptr;
      if (std::exchange(waiter.joined_, false)) {
        line.waiters.erase(waiter.place_);
      }
    } else if (waiter.had_to_queue_) {
      waiter.queue();
    }
  }
  passFloor(line);
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
