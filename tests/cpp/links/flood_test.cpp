// A far end that sends as fast as it can: the handle stays usable, and what is kept is what was sent.
#include "protocol/link.h"
#include "tests/cpp/links/road.h"

#include <atomic>
#include <random>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

constexpr int kPort = 3;

Bytes repeated(const Bytes& bytes, std::size_t times) {
  Bytes all;
  for (std::size_t i = 0; i < times; ++i) {
    all.insert(all.end(), bytes.begin(), bytes.end());
  }
  return all;
}

Bytes noise(std::size_t size) {
  std::mt19937 random(1);
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
  return bytes;
}

Bytes streamPacket(std::size_t size) {
  Bytes payload(size, 9);
  payload[0] = kPort;
  return buildFrame(START_AI_STREAMING, payload);
}

// What is sent again and again, about 8 kB of it at a time.
struct Flood {
  const char* name;
  Bytes bytes;
  bool kept = false;  // in the queue of samples
};
std::vector<Flood> floods() {
  return {
      {"samples", repeated(streamPacket(1441), 6), true},
      {"short packets", repeated(streamPacket(2), 1000), true},
      {"replies nobody asked for", repeated(buildFrame(GET_DRIVER_INFO, Bytes(100, 'x')), 80)},
      {"packets of one byte", repeated({2, 0, 1, 240, 13, 10}, 1300)},
      {"start bytes", Bytes(8192, 2)},
      {"ends", repeated({13, 10}, 4096)},
      {"starts and ends", repeated({2, 0x7F, 13, 10}, 2048)},
      {"noise", noise(8192)},
  };
}

class LinkFloodTest : public LinkTest {};

TEST_P(LinkFloodTest, AFloodedHandleCanBeAskedDisconnectedAndClosed) {
  for (const Flood& flood : floods()) {
    SCOPED_TRACE(flood.name);
    const auto queue = Link(device()).rawQueue(START_AI_STREAMING, kPort);
    road->connect();
    std::atomic<bool> over{false};
    std::size_t sent = 0;
    auto flooding = std::async(std::launch::async, [&] {
      while (!over && road->send(flood.bytes)) {
        sent += flood.bytes.size();
      }
    });
    // The device's answer would drown in a flood on the same channel; what is asked for is that nobody hangs.
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(failureOf([&] { device().echoPacketWithRetry(GET_SERIAL_NUMBER, Bytes{1}, 0.05); }), "");
    }
    EXPECT_TRUE(!flood.kept || queue->waitForSize(1, deadlineAfter(20)));
    const auto begin = Clock::now();
    over = true;
    road->disconnect();
    flooding.get();
    EXPECT_LT(Clock::now() - begin, 4s);
    EXPECT_EQ(queue->size() != 0, flood.kept);
    while (queue->take()) {
    }
    device().data_pool_echo.clear();
    road->connect();
    EXPECT_TRUE(answers());
    road->disconnect();
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

TEST_P(LinkFloodTest, CloseEndsAFloodedHandle) {
  road->connect();
  auto flooding = std::async(std::launch::async, [&, packets = repeated(streamPacket(1441), 6)] {
    while (road->send(packets)) {
    }
  });
  EXPECT_TRUE(Link(device()).rawQueue(START_AI_STREAMING, kPort)->waitForSize(100, deadlineAfter(20)));
  const auto begin = Clock::now();
  device().close();
  EXPECT_LT(Clock::now() - begin, 4s);
  flooding.get();
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

QVX_OVER_EVERY_ROAD(LinkFloodTest);

}  // namespace
}  // namespace qvx::test
