#include "transport/tcp.h"

#include "core/host.h"
#include "tests/cpp/transport/checks.h"
#include "tests/cpp/transport/loopback.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

namespace qvx {
namespace {

using namespace std::chrono_literals;
using test::contains;
using test::failureOf;
using test::kLoopback;
using test::Listener;
using test::nextFrames;
using test::openDescriptors;
using test::Peer;

// A listener whose queue is full, so that the kernel leaves further requests without an answer.
struct SilentListener {
  Listener listener{0};
  std::vector<Descriptor> queued;
  SilentListener() {
    for (int i = 0; i < 4; ++i) {
      queued.push_back(listener.knock());
    }
  }
};

class TCPClientTest : public testing::Test {
 protected:
  void connect(TCPClient& client) {
    EXPECT_TRUE(client.connect(kLoopback, listener.port()));
    peer = std::make_unique<Peer>(listener.accept());
  }
  // Sends until that fails.
  static void flood(TCPClient& client, std::atomic<int>& sent) {
    const Bytes frame(60'000, 7);
    for (;; ++sent) {
      client.sendPacket(frame);
    }
  }

  Listener listener{64, 4096};
  std::unique_ptr<Peer> peer;
};

TEST_F(TCPClientTest, CarriesFramesBothWays) {
  TCPClient client;
  EXPECT_EQ(client.socket(), 0);
  connect(client);
  EXPECT_GT(client.socket(), 0);
  test::carryFramesBothWays(client, *peer);
  peer->send({6});
  EXPECT_EQ(client.recvPacket(std::size_t{1} << 62), Bytes{6});  // a size is no promise, and takes no memory
}

TEST_F(TCPClientTest, RefusesArgumentsBeforeAnythingIsOpened) {
  TCPClient client;
  const auto before = openDescriptors();
  for (const std::string ip : {"", "localhost", "127.1", "256.0.0.1", "127.0.0.1 ", "::1"}) {
    const auto text = failureOf(ErrorId::NetworkConnectionError, [&] { client.connect(ip, 7); });
    EXPECT_TRUE(contains(text, "\"" + ip + "\"")) << text;
  }
  failureOf(ErrorId::NetworkConnectionError, [&] { client.connect(std::string("127.0.0.1\0x", 11), 7); });
  for (const int port : {-1, 0, 65536}) {
    failureOf(ErrorId::InputDataNotInRangeError, [&] { client.connect(kLoopback, port); });
  }
  failureOf(ErrorId::InputDataNotInRangeError, [&] { client.connect(kLoopback, 7, std::nan("")); });
  failureOf(ErrorId::InputDataNotInRangeError, [&] { client.setTimeout(-0.1); });
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(TCPClientTest, ConnectFailsWithAReason) {
  TCPClient client;
  const SilentListener silent;
  listener.close();
  const auto refused = failureOf(ErrorId::NetworkConnectionError, [&] { client.connect(kLoopback, listener.port()); });
  EXPECT_TRUE(contains(refused, errorKind(ErrorId::NetworkConnectionError).message)) << refused;
  EXPECT_TRUE(contains(refused, kLoopback + ":" + std::to_string(listener.port()) + ": Connection refused")) << refused;

  const auto unanswered =
      failureOf(ErrorId::NetworkConnectionError, [&] { client.connect(kLoopback, silent.listener.port(), 0.25); });
  EXPECT_TRUE(contains(unanswered, "no answer within 0.25 s")) << unanswered;
  EXPECT_EQ(client.socket(), 0);
}

TEST_F(TCPClientTest, WithoutAConnectionNothingMoves) {
  TCPClient client;
  for (int round = 0; round < 2; ++round) {
    test::nothingMoves(client, ErrorId::NetworkConnectionLostError);
    client.wake();
    connect(client);
    failureOf(ErrorId::NetworkConnectionError, [&] { client.connect(kLoopback, listener.port()); });
    EXPECT_GT(client.socket(), 0);
    client.disconnect();
    client.disconnect();
    EXPECT_EQ(client.socket(), 0);
    EXPECT_EQ(peer->receive(), Bytes{});
  }
}

TEST_F(TCPClientTest, ASilentDeviceIsNoFailure) {
  TCPClient client;
  connect(client);
  for (const double timeout_s : {0.0, 0.02}) {
    client.setTimeout(timeout_s);
    EXPECT_EQ(client.recvPacket(64), Bytes{});
    EXPECT_EQ(client.recvAndSplitPacket(64), std::vector<Frame>{});
  }
  test::wakeEndsReads(client);
  client.setTimeout(0.05);
  const auto begin = Clock::now();
  EXPECT_EQ(client.recvPacket(64), Bytes{});  // and no other
  EXPECT_GE(Clock::now() - begin, 50ms);
  peer->send({1, 2});
  EXPECT_EQ(client.recvPacket(64), (Bytes{1, 2}));
}

TEST_F(TCPClientTest, AFailingShutdownIsReportedOnce) {
  TCPClient client;
  connect(client);
  const Descriptor no_socket(::dup(STDERR_FILENO));
  ASSERT_GE(::dup2(no_socket.get(), client.socket()), 0);
  const auto text = failureOf(ErrorId::NetworkConnectionLostError, [&] { client.disconnect(); });
  EXPECT_TRUE(contains(text, "Network DAQ connection lost.")) << text;
  EXPECT_EQ(client.socket(), 0);
  client.disconnect();
}

TEST_F(TCPClientTest, FramesOfSeveralThreadsFollowEachOtherWhole) {
  constexpr int kSenders = 4;
  constexpr int kFrames = 60;
  TCPClient client(60s);
  connect(client);
  std::vector<std::thread> senders;
  for (int i = 0; i < kSenders; ++i) {
    senders.emplace_back([&client, i] {
      for (int n = 0; n < kFrames; ++n) {
        client.sendPacket(buildFrame(200 + i, Bytes(20'000, static_cast<std::uint8_t>(100 + i))));
      }
    });
  }
  FrameSplitter splitter;
  std::vector<int> received(kSenders);
  for (int count = 0; count < kSenders * kFrames;) {
    splitter.append(peer->receive(4000));
    for (const Frame& frame : splitter.split()) {
      const int sender = frame.code - 200;
      ASSERT_TRUE(sender >= 0 && sender < kSenders);
      ASSERT_EQ(frame.payload, Bytes(20'000, static_cast<std::uint8_t>(100 + sender)));
      ++received[static_cast<std::size_t>(sender)];
      ++count;
    }
  }
  EXPECT_EQ(received, std::vector<int>(kSenders, kFrames));
  EXPECT_TRUE(splitter.stream().empty());
  for (auto& sender : senders) {
    sender.join();
  }
}

TEST(NetworkClient, BytesOfAnEndedConnectionStayOutOfTheNext) {
  struct Exposed : NetworkClient {
    using Client::appendAndSplit;
    using Client::beginStream;
  } client;
  client.beginStream(1);
  client.appendAndSplit(Bytes{2, 0}, 1);
  client.beginStream(2);
  client.appendAndSplit(Bytes{9}, 1);
  client.appendAndSplit(Bytes{8}, 2);
  EXPECT_EQ(client.stream(), Bytes{8});
}

// Ctrl-C on the thread that made it, from the third question on.
class InterruptingHost : public Host {
 public:
  struct Interrupt {};
  InterruptingHost() { setHost(this); }
  ~InterruptingHost() override { setHost(nullptr); }
  bool interruptible() override { return std::this_thread::get_id() == thread_; }
  void checkInterrupt() override {
    EXPECT_TRUE(interruptible());
    if (++asked_ >= 3) {
      asked_ = 0;
      throw Interrupt{};
    }
  }

 private:
  std::thread::id thread_ = std::this_thread::get_id();
  int asked_ = 0;
};

TEST_F(TCPClientTest, CtrlCEndsEveryWait) {
  const SilentListener silent;
  InterruptingHost host;
  TCPClient client(60s);
  const auto begin = Clock::now();
  EXPECT_THROW(client.connect(kLoopback, silent.listener.port(), 60), InterruptingHost::Interrupt);
  EXPECT_EQ(client.socket(), 0);

  connect(client);
  client.setTimeout(std::nullopt);
  EXPECT_THROW(client.recvPacket(64), InterruptingHost::Interrupt);
  client.sendPacket(Bytes{1});  // nothing was lost by that
  EXPECT_EQ(peer->receive(), Bytes{1});

  std::atomic<int> sent = 0;
  std::thread blocked([&] { failureOf(ErrorId::NetworkConnectionLostError, [&] { flood(client, sent); }); });
  for (int before = -1; before != sent;) {
    before = sent;
    std::this_thread::sleep_for(100ms);
  }
  const auto send_on = [&] {  // the other one may have got a frame out meanwhile
    for (;;) {
      client.sendPacket(Bytes{1});
    }
  };
  EXPECT_THROW(send_on(), InterruptingHost::Interrupt);  // while it waits for its turn
  client.disconnect();
  blocked.join();

  connect(client);
  const Bytes more_than_the_system_buffers(64'000'000);
  EXPECT_THROW(client.sendPacket(more_than_the_system_buffers), InterruptingHost::Interrupt);
  failureOf(ErrorId::NetworkConnectionLostError, [&] { client.sendPacket(Bytes{1}); });  // a part of it is out
  EXPECT_LT(Clock::now() - begin, 50s);
}

}  // namespace
}  // namespace qvx
