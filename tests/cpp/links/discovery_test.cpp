// The handle for discovery, to which anybody on the network may send anything.
#include "protocol/broadcast_device.h"
#include "tests/cpp/links/road.h"
#include "tests/cpp/transport/own_network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <atomic>
#include <random>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

class Stranger {
 public:
  Stranger() : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(UDP_RECV_PORT);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
  }
  // Refused while nobody listens.
  void send(const Bytes& bytes) const { ::send(fd_.get(), bytes.data(), bytes.size(), 0); }

 private:
  Descriptor fd_;
};

Bytes answer(std::uint32_t number) {
  return buildFrame(GET_DEVICE_INFO, payload(u8(1), u32(number)));
}

TEST(LinkDiscovery, StrangersCanNeitherFillTheMemoryNorStopTheHandle) {
  const Watchdog watchdog;
  const RecordingHost host;
  inNetworkOfItsOwn([] {
    raiseLoopback();
    BroadcastDevice handle(false);
    const auto answers = handle.data_pool_bcst.at(GET_DEVICE_INFO);
    std::atomic<bool> over{false};
    std::vector<std::thread> strangers;
    for (const bool garbage : {false, true}) {
      strangers.emplace_back([&, garbage] {
        const Stranger stranger;
        std::mt19937 random(1);
        for (std::uint32_t i = 0; !over; ++i) {
          Bytes noise(random() % 1400);
          std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(random()); });
          stranger.send(garbage ? noise : answer(i));
        }
      });
    }
    handle.connect();
    EXPECT_TRUE(eventually([&] { return answers->snapshot().size() == AnswerSet::kCapacity; }));
    const auto begin = Clock::now();
    for (int i = 0; i < 50; ++i) {
      handle.disconnect();
      handle.connect();
    }
    handle.close();
    EXPECT_LT(Clock::now() - begin, 10s);
    over = true;
    for (std::thread& stranger : strangers) {
      stranger.join();
    }
    EXPECT_EQ(answers->snapshot().size(), AnswerSet::kCapacity);
  });
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

TEST(LinkDiscovery, AThousandConnectionsLeaveNothingBehind) {
  const Watchdog watchdog;
  inNetworkOfItsOwn([] {
    raiseLoopback();
    BroadcastDevice handle(false);
    const Stranger stranger;
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
    for (std::uint32_t i = 0; i < 1000; ++i) {
      handle.connect();
      stranger.send(answer(i));
      if (i == 10) {
        // The first answer makes the socket that passes answers on to other programs; it stays.
        EXPECT_TRUE(eventually([&] { return !handle.data_pool_bcst.at(GET_DEVICE_INFO)->snapshot().empty(); }));
        threads = threadsNow();
        descriptors = descriptorsNow();
      }
      handle.disconnect();
    }
    EXPECT_TRUE(eventually([&] { return threadsNow() <= threads && descriptorsNow() <= descriptors; }));
  });
}

}  // namespace
}  // namespace qvx::test
