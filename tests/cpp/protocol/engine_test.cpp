#include "protocol/engine.h"

#include "tests/cpp/protocol/fakes.h"

#include <future>
#include <latch>

namespace qvx::test {
namespace {

constexpr int kEcho = GET_SERIAL_NUMBER;

struct Engine : Packet {
  std::shared_ptr<FakeTransport> transport = std::make_shared<FakeTransport>();
  Engine() { setClientCmd(transport); }
};

double secondsOf(const std::function<void()>& call) {
  const auto begin = Clock::now();
  call();
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

TEST(Engine, DropsPacketsTooShortForTheirKind) {
  Engine engine;
  engine.putToDataPool(START_AI_STREAMING, {});
  engine.putToDataPool(GET_DEVICE_INFO, {});
  for (std::uint8_t size = 0; size < 3; ++size) {
    engine.putToDataPool(MOTION, Bytes(size));
  }
  EXPECT_EQ(engine.data_pool_echo.size(), 0U);
  EXPECT_TRUE(engine.data_pool_strm.entries().empty());
  EXPECT_TRUE(engine.data_pool_bcst.entries().empty());
}

TEST(Engine, KeysMotionRepliesByTheirFirstThreeBytes) {
  EXPECT_EQ(Packet_based::replyKey(kEcho, {}), kEcho);
  EXPECT_EQ(Packet_based::replyKey(MOTION, Bytes{0x11, 0x22, 0x33, 0x44}), 0x331122D0);
  EXPECT_EQ(Packet_based::replyKey(MOTION, Bytes{0, 0, 0x80}), static_cast<int>(0x800000D0));
  EXPECT_EQ(failureOf([] { Packet_based::replyKey(MOTION, Bytes{1, 2}); }), "InputDataNotInRangeError");

  // Two requests under way at once, answered in the other order.
  const auto loop = makeLoop();
  Engine engine;
  std::optional<Bytes> first;
  std::optional<Bytes> second;
  const auto one = loop->make([&] { first = engine.echoPacket(MOTION, Bytes{1, 2, 3}, 20); });
  const auto two = loop->make([&] { second = engine.echoPacket(MOTION, Bytes{1, 2, 4}, 20); });
  one->resume();
  two->resume();
  engine.putToDataPool(MOTION, {1, 2, 4, 40});
  engine.putToDataPool(MOTION, {1, 2, 3, 30});
  ASSERT_TRUE(loop->run({one.get(), two.get()}));
  EXPECT_EQ(first, (Bytes{1, 2, 3, 30}));
  EXPECT_EQ(second, (Bytes{1, 2, 4, 40}));
}

// What arrives between a send and the wait belongs to who sent, and to the next when that one does not wait.
TEST(Engine, RepliesDuringTheSendAreKept) {
  struct Prompt : FakeTransport {
    explicit Prompt(Packet_based& engine) : engine_(engine) {}
    // Returns when as many have been sent and answered.
    std::latch* together = nullptr;
    void sendPacket(ByteView frame) override {
      engine_.putToDataPool(kEcho, {frame[4]});
      if (together != nullptr) {
        together->arrive_and_wait();
      }
      FakeTransport::sendPacket(frame);
    }
    Packet_based& engine_;
  };
  const auto loop = makeLoop();
  Engine engine;
  const auto prompt = std::make_shared<Prompt>(engine);
  engine.setClientCmd(prompt);
  const auto ask = [&](std::uint8_t what) { return engine.request(kEcho, Bytes{what}, 60, Repeat::Acts).value(); };

  std::latch both(2);
  prompt->together = &both;
  auto other = std::async(std::launch::async, ask, 1);
  std::set<Bytes> replies{ask(2)};
  replies.insert(other.get());
  EXPECT_EQ(replies, (std::set<Bytes>{{1}, {2}}));
  prompt->together = nullptr;

  engine.putToDataPool(kEcho, {3});
  EXPECT_EQ(ask(4), Bytes{4});  // the newer one
  EXPECT_EQ(engine.data_pool_echo.size(), 0U);
  loop->runBody([&] { EXPECT_EQ(engine.echoPacket(kEcho, Bytes{5}, 0), std::nullopt); });
  EXPECT_EQ(engine.data_pool_echo.take(kEcho), Bytes{5});
  prompt->lose();
  EXPECT_EQ(failureOf([&] { ask(6); }), "NetworkConnectionLostError");
  EXPECT_EQ(engine.data_pool_echo.take(kEcho), Bytes{6});
}

// A coroutine has the rules of asyncio.wait_for: without time left it gives up.
TEST(Engine, ACoroutineWithoutTimeGivesUpAtOnce) {
  const auto loop = makeLoop();
  for (const double timeout : {0.0, -1.0}) {
    Engine engine;
    std::optional<Bytes> reply{Bytes{}};
    loop->runBody([&] { reply = engine.echoPacket(kEcho, {}, timeout); });
    EXPECT_EQ(reply, std::nullopt) << timeout;
    EXPECT_EQ(engine.transport->sent().size(), 1U);
  }
}

// Without `resend`: a command that acts again.
struct Retry {
  bool coroutine;
  double timeout;
  std::size_t packets;
  bool resend = true;
};

TEST(Engine, SendsAgainAndThenWaitsForTheRest) {
  const auto loop = makeLoop();
  // Blocking attempts are 0.01 s apart, those of a coroutine RETRY_TIMEOUT = 1 s.
  const std::vector<Retry> rows{
      {false, -1, 0}, {false, 0, 0}, {false, 0.005, 1}, {false, 0.015, 2},    {false, 0.1, 3},
      {true, -1, 0},  {true, 0, 0},  {true, 0.1, 1},    {false, 0, 0, false}, {false, 0.1, 1, false},
  };
  for (const auto& row : rows) {
    Engine engine;
    std::optional<Bytes> reply{Bytes{}};
    const auto call = [&] {
      reply = row.resend ? engine.echoPacketWithRetry(kEcho, {}, row.timeout)
                         : engine.request(kEcho, {}, row.timeout, Repeat::Acts);
    };
    const double seconds = secondsOf([&] { row.coroutine ? loop->runBody(call) : call(); });
    EXPECT_EQ(reply, std::nullopt);
    EXPECT_EQ(engine.transport->sent().size(), row.packets) << row.coroutine << " " << row.timeout;
    EXPECT_GE(seconds, row.timeout);
  }
}

TEST(Engine, ALateAnswerEndsTheLongWait) {
  Engine engine;
  auto reply = std::async(std::launch::async, [&] { return engine.echoPacketWithRetry(kEcho, {}, 60); });
  std::size_t packets = 0;
  ASSERT_TRUE(eventually([&] { return (packets += engine.transport->sent().size()) == 3; }));
  EXPECT_EQ(reply.wait_for(kGlance), std::future_status::timeout);
  engine.putToDataPool(kEcho, {1});
  EXPECT_EQ(reply.get(), Bytes{1});
  EXPECT_TRUE(engine.transport->sent().empty());
}

TEST(Engine, RefusesWhatDoesNotFitAFrame) {
  Engine engine;
  EXPECT_EQ(failureOf([&] { engine.sendPacketWithoutReply(65536, {}); }), "InputDataNotInRangeError");
  EXPECT_EQ(failureOf([&] { engine.sendPacketWithoutReply(-1, {}); }), "InputDataNotInRangeError");
  EXPECT_EQ(failureOf([&] { engine.sendPacketWithoutReply(kEcho, Bytes(65535)); }), "InputDataNotInRangeError");
  EXPECT_EQ(failureOf([&] { engine.echoPacket(MOTION, Bytes{1}, 1); }), "InputDataNotInRangeError");
  EXPECT_TRUE(engine.transport->sent().empty());
}

TEST(Engine, TellsRepliesOfCANFromItsStream) {
  Engine engine;
  engine.putToDataPool(OPEN_CAN << 8 | 1, {57});  // as the splitter reads [1, 57]
  EXPECT_EQ(engine.data_pool_echo.take(OPEN_CAN), (Bytes{1, 57}));
  engine.putToDataPool(OPEN_CAN << 8 | 0xFF, {});
  EXPECT_EQ(engine.data_pool_echo.take(OPEN_CAN), Bytes{0xFF});
  for (const std::size_t size : {0U, 1U, 2U, 13U}) {
    engine.putToDataPool(START_CAN, Bytes(size, 1));
    EXPECT_EQ(engine.data_pool_echo.take(START_CAN), Bytes(size, 1));
  }
  EXPECT_EQ(engine.data_pool_strm.at({START_CAN, 1})->size(), 0U);
  engine.putToDataPool(START_CAN, Bytes(14, 1));
  EXPECT_EQ(engine.data_pool_strm.at({START_CAN, 1})->take()->bytes, Bytes(13, 1));
  EXPECT_EQ(engine.data_pool_echo.size(), 0U);
}

TEST(Engine, TellsAnAcknowledgedStartFromReceivedBytes) {
  struct Row {
    bool started;
    std::vector<Bytes> packets;
    std::vector<Bytes> items;
  };
  const std::vector<Row> rows{
      {true, {{1, 0}, {1, 0}}, {{0}}},           // acknowledged, then a NUL
      {true, {{1, 23}, {1, 5}}, {{5}}},          // refused
      {true, {{1, 'x'}, {1, 0}}, {{'x'}, {0}}},  // not acknowledged
      {true, {{1, 0, 0}, {1, 0}}, {{0, 0}, {0}}},
      {true, {{2, 0}, {1, 0}, {1, 0}}, {{0}}},  // another port's
      {false, {{1, 0}}, {{0}}},
  };
  for (const Row& row : rows) {
    Engine engine;
    if (row.started) {
      engine.sendPacketWithoutReply(START_UART_READING, Bytes{1});
    }
    for (const Bytes& packet : row.packets) {
      engine.putToDataPool(START_UART_READING, packet);
    }
    EXPECT_EQ(engine.getStreamingFromPool(*engine.data_pool_strm.at({START_UART_READING, 1}), -1), row.items);
  }
}

TEST(Engine, BroadcastsThreeTimesAndCollectsAnswersFor5Seconds) {
  const auto loop = makeLoop();
  Engine engine;
  const auto udp = std::make_shared<FakeTransport>();
  engine.setClientUdp(udp);
  engine.data_pool_bcst.at(GET_DEVICE_INFO)->add({99});  // of an earlier broadcast
  std::shared_ptr<AnswerSet> answers;
  const auto fiber = loop->make([&] { answers = engine.broadcastPacket(GET_DEVICE_INFO, Bytes{0}); });
  const auto begin = Clock::now();
  EXPECT_FALSE(fiber->resume());
  ASSERT_TRUE(fiber->deadline());
  EXPECT_GE(*fiber->deadline(), begin + std::chrono::seconds(5));
  EXPECT_LE(*fiber->deadline(), Clock::now() + std::chrono::seconds(5));
  EXPECT_EQ(udp->sent(), std::vector<std::string>(3, "02 00 02 FC 00 0D 0A"));
  engine.putToDataPool(GET_DEVICE_INFO, {1, 42});
  engine.closePools();  // ends the 5 s early
  ASSERT_TRUE(loop->run({fiber.get()}));
  EXPECT_EQ(answers->snapshot(), (std::set<Bytes>{{42}}));
}

}  // namespace
}  // namespace qvx::test
