// The handle with two channels, against two listeners.
#include "protocol/wifi_device.h"

#include "protocol/link.h"
#include "tests/cpp/protocol/fakes.h"
#include "tests/cpp/transport/loopback.h"

#include <future>

namespace qvx::test {
namespace {

constexpr int kEcho = GET_SERIAL_NUMBER;

struct Bench {
  RecordingHost host;
  Listener commands;
  Listener data;
  Peer command_peer{-1};
  Peer data_peer{-1};
  WifiDevice device;

  explicit Bench(bool verbose = true) : device(ProductId::None, verbose) {}
  bool connectOnly(std::optional<bool> verbose = {}) {
    return device.connect(kLoopback, data.port(), commands.port(), verbose);
  }
  void connect(std::optional<bool> verbose = {}) {
    ASSERT_TRUE(connectOnly(verbose));
    command_peer = commands.accept();
    data_peer = data.accept();
  }
  bool connected() const {
    EXPECT_EQ(device.commandChannel().connected(), device.dataChannel().connected());
    return device.commandChannel().connected();
  }
  Bytes reply() { return device.data_pool_echo.waitFor(kEcho, deadlineAfter(20)).value_or(Bytes{}); }
};

TEST(WifiDevice, BothChannelsFileIntoTheSamePools) {
  Bench bench;
  bench.connect();
  EXPECT_TRUE(bench.connected());
  Link(bench.device).send(kEcho, {});
  EXPECT_EQ(bench.command_peer.receive(), buildFrame(kEcho, Bytes{}));
  bench.command_peer.send(buildFrame(kEcho, Bytes{1}));
  EXPECT_EQ(bench.reply(), Bytes{1});
  bench.data_peer.send(buildFrame(kEcho, Bytes{2}));
  EXPECT_EQ(bench.reply(), Bytes{2});
  const auto stream = Link(bench.device).rawQueue(START_AI_STREAMING, 3);
  bench.data_peer.send(buildFrame(START_AI_STREAMING, Bytes{3, 9, 8}));
  EXPECT_EQ(bench.device.getStreamingFromPool(*stream, 1), std::vector<Bytes>({{9, 8}}));
  bench.device.close();
  EXPECT_EQ(bench.command_peer.receive(), Bytes{});
  EXPECT_EQ(bench.data_peer.receive(), Bytes{});
  EXPECT_FALSE(bench.device.dataChannel().worker().alive());
}

TEST(WifiDevice, SpeaksOfBothChannelsAsOne) {
  const std::string opened = "Opened handle (WifiDevice)";
  const std::string closed = "Closed handle (WifiDevice)";
  const std::string up = "Connected to 127.0.0.1 (WifiDevice)";
  const std::string down = "Disconnected from 127.0.0.1 (WifiDevice)";
  using Choice = std::optional<bool>;
  for (const auto& [handle, connect, disconnect, lines] :
       std::vector<std::tuple<bool, Choice, Choice, std::vector<std::string>>>{
           {true, {}, {}, {opened, up, down, closed}},
           {true, false, {}, {opened, closed}},
           {true, {}, false, {opened, up, closed}},
           {false, {}, {}, {}},
           {false, true, {}, {up, down}},
           {false, {}, true, {down}}}) {
    Bench bench(handle);
    bench.connect(connect);
    bench.device.disconnect(disconnect);
    bench.device.disconnect(disconnect);
    bench.device.close();
    EXPECT_EQ(bench.host.lines(), lines);
  }
}

TEST(WifiDevice, WithoutEitherChannelThereIsNone) {
  for (const bool data_refuses : {false, true}) {
    Bench bench;
    (data_refuses ? bench.data : bench.commands).close();
    EXPECT_EQ(failureOf([&] { bench.connectOnly(); }), "NetworkConnectionError");
    EXPECT_FALSE(bench.connected());
    EXPECT_EQ(bench.host.lines(), std::vector<std::string>{"Opened handle (WifiDevice)"});
    if (data_refuses) {
      EXPECT_EQ(bench.commands.accept().receive(), Bytes{});  // put away again
    }
  }
}

TEST(WifiDevice, RefusesToConnect) {
  Bench bench;
  EXPECT_EQ(failureOf([&] { bench.device.connect(5, 1336, 7); }), "InputTypeNotCorrectError");
  for (const Argument& bad : {Argument(0), Argument(65536), Argument("7"), Argument(7.0)}) {
    const std::string error = bad.isInt() ? "InputDataNotInRangeError" : "InputTypeNotCorrectError";
    EXPECT_EQ(failureOf([&] { bench.device.connect(kLoopback, bad, 7); }), error);
    EXPECT_EQ(failureOf([&] { bench.device.connect(kLoopback, 1336, bad); }), error);
  }
  bench.connect();
  EXPECT_EQ(failureOf([&] { bench.connectOnly(); }), "NetworkConnectionError");
  EXPECT_TRUE(bench.connected());
  bench.data_peer.send(buildFrame(kEcho, Bytes{1}));
  EXPECT_EQ(bench.reply(), Bytes{1});
  bench.device.setClientData(nullptr);
  bench.device.disconnect();
  EXPECT_EQ(failureOf([&] { bench.connectOnly(); }), "NetworkConnectionError");
  EXPECT_FALSE(bench.connected());
}

TEST(WifiDevice, AChannelThatIsLostIsReportedAndBothAreOpenedAnew) {
  for (const bool data_lost : {false, true}) {
    Bench bench;
    bench.connect();
    (data_lost ? bench.data_peer : bench.command_peer).close();
    ASSERT_TRUE(eventually([&] { return !bench.host.failures().empty(); }));
    EXPECT_EQ(bench.host.failures(), std::vector<std::string>{"NetworkConnectionLostError"});
    if (data_lost) {
      bench.command_peer.send(buildFrame(kEcho, Bytes{1}));  // commands still work
      EXPECT_EQ(bench.reply(), Bytes{1});
    }
    const Peer old = std::move(data_lost ? bench.command_peer : bench.data_peer);
    bench.connect();
    EXPECT_EQ(old.receive(), Bytes{});
    bench.data_peer.send(buildFrame(kEcho, Bytes{2}));
    EXPECT_EQ(bench.reply(), Bytes{2});
    bench.command_peer.send(buildFrame(kEcho, Bytes{3}));
    EXPECT_EQ(bench.reply(), Bytes{3});
    bench.device.close();
    EXPECT_EQ(bench.host.failures().size(), 1u);
  }
}

TEST(WifiDevice, DisconnectEndsAConnectThatWaitsForTheDataChannel) {
  Bench bench;
  const Listener silent(0);
  std::vector<Descriptor> queued;
  for (int i = 0; i < 4; ++i) {
    queued.push_back(silent.knock());
  }
  auto connecting = std::async(std::launch::async, [&] {
    return failureOf([&] { bench.device.connect(kLoopback, silent.port(), bench.commands.port()); });
  });
  bench.commands.accept();
  const auto begin = Clock::now();
  while (connecting.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
    bench.device.disconnect();
  }
  EXPECT_EQ(connecting.get(), "NetworkConnectionError");
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(4));  // and does not wait for the limit of 5 s
  EXPECT_FALSE(bench.connected());
}

// Nothing may hang, and no half of a connection may remain.
TEST(WifiDevice, SurvivesConnectsAndDisconnectsOfManyThreads) {
  Bench bench(false);
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (const Listener* listener : {&bench.commands, &bench.data}) {
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
        failureOf([&] { bench.connectOnly(); });
      }
      --connecting;
    });
    users.emplace_back([&] {
      while (connecting > 0) {
        bench.device.disconnect();
        std::this_thread::yield();
      }
    });
  }
  for (auto& user : users) {
    user.join();
  }
  bench.connected();
  bench.device.disconnect();
  EXPECT_FALSE(bench.connected());
  done = true;
  const auto last_commands = bench.commands.knock();
  const auto last_data = bench.data.knock();
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(bench.host.failures().empty());
}

}  // namespace
}  // namespace qvx::test
