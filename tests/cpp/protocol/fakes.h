// What the tests put in place of the world around the protocol: a transport in memory, an event loop, a host that
// remembers.
#pragma once

#include "core/constants.h"
#include "core/host.h"
#include "runtime/fiber.h"
#include "transport/transport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qvx::test {

// How long a test waits for what must happen; never reached when it does.
inline constexpr std::chrono::seconds kPatience{20};
// How long a test watches for what must not happen.
inline constexpr std::chrono::milliseconds kGlance{30};

inline std::string hex(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += text.empty() ? "" : " ";
    text += "0123456789ABCDEF"[byte >> 4];
    text += "0123456789ABCDEF"[byte & 0xF];
  }
  return text;
}

// Tells of a Failure by its class; "" when `call` raised none.
template <class Call>
std::string failureOf(Call call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure.kind().name;
  }
  return "";
}

template <class Condition>
bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Records every frame sent and answers from a table; what is not in it stays unanswered.
class FakeTransport : public Transport {
 public:
  using Answer = std::function<std::vector<Frame>(const Frame& request)>;

  explicit FakeTransport(Answer answer = nullptr) : answer_(std::move(answer)) {}

  void sendPacket(ByteView frame) override {
    const std::lock_guard lock(mutex_);
    if (lost_ || !open_) {
      fail(ErrorId::NetworkConnectionLostError);
    }
    sent_.push_back(hex(frame));
    const std::size_t width = frame[3] > 48 ? 1 : 2;
    const int code = width == 1 ? frame[3] : frame[3] << 8 | frame[4];
    if (answer_) {
      for (Frame& reply : answer_({code, Bytes(frame.begin() + 3 + static_cast<int>(width), frame.end() - 2)})) {
        arriving_.push_back(std::move(reply));
      }
      changed_.notify_all();
    }
  }
  void sendBcstPacket(ByteView frame) override {
    const std::lock_guard lock(mutex_);
    sent_.push_back(hex(frame));
  }
  std::vector<Frame> recvAndSplitPacket(std::size_t) override {
    std::unique_lock lock(mutex_);
    ++reads_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !arriving_.empty() || woken_ || lost_ || !open_; });
    woken_ = false;
    if (lost_) {
      fail(ErrorId::NetworkConnectionLostError, "the peer has gone");
    }
    return {std::make_move_iterator(arriving_.begin()), std::make_move_iterator(std::exchange(arriving_, {}).end())};
  }
  bool connect(const std::string&, int) override {
    const std::lock_guard lock(mutex_);
    open_ = true;
    lost_ = false;
    return true;
  }
  void disconnect() override {
    const std::lock_guard lock(mutex_);
    open_ = false;
    changed_.notify_all();
  }
  void wake() override {
    const std::lock_guard lock(mutex_);
    woken_ = true;
    changed_.notify_all();
  }

  void arrive(int code, Bytes payload) {
    const std::lock_guard lock(mutex_);
    arriving_.push_back({code, std::move(payload)});
    changed_.notify_all();
  }
  void lose() {
    const std::lock_guard lock(mutex_);
    lost_ = true;
    changed_.notify_all();
  }
  // Frames sent since the last call, in hexadecimal.
  std::vector<std::string> sent() {
    const std::lock_guard lock(mutex_);
    return std::exchange(sent_, {});
  }
  int reads() const {
    const std::lock_guard lock(mutex_);
    return reads_;
  }

 private:
  mutable std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  Answer answer_;
  std::vector<std::string> sent_;
  std::deque<Frame> arriving_;
  int reads_ = 0;
  bool open_ = true;
  bool lost_ = false;
  bool woken_ = false;
};

// An event loop of its own, as small as one can be.
class FakeLoop : public Scheduler, public std::enable_shared_from_this<FakeLoop> {
 public:
  void post(std::uint64_t ticket) override {
    const std::lock_guard lock(mutex_);
    posted_.insert(ticket);
    changed_.notify_all();
  }

  std::unique_ptr<Fiber> make(std::function<void()> body) {
    return std::make_unique<Fiber>(shared_from_this(), std::move(body));
  }

  // Drives fibers that have been resumed once until all have ended; false when they don't in time.
  bool run(const std::vector<Fiber*>& fibers) {
    const auto end = Clock::now() + kPatience;
    while (true) {
      auto next = end;
      bool waiting = false;
      for (Fiber* fiber : fibers) {
        if (!fiber->finished() &&
            (taken(fiber->ticket()) || (fiber->deadline() && *fiber->deadline() <= Clock::now()))) {
          fiber->resume();
        }
        if (!fiber->finished()) {
          waiting = true;
          next = std::min(next, fiber->deadline().value_or(end));
        }
      }
      if (!waiting) {
        return true;
      }
      std::unique_lock lock(mutex_);
      changed_.wait_until(lock, next, [this] { return !posted_.empty(); });
      if (Clock::now() >= end) {
        return false;
      }
      for (auto it = posted_.begin(); it != posted_.end();) {
        // A ticket of no fiber here would keep the loop awake.
        const bool known =
            std::any_of(fibers.begin(), fibers.end(), [&](Fiber* fiber) { return fiber->ticket() == *it; });
        it = known ? std::next(it) : posted_.erase(it);
      }
    }
  }

  // Runs `body` on a fiber to its end and passes on what it throws.
  void runBody(const std::function<void()>& body) {
    const auto fiber = make(body);
    fiber->resume();
    ASSERT_TRUE(run({fiber.get()}));
    if (fiber->failure()) {
      std::rethrow_exception(fiber->failure());
    }
  }

 private:
  bool taken(std::uint64_t ticket) {
    const std::lock_guard lock(mutex_);
    return posted_.erase(ticket) != 0;
  }

  std::mutex mutex_;  // guards posted_
  std::condition_variable changed_;
  std::set<std::uint64_t> posted_;
};

inline std::shared_ptr<FakeLoop> makeLoop() {
  return std::make_shared<FakeLoop>();
}

// The host while it lives; remembers what it was told.
class RecordingHost : public Host {
 public:
  RecordingHost() { setHost(this); }
  ~RecordingHost() override { setHost(nullptr); }
  RecordingHost(const RecordingHost&) = delete;
  RecordingHost& operator=(const RecordingHost&) = delete;

  void print(const std::string& line) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back(line);
  }
  void reportFailure(const Failure& failure, bool /*printed*/) override {
    const std::lock_guard lock(mutex_);
    failures_.emplace_back(failure.kind().name);
  }
  void warn(ErrorId id, const std::optional<std::string>& /*message*/) override {
    const std::lock_guard lock(mutex_);
    warnings_.emplace_back(errorKind(id).name);
  }
  std::vector<std::string> lines() const { return copy(lines_); }
  std::vector<std::string> failures() const { return copy(failures_); }
  std::vector<std::string> warnings() const { return copy(warnings_); }

 private:
  std::vector<std::string> copy(const std::vector<std::string>& list) const {
    const std::lock_guard lock(mutex_);
    return list;
  }

  mutable std::mutex mutex_;  // guards all below
  std::vector<std::string> lines_;
  std::vector<std::string> failures_;
  std::vector<std::string> warnings_;
};

}  // namespace qvx::test
