// Links, device handles and their receive thread, over a transport in memory.
#include "protocol/network_device.h"

#include "protocol/link.h"
#include "tests/cpp/protocol/fakes.h"

#include <algorithm>
#include <future>
#include <latch>
#include <thread>

namespace qvx::test {
namespace {

constexpr const char* kAddress = "192.0.2.1";
constexpr int kEcho = GET_SERIAL_NUMBER;

struct Bench {
  RecordingHost host;
  std::shared_ptr<FakeTransport> transport;
  ETHDevice device;

  explicit Bench(FakeTransport::Answer answer = nullptr, bool verbose = false)
      : transport(std::make_shared<FakeTransport>(std::move(answer))), device(ProductId::FeroxA, verbose) {
    device.setClientCmd(transport);
  }
  void connect() { EXPECT_TRUE(device.connect(kAddress, 7)); }
  void loseConnection() {
    transport->lose();
    ASSERT_TRUE(eventually([&] { return device.commandChannel().state() == Channel::State::Lost; }));
    ASSERT_TRUE(device.commandChannel().gate().waitParked(Clock::now() + kPatience));
  }
};

TEST(Reply, TooShortNamesCommandAndBothLengths) {
  const Reply reply(177, {5, 0, 1});
  const std::vector<std::pair<std::function<void()>, int>> reads{
      {[&] { reply.status(3); }, 4},     {[&] { reply.get<std::uint32_t>(0); }, 4},
      {[&] { reply.get<float>(2); }, 6}, {[&] { reply.rest(4); }, 4},
      {[&] { reply.u32List(0); }, 4},
  };
  for (const auto& [read, needed] : reads) {
    try {
      read();
      ADD_FAILURE() << needed;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.id(), ErrorId::FirmwareOtherError);
      const std::string text = failure.what();
      EXPECT_NE(text.find("177"), std::string::npos) << text;
      EXPECT_NE(text.find("3 bytes"), std::string::npos) << text;
      EXPECT_NE(text.find(std::to_string(needed) + " are needed"), std::string::npos) << text;
    }
  }
  EXPECT_EQ(reply.status(1), 0);
  EXPECT_EQ(failureOf([&] { reply.status(2); }), "FirmwareOtherError");
  EXPECT_TRUE(reply.rest(3).empty());
  EXPECT_TRUE(reply.u32List(3).empty());
}

TEST(Reply, TextIsUtf8UpToTheFirstNul) {
  EXPECT_EQ(Reply(122, {'a', 'b', 0, 'c'}).text(), "ab");
  EXPECT_EQ(Reply(122, {0xC3, 0xA9}).text(), "\xC3\xA9");
  EXPECT_EQ(Reply(122, {}).text(), "");
  for (const Bytes& bad : {Bytes{0xFF}, Bytes{0xC3}, Bytes{0xED, 0xA0, 0x80}, Bytes{0xC0, 0x80}}) {
    EXPECT_EQ(failureOf([&] { Reply(122, bad).text(); }), "FirmwareOtherError") << hex(bad);
  }
}

TEST(Device, FilesWhatArrivesOnlyWhileConnected) {
  Bench bench;
  bench.transport->arrive(kEcho, {1});
  EXPECT_EQ(bench.transport->reads(), 0);
  bench.connect();
  EXPECT_EQ(bench.device.data_pool_echo.waitFor(kEcho, deadlineAfter(20)), Bytes{1});
  bench.device.disconnect();
  EXPECT_FALSE(bench.device.commandChannel().connected());
  EXPECT_TRUE(bench.device.commandChannel().gate().waitParked(Clock::now() + kPatience));
  const int reads = bench.transport->reads();
  bench.connect();
  bench.transport->arrive(kEcho, {2});
  EXPECT_EQ(bench.device.data_pool_echo.waitFor(kEcho, deadlineAfter(20)), Bytes{2});
  EXPECT_GT(bench.transport->reads(), reads);
}

TEST(Device, ClosesInEveryStateAndFromManyThreadsAtOnce) {
  enum class State { Fresh, Connected, Lost, Disconnected };
  for (const auto state : {State::Fresh, State::Connected, State::Lost, State::Disconnected}) {
    Bench bench(nullptr, true);
    if (state != State::Fresh) {
      bench.connect();
    }
    if (state == State::Lost) {
      bench.loseConnection();
    }
    if (state == State::Disconnected) {
      bench.device.disconnect();
    }
    int frees = 0;
    bench.device.onClose([&] {
      ++frees;
      bench.device.close();  // from within
    });
    std::vector<std::thread> closers;
    for (int i = 0; i < 4; ++i) {
      closers.emplace_back([&] {
        bench.device.close();
        EXPECT_TRUE(bench.device.closed());
      });
    }
    for (auto& closer : closers) {
      closer.join();
    }
    EXPECT_EQ(frees, 1);
    EXPECT_FALSE(bench.device.commandChannel().worker().alive());
    const auto lines = bench.host.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Closed handle (Ferox-A)"), 1);
  }
}

// One that the disconnect did not wait for any longer.
TEST(Device, AReadThatFailsLateLeavesTheNextConnectionAlone) {
  struct Late : FakeTransport {
    std::vector<Frame> recvAndSplitPacket(std::size_t size) override {
      if (!begun.try_wait()) {
        begun.count_down();
        over.wait();
        fail(ErrorId::NetworkConnectionLostError);
      }
      return FakeTransport::recvAndSplitPacket(size);
    }
    std::latch begun{1};
    std::latch over{1};
  };
  Bench bench;
  const auto late = std::make_shared<Late>();
  bench.device.setClientCmd(late);
  bench.connect();
  late->begun.wait();
  bench.device.disconnect();
  EXPECT_EQ(failureOf([&] { bench.connect(); }), "NetworkConnectionError");
  late->over.count_down();
  EXPECT_TRUE(eventually([&] { return bench.device.state() == Channel::State::Disconnected; }));
  bench.connect();
  late->arrive(kEcho, {1});
  EXPECT_EQ(bench.device.data_pool_echo.waitFor(kEcho, deadlineAfter(20)), Bytes{1});
  EXPECT_EQ(bench.host.failures(), std::vector<std::string>());
}

// Nobody who has asked on a connection waits beyond it, and nothing of it answers on the next.
TEST(Device, RepliesBelongToTheirConnection) {
  for (const bool lost : {true, false}) {
    Bench bench;
    bench.connect();
    auto before = std::async(std::launch::async, [&] { bench.device.echoPacket(kEcho, {}, 60); });
    ASSERT_TRUE(eventually([&] { return !bench.transport->sent().empty(); }));
    bench.transport->arrive(kEcho + 1, {1});
    ASSERT_TRUE(eventually([&] { return bench.device.data_pool_echo.size() == 1; }));
    if (lost) {
      bench.loseConnection();
    } else {
      bench.device.disconnect();
    }
    EXPECT_EQ(failureOf([&] { before.get(); }), "NetworkConnectionLostError");
    bench.connect();
    EXPECT_EQ(bench.device.data_pool_echo.size(), 0U);
    auto after = std::async(std::launch::async, [&] { return bench.device.echoPacket(kEcho, {}, 60); });
    ASSERT_TRUE(eventually([&] { return !bench.transport->sent().empty(); }));
    bench.transport->arrive(kEcho, {2});
    EXPECT_EQ(after.get(), Bytes{2});
  }
}

TEST(Device, ConnectsAgainBeforeTheReceiveThreadHasMetTheLoss) {
  struct Known : FakeTransport {
    std::vector<Frame> recvAndSplitPacket(std::size_t size) override {
      if (broken) {
        asked.wait();
        broken = false;
        fail(ErrorId::NetworkConnectionLostError);
      }
      return FakeTransport::recvAndSplitPacket(size);
    }
    bool isLost() const override {
      if (broken && !asked.try_wait()) {
        asked.count_down();
      }
      return broken;
    }
    std::atomic<bool> broken{false};
    mutable std::latch asked{1};
  };
  Bench bench;
  const auto known = std::make_shared<Known>();
  bench.device.setClientCmd(known);
  bench.connect();
  known->broken = true;
  known->wake();
  bench.connect();
  EXPECT_TRUE(eventually([&] { return bench.host.failures().size() == 1; }));
}

// Several threads that notice the loss.
TEST(Device, OneOfManyReconnectsAtOnceSucceeds) {
  constexpr int kThreads = 4;
  Bench bench;
  bench.connect();
  for (int round = 0; round < 100; ++round) {
    bench.loseConnection();
    std::atomic<int> connected{0};
    std::latch ready(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        ready.arrive_and_wait();
        connected += failureOf([&] { bench.device.connect(kAddress, 7); }).empty() ? 1 : 0;
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    ASSERT_EQ(connected, 1);
  }
}

// connect, disconnect and requests of several threads: nothing may hang, and the end must be orderly.
TEST(Device, SurvivesConnectsAndDisconnectsOfManyThreads) {
  Bench bench([](const Frame& request) { return std::vector<Frame>{{request.code, {1}}}; });
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    while (!done) {
      failureOf([&] { bench.device.connect(kAddress, 7); });
    }
  });
  threads.emplace_back([&] {
    while (!done) {
      bench.device.disconnect();
      std::this_thread::yield();
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < 200; ++i) {
      failureOf([&] { Link(bench.device).request(kEcho, {}, 0.05); });
    }
    done = true;
  });
  for (auto& thread : threads) {
    thread.join();
  }
  bench.device.disconnect();
  bench.connect();
  bench.device.data_pool_echo.clear();
  EXPECT_EQ(Link(bench.device).request(kEcho, {}, 20).get<std::uint8_t>(0), 1);
  EXPECT_TRUE(bench.host.failures().empty());
}

}  // namespace
}  // namespace qvx::test
