// The discovery client on the loopback interface, and where it broadcasts in a network of its own that has no other.
#include "transport/udp.h"

#include "core/constants.h"
#include "core/errors.h"
#include "tests/cpp/transport/checks.h"
#include "tests/cpp/transport/own_network.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

namespace {

// A name server that says nothing, while `silent`.
struct NameServer {
  std::mutex mutex;
  std::condition_variable changed;
  bool silent = false;

  void setSilent(bool now) {
    const std::lock_guard lock(mutex);
    silent = now;
    changed.notify_all();
  }
} name_server;

}  // namespace

// In the place of the C library's.
int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found) {
  {
    std::unique_lock lock(name_server.mutex);
    name_server.changed.wait(lock, [] { return !name_server.silent; });
  }
  static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
  return real(name, service, hints, found);
}

namespace qvx {
namespace {

using namespace std::chrono_literals;
using test::failureOf;
using test::inNetworkOfItsOwn;
using test::openDescriptors;
using test::raiseLoopback;

const Bytes kFrame{2, 0, 2, 252, 1, 13, 10};
const Frame kFrameParts{252, {1}};

// Whether no more than `before` are open once the look-up of this host's name, which has its own, is over.
bool nothingLeftOpen(std::ptrdiff_t before) {
  for (int i = 0; i < 2000 && openDescriptors() > before; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return openDescriptors() <= before;
}

int portOf(const UDPClient& client) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  EXPECT_EQ(::getsockname(client.socket(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  return ntohs(address.sin_port);
}

// Anybody on the network.
class Stranger {
 public:
  explicit Stranger(int port = 0) : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in any = address(INADDR_ANY, port);
    const timeval patience{20, 0};
    ::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    EXPECT_TRUE(port == 0 || ::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0);
  }
  void send(const Bytes& bytes, int port, in_addr_t ip = INADDR_LOOPBACK) const {
    const sockaddr_in to = address(ip, port);
    EXPECT_EQ(::sendto(fd_.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
              static_cast<ssize_t>(bytes.size()));
  }
  Bytes receive(in_addr_t& source) const {
    Bytes bytes(2048);
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const auto count = ::recvfrom(fd_.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    source = ntohl(from.sin_addr.s_addr);
    return bytes;
  }

 private:
  static sockaddr_in address(in_addr_t ip, int port) {
    sockaddr_in end{};
    end.sin_family = AF_INET;
    end.sin_port = htons(static_cast<std::uint16_t>(port));
    end.sin_addr.s_addr = htonl(ip);
    return end;
  }

  Descriptor fd_;
};

class UDPClientTest : public testing::Test {
 protected:
  void SetUp() override {
    EXPECT_TRUE(client.bind("127.0.0.1", 0));
    port = portOf(client);
  }

  UDPClient client;
  Stranger stranger;
  int port = 0;
};

TEST_F(UDPClientTest, ADatagramHoldsWholeFramesAndNothingOfItReachesTheNext) {
  const Bytes two{2, 0, 2, 252, 1, 13, 10, 2, 0, 1, 241, 13, 10};
  Bytes long_one = buildFrame(252, Bytes(600, 7));
  Bytes frame_and_garbage = kFrame;
  frame_and_garbage.insert(frame_and_garbage.end(), {2, 0, 9, 252, 1});
  const std::vector<std::pair<Bytes, std::vector<Frame>>> rows{
      {kFrame, {kFrameParts}},
      {two, {{252, {1}}, {241, {}}}},
      {{}, {}},
      {{2, 0, 2, 252}, {}},           // the first half of a frame,
      {{1, 13, 10}, {}},              // and the second
      {{2, 0, 8, 252, 1, 2, 3}, {}},  // would swallow the next datagram
      {{13, 10, 13, 10}, {}},
      {Bytes(60'000, 2), {}},
      {long_one, {}},  // cut off at 512 bytes
      {frame_and_garbage, {kFrameParts}},
  };
  for (const auto& [datagram, frames] : rows) {
    stranger.send(datagram, port);
    EXPECT_EQ(client.recvAndSplitPacket(512), frames);
    EXPECT_TRUE(client.stream().empty());
    stranger.send(kFrame, port);
    EXPECT_EQ(client.recvAndSplitPacket(512), std::vector<Frame>{kFrameParts});
  }
  stranger.send(two, port);
  EXPECT_EQ(client.recvPacket(3), (Bytes{2, 0, 2}));  // the rest of it is gone
  client.setTimeout(0.02);
  EXPECT_EQ(client.recvPacket(64), Bytes{});
}

TEST_F(UDPClientTest, RefusesWhatIsNoLocalEnd) {
  UDPClient other;
  const auto before = openDescriptors();
  for (const std::string ip : {"localhost", "127.1", "256.0.0.1", "::1", "192.0.2.1"}) {
    const auto text = failureOf(ErrorId::NetworkConnectionError, [&] { other.bind(ip, 0); });
    EXPECT_NE(text.find(ip), std::string::npos) << text;
  }
  for (const int number : {-1, 65536}) {
    failureOf(ErrorId::InputDataNotInRangeError, [&] { other.bind("127.0.0.1", number); });
  }
  failureOf(ErrorId::NetworkConnectionError, [&] { client.bind("127.0.0.1", 0); });  // listens already
  EXPECT_TRUE(nothingLeftOpen(before));
  EXPECT_EQ(other.socket(), 0);
  failureOf(ErrorId::APINotSupportError, [&] { client.sendPacket(kFrame); });
  failureOf(ErrorId::APINotSupportError, [&] { client.sendInTurn(kFrame, [] { ADD_FAILURE(); }); });
  failureOf(ErrorId::NetworkConnectionLostError, [&] { other.recvAndSplitPacket(512); });

  const Descriptor taken(::socket(AF_INET, SOCK_DGRAM, 0));  // of a program that shares its port with nobody
  sockaddr_in end{};
  socklen_t size = sizeof end;
  end.sin_family = AF_INET;
  end.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(taken.get(), reinterpret_cast<sockaddr*>(&end), size), 0);
  ASSERT_EQ(::getsockname(taken.get(), reinterpret_cast<sockaddr*>(&end), &size), 0);
  const auto text = failureOf(ErrorId::NetworkConnectionError, [&] { other.bind("127.0.0.1", ntohs(end.sin_port)); });
  EXPECT_NE(text.find("Address already in use"), std::string::npos) << text;
}

TEST_F(UDPClientTest, AReadEndsByTimeByWakeAndByDisconnect) {
  client.setTimeout(0.02);
  EXPECT_EQ(client.recvAndSplitPacket(512), std::vector<Frame>{});
  client.setTimeout(std::nullopt);
  client.wake();
  EXPECT_EQ(client.recvPacket(512), Bytes{});
  for (const bool wake : {true, false}) {
    std::thread ending([&] {
      std::this_thread::sleep_for(20ms);
      if (wake) {
        client.wake();
      } else {
        client.disconnect();
      }
    });
    EXPECT_EQ(client.recvPacket(512), Bytes{});
    ending.join();
  }
  EXPECT_EQ(client.socket(), 0);
  client.disconnect();
  failureOf(ErrorId::NetworkConnectionLostError, [&] { client.recvPacket(512); });
}

TEST(UDPClientNetwork, BroadcastsFromEachAddressOrSaysWhyNot) {
  inNetworkOfItsOwn([] {
    UDPClient client;
    failureOf(ErrorId::NetworkConnectionError, [&] { client.sendBcstPacket(kFrame); });
    raiseLoopback();
    const Stranger device(UDP_SEND_PORT);
    client.sendBcstPacket(kFrame);
    in_addr_t source = 0;
    std::set<in_addr_t> sources;
    while (!sources.contains(INADDR_LOOPBACK)) {  // the host's name may stand for another of 127.0.0.0/8
      ASSERT_EQ(device.receive(source), kFrame);
      EXPECT_EQ(source >> 24, 127U);
      EXPECT_TRUE(sources.insert(source).second);
    }
    failureOf(ErrorId::NetworkConnectionError, [&] { client.sendBcstPacket(Bytes(70'000)); });
  });
}

TEST(UDPClientNetwork, DoesNotWaitForASilentNameServerAgainAndAgain) {
  name_server.setSilent(true);
  inNetworkOfItsOwn([] {
    raiseLoopback();
    UDPClient client;
    client.bind("", 0);
    const auto began = Clock::now();
    for (int i = 0; i < 5; ++i) {
      client.sendBcstPacket(kFrame);
    }
    EXPECT_LT(Clock::now() - began, 7s);
  });
  name_server.setSilent(false);
}

TEST(UDPClientNetwork, EveryListenerGetsEveryAnswerOnce) {
  inNetworkOfItsOwn([] {
    raiseLoopback();
    std::array<UDPClient, 3> programs;
    programs[0].bind("", 0);
    const int port = portOf(programs[0]);
    programs[1].bind("", port);
    programs[2].bind("", port);
    const Stranger device;
    for (std::uint8_t i = 1; i <= 3; ++i) {
      device.send({2, 0, 2, 252, i, 13, 10}, port);  // reaches one of them
    }
    std::array<std::vector<int>, 3> received;
    // One passes on what another waits for, so they take turns.
    for (auto& program : programs) {
      program.setTimeout(0.0);
    }
    const auto end = Clock::now() + 20s;
    const auto pump = [&] {
      bool any = false;
      for (std::size_t i = 0; i < programs.size(); ++i) {
        for (const Frame& frame : programs[i].recvAndSplitPacket(512)) {
          received[i].push_back(frame.payload.at(0));
          any = true;
        }
      }
      return any;
    };
    const auto complete = [&] {
      return std::all_of(received.begin(), received.end(), [](const auto& list) { return list.size() >= 3; });
    };
    while (!complete() && Clock::now() < end) {
      pump();
    }
    while (pump()) {  // what comes twice is here by now: the loopback interface has no delay
    }
    for (auto& list : received) {
      std::sort(list.begin(), list.end());
      EXPECT_EQ(list, (std::vector<int>{1, 2, 3}));
    }
    // What is no frame is not passed on.
    device.send({1, 2, 3}, port);
    int arrived = 0;
    for (auto& program : programs) {
      arrived += program.recvPacket(512).empty() ? 0 : 1;
    }
    EXPECT_EQ(arrived, 1);
    EXPECT_FALSE(pump());
  });
}

}  // namespace
}  // namespace qvx
