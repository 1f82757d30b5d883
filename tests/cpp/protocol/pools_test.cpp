#include "protocol/pools.h"

#include "protocol/signal_queue.h"
#include "tests/cpp/protocol/fakes.h"

#include <future>
#include <thread>

namespace qvx::test {
namespace {

TEST(ReplyPool, WakesWhoWaitsForTheKey) {
  const auto loop = makeLoop();
  ReplyPool pool;
  auto thread = std::async(std::launch::async, [&] { return pool.waitFor(1, std::nullopt); });
  std::optional<Bytes> on_fiber;
  const auto fiber = loop->make([&] { on_fiber = pool.waitFor(2, std::nullopt); });
  fiber->resume();
  pool.put(3, {});  // nobody's
  EXPECT_EQ(thread.wait_for(kGlance), std::future_status::timeout);
  pool.put(1, {10});
  pool.put(2, {20});
  EXPECT_TRUE(loop->run({fiber.get()}));
  EXPECT_EQ(on_fiber, Bytes{20});
  EXPECT_EQ(thread.get(), Bytes{10});
  EXPECT_EQ(pool.keys(), std::vector<int>{3});
}

TEST(ReplyPool, EveryReplyOfManyGoesToOneWaiter) {
  constexpr int kWaiters = 4;
  constexpr int kEach = 200;
  ReplyPool pool;
  std::atomic<int> taken{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < kWaiters; ++i) {
    waiters.emplace_back([&] {
      for (int n = 0; n < kEach; ++n) {
        if (pool.waitFor(7, deadlineAfter(20))) {
          ++taken;
        }
      }
    });
  }
  for (int n = 0; n < kWaiters * kEach; ++n) {
    ASSERT_TRUE(eventually([&] { return !pool.peek(7); }));
    pool.put(7, {1});
  }
  for (auto& waiter : waiters) {
    waiter.join();
  }
  EXPECT_EQ(taken, kWaiters * kEach);
}

TEST(ReplyPool, CloseEndsEveryWait) {
  const auto loop = makeLoop();
  ReplyPool pool;
  auto thread = std::async(std::launch::async, [&] { return pool.waitFor(1, std::nullopt); });
  auto in_vain = std::async(std::launch::async, [&] { pool.waitInVain(std::nullopt); });
  bool ended = false;
  const auto fiber = loop->make([&] {
    pool.waitFor(2, std::nullopt);
    ended = true;
  });
  fiber->resume();
  pool.put(1, {1});
  EXPECT_EQ(in_vain.wait_for(kGlance), std::future_status::timeout);
  pool.close();
  EXPECT_TRUE(loop->run({fiber.get()}));
  EXPECT_TRUE(ended);
  EXPECT_EQ(thread.get(), Bytes{1});
  in_vain.get();
  EXPECT_EQ(pool.waitFor(9, std::nullopt), std::nullopt);
}

TEST(RawQueue, RingsTheBellAtEveryItem) {
  RawQueue queue;
  const auto bell = std::make_shared<Doorbell>();
  queue.setDoorbell(bell);
  for (int round = 0; round < 3; ++round) {
    auto listener = std::async(std::launch::async, [&] { bell->wait(); });
    queue.put({1});
    EXPECT_EQ(listener.wait_for(kPatience), std::future_status::ready);
  }
}

// `count` rows of `width`, numbered on from `first`: the value is 100 times the row's number, plus the channel.
std::vector<double> rows(std::size_t first, std::size_t count, std::size_t width) {
  std::vector<double> values;
  for (std::size_t row = first; row < first + count; ++row) {
    for (std::size_t channel = 0; channel < width; ++channel) {
      values.push_back(static_cast<double>(100 * row + channel));
    }
  }
  return values;
}

std::vector<double> flat(const std::vector<Rows<double>>& pieces) {
  std::vector<double> values;
  for (const auto& piece : pieces) {
    values.insert(values.end(), piece.values.begin(), piece.values.end());
  }
  return values;
}

// Puts and takes of all sizes around the borders of chunks: what comes out is what went in.
TEST(SignalQueue, KeepsEveryRowInOrderAcrossChunks) {
  constexpr std::size_t kWidth = 3;
  for (const std::size_t put_size : {1U, 7U, 1023U, 1024U, 1025U, 5000U}) {
    for (const std::size_t take_size : {1U, 5U, 1023U, 1024U, 1025U, 4096U}) {
      SignalQueue<double> queue(100000);
      std::size_t in = 0;
      std::size_t out = 0;
      while (out < 6000) {
        while (in < out + take_size + 100) {
          EXPECT_EQ(queue.put(rows(in, put_size, kWidth), kWidth), 0U);
          in += put_size;
        }
        const auto taken = queue.take(take_size);
        ASSERT_EQ(flat(taken), rows(out, take_size, kWidth)) << put_size << " " << take_size << " at " << out;
        EXPECT_EQ(taken.size(), 1U);
        out += take_size;
        EXPECT_EQ(queue.size(), in - out);
      }
    }
  }
}

TEST(SignalQueue, DropsAndCountsWhatDoesNotFit) {
  SignalQueue<double> queue(10);
  EXPECT_EQ(queue.put(rows(0, 8, 2), 2), 0U);
  EXPECT_EQ(queue.put(rows(8, 5, 2), 2), 3U);
  EXPECT_EQ(queue.put(rows(20, 4, 2), 2), 4U);
  EXPECT_EQ(queue.dropped(), 7U);
  EXPECT_EQ(queue.size(), 10U);
  EXPECT_EQ(flat(queue.take(1)), rows(0, 1, 2));
  EXPECT_EQ(queue.put(rows(30, 1, 2), 2), 0U);
  const std::vector<double> more = rows(40, 1, 2);
  EXPECT_FALSE(queue.tryPut(more));
  EXPECT_EQ(flat(queue.take(9)), rows(1, 9, 2));
  EXPECT_TRUE(queue.tryPut(more));
  EXPECT_EQ(flat(queue.take(1)), rows(30, 1, 2));
  EXPECT_EQ(flat(queue.take(SIZE_MAX)), more);
  EXPECT_TRUE(queue.take(9).empty());
  EXPECT_EQ(queue.dropped(), 7U);
}

}  // namespace
}  // namespace qvx::test
