// Connections that end, whatever goes on over them: one report, the medium's class from every send, and the same handle
// connects again.
#include "tests/cpp/links/road.h"

#include <atomic>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

const Bytes kLongFrame(60'000, 7);

class LinkEndsTest : public LinkTest {
 protected:
  // What the connection is doing when it is cut. `meanwhile` starts it and returns what waits for its end.
  using Waiting = std::function<void()>;
  struct Activity {
    const char* name;
    Waiting (LinkEndsTest::*begin)();
    bool commands = false;  // only seen by who cuts the channel of commands
  };
  static const std::vector<Activity> kActivities;

  bool onCommands() { return &road->channel() == device().channels().front().get(); }

  Waiting idle() {
    return [] {};
  }
  Waiting halfAFrame() {
    EXPECT_TRUE(road->send(Bytes{2, 0, 40, 183, 3, 1, 2}));
    return [] {};
  }
  Waiting awaitedReply() {
    auto raised = std::make_shared<std::future<std::string>>(std::async(
        std::launch::async, [this] { return failureOf([this] { device().echoPacket(GET_DRIVER_INFO, {}, 60); }); }));
    std::this_thread::sleep_for(kGlance);
    return [this, raised] {
      EXPECT_EQ(raised->wait_for(kPatience), std::future_status::ready);
      EXPECT_EQ(raised->get(), lostName());
    };
  }
  // Sends until that fails.
  Waiting sends() {
    auto raised = std::make_shared<std::future<std::string>>(std::async(std::launch::async, [this] {
      return failureOf([this] {
        for (;;) {
          device().sendPacketWithoutReply(GET_DRIVER_INFO, kLongFrame);
        }
      });
    }));
    std::this_thread::sleep_for(kGlance);
    return [this, raised] { EXPECT_EQ(raised->get(), lostName()); };
  }
  Waiting blockedSends() {
    road->stopTaking();
    return sends();
  }
};

const std::vector<LinkEndsTest::Activity> LinkEndsTest::kActivities{
    {"idle", &LinkEndsTest::idle},
    {"half a frame", &LinkEndsTest::halfAFrame},
    {"awaited reply", &LinkEndsTest::awaitedReply},
    {"blocked sends", &LinkEndsTest::blockedSends, true},
};

TEST_P(LinkEndsTest, ALostConnectionIsToldOfOnceAndTheHandleConnectsAgain) {
  std::size_t lost = 0;
  for (const Cut how : {Cut::Closed, Cut::Reset, Cut::HalfClosed}) {
    for (const Activity& activity : kActivities) {
      SCOPED_TRACE(std::string(activity.name) + ", cut " + std::to_string(static_cast<int>(how)));
      if (activity.commands && !onCommands()) {
        continue;
      }
      road->connect();
      const Waiting waiting = (this->*activity.begin)();
      if (!road->cut(how)) {
        device().disconnect();
        waiting();
        continue;
      }
      ++lost;
      EXPECT_TRUE(eventually([&] { return state() == Channel::State::Lost; }));
      waiting();
      EXPECT_TRUE(eventually([&] { return host.failures().size() == lost; }));
      if (onCommands()) {
        EXPECT_EQ(failureOf([&] { device().sendPacketWithoutReply(GET_DRIVER_INFO, Bytes{1}); }), lostName());
        EXPECT_EQ(failureOf([&] { device().echoPacketWithRetry(GET_DRIVER_INFO, Bytes{1}, 5); }), lostName());
      }
      road->connect();
      EXPECT_TRUE(answers());
      road->disconnect();
    }
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>(lost, lostName()));
  road->connect();
  road->cut(Cut::Closed);
  EXPECT_TRUE(eventually([&] { return host.failures().size() == lost + 1; }));
  device().close();
  EXPECT_EQ(failureOf([&] { road->connect(); }), connectionName());
}

TEST_P(LinkEndsTest, ASilentDeviceIsNoLostConnection) {
  road->connect();
  EXPECT_FALSE(device().echoPacketWithRetry(GET_DRIVER_INFO, Bytes{1}, 0.1));
  Bytes requests;
  const Bytes frame = buildFrame(GET_DRIVER_INFO, Bytes{1});
  while (requests.size() < frame.size() * NUM_RETRIES) {
    const Bytes more = road->receive();
    ASSERT_FALSE(more.empty());
    requests.insert(requests.end(), more.begin(), more.end());
  }
  EXPECT_TRUE(answers());
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

TEST_P(LinkEndsTest, ADeviceThatTakesNothingIsGivenUp) {
  if (!onCommands() || !road->becomeImpatient()) {
    GTEST_SKIP() << "nothing is sent on this channel, or only the medium's own tests can wait less for it";
  }
  road->connect();
  blockedSends()();
  expectLost();
  road->connect();
  EXPECT_TRUE(answers());
}

QVX_OVER_EVERY_ROAD(LinkEndsTest);

}  // namespace
}  // namespace qvx::test
