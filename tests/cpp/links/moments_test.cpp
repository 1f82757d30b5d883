// Disconnect and close at every moment, from any thread, more than once.
#include "protocol/link.h"
#include "tests/cpp/links/road.h"

#include <atomic>
#include <random>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

// What goes on while the handle is disconnected or closed: threads that use it until they are told to stop. What they
// raise is the medium's connection class, or nothing.
class Traffic {
 public:
  explicit Traffic(Road& road) : road_(road) {}
  ~Traffic() { stop(); }
  Traffic(const Traffic&) = delete;
  Traffic& operator=(const Traffic&) = delete;

  void run(const std::function<void(Road&)>& step) {
    threads_.emplace_back([this, step] {
      while (!over_) {
        const std::string raised = failureOf([&] { step(road_); });
        if (!raised.empty() && raised != errorKind(road_.lostError()).name) {
          ADD_FAILURE() << raised;
        }
        std::this_thread::yield();
      }
    });
  }
  void stop() {
    over_ = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
    threads_.clear();
  }

 private:
  Road& road_;
  std::atomic<bool> over_{false};
  std::vector<std::thread> threads_;
};

void request(Road& road) {
  road.device().echoPacketWithRetry(GET_DRIVER_INFO, Bytes{1}, 0.05);
}

void sendMuch(Road& road) {
  road.device().sendPacketWithoutReply(GET_DRIVER_INFO, Bytes(30'000, 7));
}

void waitForSamples(Road& road) {
  Link(road.device()).rawQueue(START_AI_STREAMING, 3)->waitForSize(1'000'000'000, deadlineAfter(0.05));
}

struct Use {
  const char* name;
  std::vector<void (*)(Road&)> steps;
};
const std::array<Use, 5> kUses{{{"idle", {}},
                                {"awaited replies", {request, request}},
                                {"blocked sends", {sendMuch, sendMuch}},
                                {"awaited samples", {waitForSamples}},
                                {"everything", {request, sendMuch, waitForSamples}}}};

enum class End : std::uint8_t { Disconnect, DisconnectTwiceAtOnce, Close, CloseTwiceAtOnce, CloseAndDisconnect };
constexpr std::array<End, 5> kEnds{End::Disconnect, End::DisconnectTwiceAtOnce, End::Close, End::CloseTwiceAtOnce,
                                   End::CloseAndDisconnect};

class LinkMomentsTest : public LinkTest {
 protected:
  void end(End how) {
    const bool close = how >= End::Close;
    const auto both = [&](auto first, auto second) {
      auto other = std::async(std::launch::async, second);
      first();
      other.get();
    };
    const auto closing = [this] { device().close(); };
    const auto disconnecting = [this] { road->disconnect(); };
    switch (how) {
      case End::Disconnect:
      case End::Close:
        close ? closing() : disconnecting();
        break;
      case End::DisconnectTwiceAtOnce:
        both(disconnecting, disconnecting);
        break;
      case End::CloseTwiceAtOnce:
        both(closing, closing);
        break;
      case End::CloseAndDisconnect:
        both(closing, disconnecting);
        break;
    }
  }
};

TEST_P(LinkMomentsTest, DisconnectAndCloseEndWhateverGoesOn) {
  std::mt19937 random(1);
  for (const Use& use : kUses) {
    for (const End how : kEnds) {
      SCOPED_TRACE(std::string(use.name) + ", end " + std::to_string(static_cast<int>(how)));
      road.reset();  // one bus at a time
      road = GetParam().make();
      for (int round = 0; round < 3; ++round) {
        road->connect();
        Traffic traffic(*road);
        for (const auto& step : use.steps) {
          traffic.run(step);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        const auto begin = Clock::now();
        end(how);
        EXPECT_LT(Clock::now() - begin, 4s);  // no send's limit was waited for
        EXPECT_EQ(state(), Channel::State::Disconnected);
        traffic.stop();
        if (how >= End::Close) {
          break;
        }
      }
      for (const auto& channel : device().channels()) {
        EXPECT_EQ(channel->worker().alive(), how < End::Close);
      }
      if (how >= End::Close) {
        EXPECT_EQ(failureOf([&] { road->connect(); }), connectionName());
        EXPECT_EQ(failureOf([&] { request(*road); }), lostName());
      } else {
        road->connect();
        EXPECT_TRUE(answers());
      }
    }
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

TEST_P(LinkMomentsTest, ACutAndADisconnectMayMeet) {
  std::mt19937 random(1);
  for (int round = 0; round < 60; ++round) {
    road->connect();
    auto cutting = std::async(std::launch::async, [&, pause = random() % 300] {
      std::this_thread::sleep_for(std::chrono::microseconds(pause));
      road->cut(Cut::Closed);
    });
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 300));
    road->disconnect();
    cutting.get();
    EXPECT_EQ(state(), Channel::State::Disconnected);
  }
  road->connect();
  EXPECT_TRUE(answers());
  const auto reports = host.failures();
  EXPECT_LE(reports.size(), 60U);
  EXPECT_EQ(reports, std::vector<std::string>(reports.size(), lostName()));
}

TEST_P(LinkMomentsTest, HandlesEndWithTheirThreads) {
  constexpr int kStrays = 4;  // of umockdev, which now and then leaves a thread behind; each handle has one at least
  road.reset();
  const auto threads = threadsNow();
  for (int round = 0; round < 20; ++round) {
    road = GetParam().make();
    if (round % 4 != 0) {
      road->connect();
    }
    if (round % 4 == 2) {
      road->cut(Cut::Closed);
    }
    if (round % 4 == 3) {
      device().close();
    }
    road.reset();
  }
  EXPECT_TRUE(eventually([&] { return threadsNow() <= threads + kStrays; }));
}

QVX_OVER_EVERY_ROAD(LinkMomentsTest);

}  // namespace
}  // namespace qvx::test
