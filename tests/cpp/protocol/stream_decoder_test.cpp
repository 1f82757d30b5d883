#include "protocol/stream_decoder.h"

#include "tests/cpp/protocol/fakes.h"

namespace qvx::test {
namespace {

// A decoder of two queues that remembers what it was given.
struct Bench {
  std::mutex mutex;
  std::vector<std::pair<std::size_t, Bytes>> seen;
  std::vector<std::shared_ptr<RawQueue>> raw{std::make_shared<RawQueue>(), std::make_shared<RawQueue>()};
  StreamDecoder decoder{"test", raw, [this](std::size_t index, const Bytes& item) {
                          const std::lock_guard lock(mutex);
                          seen.emplace_back(index, item);
                        }};

  std::size_t count() {
    const std::lock_guard lock(mutex);
    return seen.size();
  }
  // Of one queue, in order.
  std::vector<Bytes> of(std::size_t index) {
    const std::lock_guard lock(mutex);
    std::vector<Bytes> items;
    for (const auto& [where, item] : seen) {
      if (where == index) {
        items.push_back(item);
      }
    }
    return items;
  }
};

TEST(StreamDecoder, DecodesInOrderAndSkipsWakeUps) {
  Bench bench;
  bench.raw[0]->put({1});
  EXPECT_TRUE(bench.decoder.open());
  EXPECT_FALSE(bench.decoder.open());
  bench.raw[0]->put({});
  bench.raw[1]->put({3});
  bench.raw[0]->put({2});
  ASSERT_TRUE(eventually([&] { return bench.count() == 3; }));
  EXPECT_EQ(bench.of(0), (std::vector<Bytes>{{1}, {2}}));
  EXPECT_EQ(bench.of(1), (std::vector<Bytes>{{3}}));
}

TEST(OverflowReport, WarnsAtOnceAndThenAtMostOnceASecond) {
  const RecordingHost host;
  OverflowReport report(ErrorId::AIQueueOverflowWarning);
  const auto begin = Clock::now();
  while (Clock::now() < begin + std::chrono::milliseconds(1100)) {
    report.dropped();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const auto seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  EXPECT_GE(host.warnings().size(), 2U);
  EXPECT_LE(static_cast<double>(host.warnings().size()), seconds + 1);
  EXPECT_EQ(host.warnings().front(), "AIQueueOverflowWarning");
}

}  // namespace
}  // namespace qvx::test
