// The place that waits, and what stands directly on it: gates and worker threads.
#include "runtime/wait.h"

#include "protocol/gate.h"
#include "protocol/worker.h"
#include "tests/cpp/protocol/fakes.h"

#include <future>
#include <thread>

namespace qvx::test {
namespace {

struct Flag {
  Mutex mutex;
  Condition changed;
  int value = 0;

  void set(int to) {
    Lock lock(mutex);
    value = to;
    changed.notify(lock);
  }
  bool waitFor(int wanted, const Deadline& deadline) {
    Lock lock(mutex);
    return changed.wait(lock, deadline, [&] { return value == wanted; });
  }
};

TEST(Condition, WakesThreadsAndFibersAlike) {
  const auto loop = makeLoop();
  Flag flag;
  std::vector<std::future<bool>> threads;
  for (int i = 0; i < 3; ++i) {
    threads.push_back(std::async(std::launch::async, [&] { return flag.waitFor(1, std::nullopt); }));
  }
  std::vector<std::unique_ptr<Fiber>> fibers;
  std::vector<Fiber*> pointers;
  int woken = 0;
  for (int i = 0; i < 3; ++i) {
    fibers.push_back(loop->make([&] { woken += flag.waitFor(1, std::nullopt) ? 1 : 0; }));
    EXPECT_FALSE(fibers.back()->resume());
    pointers.push_back(fibers.back().get());
  }
  std::thread setter([&] { flag.set(1); });
  EXPECT_TRUE(loop->run(pointers));
  setter.join();
  EXPECT_EQ(woken, 3);
  for (auto& thread : threads) {
    EXPECT_TRUE(thread.get());
  }
}

// A change that is not the awaited one must neither end the wait nor lose the next.
TEST(Condition, GoesOnWaitingAfterAChangeThatIsNotItsOwn) {
  const auto loop = makeLoop();
  Flag flag;
  bool seen = false;
  const auto fiber = loop->make([&] { seen = flag.waitFor(3, std::nullopt); });
  fiber->resume();
  std::thread setter([&] {
    for (int i = 1; i <= 3; ++i) {
      flag.set(i);
      std::this_thread::yield();
    }
  });
  EXPECT_TRUE(loop->run({fiber.get()}));
  setter.join();
  EXPECT_TRUE(seen);
}

TEST(Condition, GivesUpAtTheDeadlineAndNotBefore) {
  const auto loop = makeLoop();
  Flag flag;
  for (const double seconds : {-1.0, 0.0, 0.04}) {
    const auto begin = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    EXPECT_FALSE(flag.waitFor(1, deadlineAfter(seconds)));
    EXPECT_GE(passed(), seconds);
    bool seen = true;
    loop->runBody([&] { seen = flag.waitFor(1, deadlineAfter(seconds)); });
    EXPECT_FALSE(seen);
    EXPECT_GE(passed(), 2 * seconds);
  }
}

TEST(Condition, WhatIsReadyIsSeenEvenAfterTheDeadline) {
  const auto loop = makeLoop();
  Flag flag;
  flag.set(1);
  EXPECT_TRUE(flag.waitFor(1, deadlineAfter(-1)));
  bool seen = false;
  loop->runBody([&] { seen = flag.waitFor(1, deadlineAfter(-1)); });
  EXPECT_TRUE(seen);
}

// A waiter left behind would be posted to a loop that may be gone.
TEST(Condition, ACancelledFiberLeavesNoWaiter) {
  class CountingLoop : public Scheduler {
   public:
    void post(std::uint64_t /*ticket*/) override { ++posts; }
    int posts = 0;
  };
  const auto loop = std::make_shared<CountingLoop>();
  Flag flag;
  {
    Fiber cancelled(loop, [&] { flag.waitFor(1, std::nullopt); });
    cancelled.resume();
    cancelled.cancel();
    EXPECT_TRUE(cancelled.resume());
    Fiber destroyed(loop, [&] { flag.waitFor(1, std::nullopt); });
    destroyed.resume();
  }
  flag.set(1);
  EXPECT_EQ(loop->posts, 0);
}

class InterruptedHost : public Host {
 public:
  InterruptedHost() { setHost(this); }
  ~InterruptedHost() override { setHost(nullptr); }
  bool interruptible() override { return std::this_thread::get_id() == main_; }
  void checkInterrupt() override {
    if (pressed) {
      throw std::runtime_error("Ctrl-C");
    }
  }
  std::atomic<bool> pressed{false};

