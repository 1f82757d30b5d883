// A connection that an event loop reads beside the receive thread.
#include "protocol/network_device.h"
#include "tests/cpp/protocol/fakes.h"
#include "tests/cpp/transport/loopback.h"
#include "transport/tcp.h"

#include <fcntl.h>

namespace qvx::test {
namespace {

constexpr int kEcho = GET_SERIAL_NUMBER;

// Remembers what it was asked to watch, and which thread told it of a reply.
class WatchingLoop : public FakeLoop {
 public:
  void post(std::uint64_t ticket) override {
    if (std::this_thread::get_id() == thread_) {
      ++posted_by_itself;
    }
    FakeLoop::post(ticket);
  }
  void watch(const std::shared_ptr<Source>& source) override { watched = source; }

  std::shared_ptr<Source> watched;
  int posted_by_itself = 0;

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
};

struct Bench {
  RecordingHost host;
  Listener listener;
  Peer peer{-1};
  std::unique_ptr<NetworkDevice> device = std::make_unique<NetworkDevice>(ProductId::None, false);
  std::shared_ptr<WatchingLoop> loop = std::make_shared<WatchingLoop>();

  Bench() { connect(); }
  void connect() {
    device->connect(kLoopback, listener.port());
    peer = listener.accept();
  }
  Channel& channel() { return device->commandChannel(); }
  // Asks on a fiber of `of`, which then waits.
  std::unique_ptr<Fiber> ask(WatchingLoop& of) {
    auto fiber = of.make([this] { answer = device->echoPacket(kEcho, {}, 20).value_or(Bytes{}); });
    fiber->resume();
    EXPECT_EQ(peer.receive(), buildFrame(kEcho, Bytes{}));
    return fiber;
  }
  void renewLease(WatchingLoop& of) {
    of.runBody([this] { channel().expectReply(); });
  }

  Bytes answer;
};

TEST(Watching, ALoopReadsItsReplyItselfAndWhatItLeavesTheReceiveThreadReads) {
  Bench bench;
  for (const bool loop_reads : {true, false}) {
    bench.loop->posted_by_itself = 0;
    EXPECT_TRUE(eventually([&] {
      const auto fiber = bench.ask(*bench.loop);
      bench.peer.send(buildFrame(kEcho, Bytes{7}));
      pollfd readable{bench.loop->watched->fd(), POLLIN, 0};
      if (loop_reads && ::poll(&readable, 1, 1000) == 1) {
        bench.loop->watched->read();
      }
      EXPECT_TRUE(bench.loop->run({fiber.get()}));
      EXPECT_EQ(std::exchange(bench.answer, {}), Bytes{7});
      return !loop_reads || bench.loop->posted_by_itself > 0;
    }));
  }
  EXPECT_EQ(bench.loop->posted_by_itself, 0);
}

TEST(Watching, BytesKeepTheirOrderWhoeverReads) {
  constexpr std::uint32_t kItems = 20'000;
  Bench bench;
  const auto stream = bench.device->data_pool_strm.at({START_AI_STREAMING, 0});
  std::atomic<bool> done = false;
  const auto readAsLoop = [&] {
    const auto loop = std::make_shared<WatchingLoop>();
    while (!done) {
      bench.renewLease(*loop);
      for (int i = 0; i < 10; ++i) {
        loop->watched->read();
      }
    }
  };
  std::thread first(readAsLoop);
  std::thread second(readAsLoop);
  for (std::uint32_t i = 0; i < kItems; ++i) {
    bench.peer.send(buildFrame(START_AI_STREAMING, payload(u8(0), u32(i))));
    if (i % 64 == 0) {
      bench.channel().expectReply();  // on a thread: the receive thread joins the others
    }
  }
  EXPECT_TRUE(stream->waitForSize(kItems, deadlineAfter(20)));
  done = true;
  first.join();
  second.join();
  for (std::uint32_t i = 0; i < kItems; ++i) {
    ASSERT_EQ(stream->take()->bytes, payload(u32(i)));
  }
}

// However a connection ends, a loop that still watches it is told, finds its descriptor open and reads nothing of
// another connection; a loss is reported as ever.
TEST(Watching, EndsWithTheConnection) {
  struct End {
    const char* how;
    std::size_t losses;
    std::function<void(Bench&)> end;
  };
  const std::vector<End> ends{
      {"disconnect", 0, [](Bench& bench) { bench.device->disconnect(); }},
      {"reconnect", 0,
       [](Bench& bench) {
         bench.device->disconnect();
         bench.connect();
       }},
      {"closed by the peer", 1, [](Bench& bench) { bench.peer.close(); }},
      {"reset by the peer", 1, [](Bench& bench) { bench.peer.reset(); }},
      {"another transport", 0, [](Bench& bench) { bench.device->setClientCmd(nullptr); }},
      {"no device", 0, [](Bench& bench) { bench.device.reset(); }},
  };
  for (const End& row : ends) {
    SCOPED_TRACE(row.how);
    Bench bench;
    bench.renewLease(*bench.loop);
    const auto source = bench.loop->watched;
    ASSERT_TRUE(source);
    row.end(bench);
    EXPECT_TRUE(eventually([&] { return !source->read(); }));
    EXPECT_NE(::fcntl(source->fd(), F_GETFD), -1);
    EXPECT_TRUE(eventually([&] { return bench.host.failures().size() == row.losses; }));
  }
}

// The connection that a device was given another in the place of stays open, and what comes there is its new owner's.
TEST(Watching, EndsWhenTheDeviceIsGivenAnotherConnection) {
  Bench bench;
  bench.renewLease(*bench.loop);
  const auto source = bench.loop->watched;
  const auto other = std::make_shared<TCPClient>();
  other->connect(kLoopback, bench.listener.port());
  const auto before = bench.device->clientCmd();
  bench.device->setClientCmd(other);
  bench.renewLease(*bench.loop);
  EXPECT_NE(bench.loop->watched, source);
  bench.peer.send(buildFrame(kEcho, Bytes{7}));
  EXPECT_FALSE(source->read());
  before->setTimeout(20);
  EXPECT_EQ(before->recvAndSplitPacket(64).size(), 1u);
}

}  // namespace
}  // namespace qvx::test
