#include "runtime/fiber.h"

#include "runtime/wait.h"
#include "tests/cpp/protocol/fakes.h"

#include <fstream>
#include <stdexcept>

namespace qvx::test {
namespace {

// What an operation's wait does, reduced to one fiber.
void suspendOnce(const Deadline& deadline = std::nullopt) {
  Fiber::current()->newTicket();
  Fiber::current()->suspend(deadline);
}

struct OnEnd {
  explicit OnEnd(bool& flag) : flag_(flag) {}
  OnEnd(const OnEnd&) = delete;
  OnEnd& operator=(const OnEnd&) = delete;
  ~OnEnd() { flag_ = true; }
  bool& flag_;
};

TEST(Fiber, EveryWaitHasItsOwnTicket) {
  const auto loop = makeLoop();
  std::set<std::uint64_t> tickets;
  Fiber first(loop, [] { suspendOnce(), suspendOnce(); });
  Fiber second(loop, [] { suspendOnce(), suspendOnce(); });
  for (int i = 0; i < 2; ++i) {
    first.resume();
    second.resume();
    tickets.insert(first.ticket());
    tickets.insert(second.ticket());
  }
  EXPECT_EQ(tickets.size(), 4U);
}

// The driver may itself be in a handler: what is being handled there must survive the fiber's own throwing and
// catching.
TEST(Fiber, HandlersOfDriverAndBodyDontMix) {
  const auto loop = makeLoop();
  Fiber fiber(loop, [] {
    try {
      throw std::runtime_error("inside");
    } catch (const std::runtime_error&) {
    }
    suspendOnce();
    throw std::logic_error("last");
  });
  EXPECT_FALSE(fiber.resume());
  try {
    throw std::runtime_error("outside");
  } catch (const std::runtime_error& error) {
    EXPECT_TRUE(fiber.resume());
    EXPECT_STREQ(error.what(), "outside");
  }
  EXPECT_THROW(std::rethrow_exception(fiber.failure()), std::logic_error);
}

TEST(Fiber, CancelledBodyThatWaitsAgainIsThrownOutAgain) {
  const auto loop = makeLoop();
  int thrown = 0;
  Fiber fiber(loop, [&] {
    for (int i = 0; i < 2; ++i) {
      try {
        suspendOnce();
      } catch (const FiberCancelled&) {
        ++thrown;
      }
    }
  });
  fiber.resume();
  fiber.cancel();
  EXPECT_TRUE(fiber.resume());
  EXPECT_EQ(thrown, 2);
}

TEST(Fiber, DestructionUnwindsWhatIsSuspendedAndLeavesWhatNeverRan) {
  const auto loop = makeLoop();
  bool unwound = false;
  {
    Fiber fiber(loop, [&] {
      const OnEnd end(unwound);
      suspendOnce();
    });
    fiber.resume();
  }
  EXPECT_TRUE(unwound);
  bool ran = false;
  {
    const Fiber never(loop, [&] { ran = true; });
  }
  EXPECT_FALSE(ran);
}

TEST(Fiber, OutsideRunsOnTheDriversStack) {
  const auto loop = makeLoop();
  const auto stackOf = [] {
    volatile char here = 0;
    return reinterpret_cast<std::uintptr_t>(&here);
  };
  [[maybe_unused]] const auto distance = [](std::uintptr_t a, std::uintptr_t b) { return a > b ? a - b : b - a; };
  [[maybe_unused]] const std::uintptr_t driver = stackOf();
  std::uintptr_t inside = 0;
  std::uintptr_t outside = 0;
  const Fiber* current = nullptr;
  int waits = 0;
  Fiber fiber(loop, [&] {
    inside = stackOf();
    Fiber::outside([&] {
      outside = stackOf();
      current = Fiber::current();
    });
    suspendOnce();
    ++waits;
  });
  // A call outside is no wait: the driver sees one suspension only.
  EXPECT_FALSE(fiber.resume());
  EXPECT_TRUE(fiber.resume());
  EXPECT_EQ(waits, 1);
  EXPECT_EQ(current, nullptr);
#if !defined(__SANITIZE_ADDRESS__)  // which may keep locals elsewhere
  EXPECT_LT(distance(driver, outside), 1U << 16);
  EXPECT_GT(distance(driver, inside), 1U << 16);
#endif
}

TEST(Fiber, ExceptionsComeBackFromOutside) {
  const auto loop = makeLoop();
  std::string caught;
  Fiber fiber(loop, [&] {
    try {
      Fiber::outside([] { throw std::runtime_error("from outside"); });
    } catch (const std::runtime_error& error) {
      caught = error.what();
    }
    Fiber::outside([] { throw std::logic_error("again"); });
  });
  EXPECT_TRUE(fiber.resume());
  EXPECT_EQ(caught, "from outside");
  EXPECT_THROW(std::rethrow_exception(fiber.failure()), std::logic_error);
}

// More than the pool of stacks keeps, each with its own locals.
TEST(Fiber, ManyAtOnceKeepTheirOwnStacks) {
  const auto loop = makeLoop();
  std::vector<std::unique_ptr<Fiber>> fibers;
  std::vector<std::size_t> results(300);
  for (std::size_t i = 0; i < results.size(); ++i) {
    fibers.push_back(loop->make([i, &results] {
      std::array<std::size_t, 512> locals{};
      locals.fill(i);
      suspendOnce();
      for (const std::size_t value : locals) {
        results[i] += value;
      }
    }));
    fibers.back()->resume();
  }
  for (auto it = fibers.rbegin(); it != fibers.rend(); ++it) {
    EXPECT_TRUE((*it)->resume());
  }
  for (std::size_t i = 0; i < results.size(); ++i) {
    EXPECT_EQ(results[i], 512 * i);
  }
}

// In megabytes.
long residentMemory() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return resident * 4096 / 1000000;
}

TEST(Fiber, ManyOneAfterAnotherGiveTheirMemoryBack) {
  const auto loop = makeLoop();
  const auto use = [&loop](int count) {
    for (int i = 0; i < count; ++i) {
      Fiber fiber(loop, [] { suspendOnce(); });
      fiber.resume();
      if (i % 2 == 0) {
        fiber.resume();
      }
    }
  };
  use(100);
  const long before = residentMemory();
  use(5000);
  EXPECT_LT(residentMemory() - before, 100);
}

TEST(Fiber, OneMayDriveAnother) {
  const auto loop = makeLoop();
  std::string order;
  Fiber inner(loop, [&] {
    order += "b";
    suspendOnce();
    order += "d";
  });
  Fiber outer(loop, [&] {
    order += "a";
    inner.resume();
    EXPECT_EQ(Fiber::current(), &outer);
    order += "c";
    inner.resume();
    order += "e";
  });
  EXPECT_TRUE(outer.resume());
  EXPECT_EQ(order, "abcde");
}

TEST(Deadline, FarAwayIsNever) {
  EXPECT_FALSE(deadlineAfter(1e10).has_value());
  EXPECT_FALSE(deadlineAfter(std::numeric_limits<double>::infinity()).has_value());
  const Deadline past = deadlineAfter(-5);
  EXPECT_LE(*past, Clock::now());
  EXPECT_GT(*deadlineAfter(100), Clock::now() + std::chrono::seconds(90));
}

}  // namespace
}  // namespace qvx::test
