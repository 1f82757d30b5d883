// Connections that do not come about, or too often.
#include "tests/cpp/links/road.h"

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

// What a sanitizer keeps back of freed memory is no growth.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kGrowth = 256 << 20;
#else
constexpr std::size_t kGrowth = 1 << 20;
#endif

class LinkConnectTest : public LinkTest {};

TEST_P(LinkConnectTest, WhatCannotBeConnectedSaysSoAndTheHandleStaysGood) {
  for (const auto& connect : road->hopelessConnects()) {
    for (int round = 0; round < 3; ++round) {
      EXPECT_EQ(failureOf(connect), connectionName());
      EXPECT_EQ(state(), Channel::State::Disconnected);
      EXPECT_EQ(failureOf([&] { device().sendPacketWithoutReply(GET_DRIVER_INFO, {}); }), lostName());
    }
    road->connect();
    EXPECT_EQ(failureOf(connect), connectionName());  // there is one already, which goes on
    EXPECT_TRUE(answers());
    road->disconnect();
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

TEST_P(LinkConnectTest, DisconnectAndCloseEndALongConnect) {
  const auto connect = road->longConnect();
  if (!connect) {
    GTEST_SKIP() << "this medium answers at once";
  }
  for (const bool close : {false, true}) {
    auto raised = std::async(std::launch::async, [&] { return failureOf(connect); });
    EXPECT_TRUE(eventually([&] { return state() == Channel::State::Connecting; }));
    const auto begin = Clock::now();
    if (close) {
      device().close();
    } else {
      road->disconnect();
    }
    EXPECT_EQ(raised.get(), connectionName());
    EXPECT_LT(Clock::now() - begin, 4s);  // of the 5 s that it would have taken
    EXPECT_EQ(state(), Channel::State::Disconnected);
  }
}

TEST_P(LinkConnectTest, ManyConnectionsLeaveNothingBehind) {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t descriptors = 0;
  std::size_t memory = 0;
  const int count = road->manyConnections();
  for (int i = 0; i < count; ++i) {
    road->connect();
    if (i % 3 != 0) {
      ASSERT_TRUE(answers());
    }
    if (i % 10 == 9) {
      ASSERT_TRUE(road->cut(Cut::Closed));
      ASSERT_TRUE(eventually([&] { return state() == Channel::State::Lost; }));
    } else {
      road->disconnect();
    }
    if (i == count / 5) {
      threads = threadsNow();
      descriptors = descriptorsNow();
      memory = memoryNow();
    }
  }
  road->disconnect();
  EXPECT_TRUE(eventually([&] { return threadsNow() <= threads && descriptorsNow() <= descriptors; }));
  EXPECT_LE(memoryNow(), memory + kGrowth);
  RecordProperty("memory_before", static_cast<int>(memory / 1024));
  RecordProperty("memory_after", static_cast<int>(memoryNow() / 1024));
}

QVX_OVER_EVERY_ROAD(LinkConnectTest);

}  // namespace
}  // namespace qvx::test
