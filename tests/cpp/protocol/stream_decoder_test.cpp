#include "protocol/stream_decoder.h"

#include "protocol/signal_queue.h"
#include "tests/cpp/protocol/fakes.h"

namespace qvx::test {
namespace {

TEST(StreamDecoder, WarnsOfRowsThatDoNotFitAtMostOnceASecond) {
  const RecordingHost host;
  const auto raw = std::make_shared<RawQueue>();
  StreamDecoder decoder("test", {raw}, {.decode = [](std::size_t, const RawItem&) { return std::size_t{1}; }});
  decoder.open();
  const auto begin = Clock::now();
  EXPECT_TRUE(eventually([&] {
    raw->put({1});
    return host.warnings().size() > 1;
  }));
  EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1));
  EXPECT_EQ(host.warnings(), std::vector<std::string>(2, "AIQueueOverflowWarning"));
}

// What is being decoded when another connection begins belongs to none of its readers; what came before a loss does.
TEST(StreamDecoder, RowsBelongToTheirConnection) {
  const auto raw = std::make_shared<RawQueue>();
  SignalQueue<std::uint8_t> rows(1000);
  std::atomic<int> decoding{0};
  std::atomic<bool> go_on{false};
  StreamDecoder decoder("test", {raw},
                        {.decode =
                             [&](std::size_t, const RawItem& item) {
                               ++decoding;
                               while (!go_on) {
                                 std::this_thread::yield();
                               }
                               return rows.put(item.bytes, 1, item.connection);
                             },
                         .begin = [&](std::uint64_t connection) { rows.begin(connection); },
                         .finish = [&] { rows.finish(); }});
  decoder.open();
  raw->put({1, 2});
  raw->put({3});
  ASSERT_TRUE(eventually([&] { return decoding == 1; }));
  std::thread beginning([&] { decoder.begin(7); });
  go_on = true;
  beginning.join();
  raw->put({4, 5});
  raw->finish();
  EXPECT_FALSE(rows.waitForSize(1000, deadlineAfter(20)));
  const auto taken = rows.take(1000);
  ASSERT_EQ(taken.size(), 1U);
  EXPECT_EQ(taken.front().values, (std::vector<std::uint8_t>{4, 5}));
}

}  // namespace
}  // namespace qvx::test
