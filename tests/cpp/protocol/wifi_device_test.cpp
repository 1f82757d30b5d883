// The handle with two channels, against two listeners.
#include "protocol/wifi_device.h"

#include "tests/cpp/protocol/fakes.h"
#include "tests/cpp/transport/loopback.h"

#include <thread>

namespace qvx::test {
namespace {

// Nothing may hang, and no half of a connection may remain.
TEST(WifiDevice, SurvivesConnectsAndDisconnectsOfManyThreads) {
  const RecordingHost host;
  const Listener commands;
  const Listener data;
  WifiDevice device(ProductId::None, false);
  const auto connected = [&] { return device.commandChannel().connected(); };
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (const Listener* listener : {&commands, &data}) {
    threads.emplace_back([&, listener] {
      std::vector<Peer> peers;
      for (;;) {
        peers.push_back(listener->accept());
        if (done) {
          return;
        }
      }
    });
  }
  std::atomic<int> connecting{2};
  std::vector<std::thread> users;
  for (int i = 0; i < 2; ++i) {
    users.emplace_back([&] {
      for (int n = 0; n < 300; ++n) {
        failureOf([&] { device.connect(kLoopback, data.port(), commands.port()); });
      }
      --connecting;
    });
    users.emplace_back([&] {
      while (connecting > 0) {
        device.disconnect();
        std::this_thread::yield();
      }
    });
  }
  for (auto& user : users) {
    user.join();
  }
  connected();
  device.disconnect();
  EXPECT_FALSE(connected());
  done = true;
  const auto last_commands = commands.knock();
  const auto last_data = data.knock();
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>());
}

}  // namespace
}  // namespace qvx::test