 private:
  const std::thread::id main_ = std::this_thread::get_id();
};

TEST(Condition, CtrlCEndsTheMainThreadsWaitsAndNoOthers) {
  InterruptedHost host;
  Flag flag;
  auto other = std::async(std::launch::async, [&] { return flag.waitFor(1, std::nullopt); });
  std::thread user([&] { host.pressed = true; });
  EXPECT_THROW(flag.waitFor(1, std::nullopt), std::runtime_error);
  user.join();
  EXPECT_EQ(other.wait_for(kGlance), std::future_status::timeout);
  flag.set(1);
  EXPECT_TRUE(other.get());
}

TEST(Gate, ParksUntilItIsOpened) {
  Gate gate;
  EXPECT_FALSE(gate.waitParked(Clock::now() + kGlance));
  auto passing = std::async(std::launch::async, [&] { gate.pass([] { return false; }); });
  EXPECT_TRUE(gate.waitParked(Clock::now() + kPatience));
  EXPECT_EQ(passing.wait_for(kGlance), std::future_status::timeout);
  gate.release();
  EXPECT_EQ(passing.wait_for(kPatience), std::future_status::ready);
}

TEST(Gate, LetsThroughWhoIsCalled) {
  Gate gate;
  std::atomic<bool> called{false};
  auto passing = std::async(std::launch::async, [&] { gate.pass([&] { return called.load(); }); });
  EXPECT_TRUE(gate.waitParked(Clock::now() + kPatience));
  called = true;
  gate.call();
  EXPECT_EQ(passing.wait_for(kPatience), std::future_status::ready);
  EXPECT_TRUE(gate.locked());
}

TEST(Worker, IsJoinedByManyWhenItsStepIsWoken) {
  const auto gate = std::make_shared<Gate>(false);
  Flag flag;
  std::atomic<bool> in_step{false};
  Worker worker("test", gate,
                {.step =
                     [&] {
                       in_step = true;
                       flag.waitFor(1, std::nullopt);
                     },
                 .wake = [&] { flag.set(1); }});
  ASSERT_TRUE(eventually([&] { return in_step.load(); }));
  std::vector<std::thread> stoppers;
  for (int i = 0; i < 4; ++i) {
    stoppers.emplace_back([&] {
      worker.kill();
      EXPECT_TRUE(worker.join(deadlineAfter(20)));
    });
  }
  for (auto& stopper : stoppers) {
    stopper.join();
  }
  EXPECT_FALSE(worker.alive());
}

// As a transport of the application's that takes no notice.
TEST(Worker, AThreadThatDoesNotComeBackIsLeftToItself) {
  Flag flag;
  const auto kept = std::make_shared<int>(1);
  std::atomic<bool> in_step{false};
  const auto begin = Clock::now();
  {
    Worker worker("test", std::make_shared<Gate>(false),
                  {.step =
                       [&, kept] {
                         in_step = true;
                         flag.waitFor(1, std::nullopt);
                       },
                   .wake = [] {}});
    ASSERT_TRUE(eventually([&] { return in_step.load(); }));
  }
  EXPECT_LT(Clock::now() - begin, kPatience / 2);
  EXPECT_EQ(kept.use_count(), 2);
  flag.set(1);
  EXPECT_TRUE(eventually([&] { return kept.use_count() == 1; }));
}

}  // namespace
}  // namespace qvx::test
