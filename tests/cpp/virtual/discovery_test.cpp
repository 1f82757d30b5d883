// Discovery: what devices answer to a broadcast, and the port that carries it.
#include "virtual/discovery_port.h"
#include "virtual/tcp_port.h"

#include "bench_fixture.h"

#include "core/constants.h"

#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

const Bytes kMac{2, 'Q', 'V', 10, 0, 1};

Bytes padded(std::string text, std::size_t size) {
  text.resize(size);
  return Bytes(text.begin(), text.end());
}

class BroadcastFirmwareTest : public BenchTest {
 protected:
  using BenchTest::BenchTest;
  std::optional<Bytes> broadcast(int code, Bytes bytes) {
    return device_.answerBroadcast({code, std::move(bytes)}, now_);
  }
  static Bytes order(const Bytes& mac, const Bytes& rest = {}) { return payload(u8(0), mac, rest); }
};

TEST_F(BroadcastFirmwareTest, SaysWhoItIs) {
  ask(SET_DEV_ALIAS, {'L', 'a', 'b'});
  EXPECT_EQ(broadcast(GET_DEVICE_INFO, {0}),
            payload(u8(1), kMac, u32(0x7F000001), u32(0xFF000000), padded("FA000001", 8), padded("3.2.6", 16),
                    padded("Ferox-A", 32), padded("Lab", 64)));
}

TEST_F(BroadcastFirmwareTest, KeepsSilentToWhatIsNotForIt) {
  const Bytes other{2, 'Q', 'V', 10, 0, 2};
  const std::pair<int, Bytes> requests[] = {
      {GET_DEVICE_INFO, {}},
      {GET_DEVICE_INFO, {1}},  // an answer
      {GET_DEVICE_INFO, {0, 0}},
      {CHECK_MAC_AND_REBOOT, order(other)},
      {CHECK_MAC_AND_REBOOT, payload(u8(1), kMac, u8(0))},
      {CHECK_MAC_AND_REBOOT, order(kMac, {0})},
      {CHECK_MAC_AND_REBOOT, {0, 2, 'Q'}},
      {CHECK_MAC_AND_SET_IP, order(other, {10, 0, 0, 2, 255, 0, 0, 0})},
      {CHECK_MAC_AND_SET_IP, order(kMac, {10, 0, 0, 2})},
      {NETCOM_CHECK_MAC_RINGING, order(other)},
      {REBOOT, {}},
      {SET_IP, {10, 0, 0, 2, 255, 0, 0, 0}},
  };
  for (const auto& [code, bytes] : requests) {
    EXPECT_EQ(broadcast(code, bytes), std::nullopt) << code;
  }
  EXPECT_FALSE(device_.rebootPending());
  EXPECT_EQ(device_.board().next_addresses.ip, 0x7F000001U);
  EXPECT_EQ(device_.board().rings, 0U);
  // Over a connection there is nobody else to leave the answer to.
  EXPECT_EQ(ask(GET_DEVICE_INFO, {0}), (Bytes{80, 80}));
}

TEST_F(BroadcastFirmwareTest, ObeysOrders) {
  const Bytes address{10, 0, 0, 2, 255, 0, 0, 0};
  EXPECT_EQ(broadcast(CHECK_MAC_AND_SET_IP, order(kMac, address)), payload(u8(1), kMac, address, u8(0)));
  const Bytes impossible{10, 0, 0, 0, 255, 0, 0, 0};
  EXPECT_EQ(broadcast(CHECK_MAC_AND_SET_IP, order(kMac, impossible)), payload(u8(1), kMac, impossible, u8(71)));
  EXPECT_EQ(broadcast(NETCOM_CHECK_MAC_RINGING, order(kMac)), payload(u8(1), kMac, u8(0)));
  EXPECT_EQ(device_.board().rings, 1U);
  EXPECT_EQ(device_.board().addresses.ip, 0x7F000001U);
  EXPECT_EQ(broadcast(CHECK_MAC_AND_REBOOT, order(kMac)), payload(u8(1), kMac, u8(0)));
  EXPECT_TRUE(device_.rebootPending());
  EXPECT_EQ(broadcast(GET_DEVICE_INFO, {0}), std::nullopt);  // while it restarts
  device_.rebooted();
  EXPECT_EQ(device_.board().addresses.ip, 0x0A000002U);
}

DeviceSetup refusing() {
  DeviceSetup setup = feroxA();
  setup.faults.status = 72;
  return setup;
}

class RefusingTest : public BroadcastFirmwareTest {
 protected:
  RefusingTest() : BroadcastFirmwareTest(refusing()) {}
};

TEST_F(RefusingTest, AnOrderThatIsMadeToFailIsNotRun) {
  for (const int code : {CHECK_MAC_AND_REBOOT, NETCOM_CHECK_MAC_RINGING}) {
    EXPECT_EQ(broadcast(code, order(kMac)), payload(u8(1), kMac, u8(72)));
  }
  EXPECT_FALSE(device_.rebootPending());
  EXPECT_EQ(device_.board().rings, 0U);
}

// Two devices, and somebody at an address of their own, where nobody else listens for answers.
class DiscoveryPortTest : public ::testing::Test {
 protected:
  DiscoveryPortTest() {
    for (Device* device : {&devices_[0], &devices_[1]}) {
      ports_.push_back(std::make_unique<TcpPort>(loop_, *device, log_, Endpoint{0x7F000001, 0}));
    }
    const auto number = static_cast<std::uint32_t>(getpid());
    asker_ = Descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_in here = socketAddress({0x7F640001 + (number % 0xFFFF << 4), 0});
    EXPECT_EQ(bind(asker_.get(), reinterpret_cast<const sockaddr*>(&here), sizeof here), 0);
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    getsockname(asker_.get(), reinterpret_cast<sockaddr*>(&bound), &size);
    discovery_.emplace(loop_, log_, DiscoveryPort::UdpPorts{0, endpointOf(bound).port},
                       std::vector<DiscoveryPort::Member>{{devices_[0], *ports_[0], {0x7F000001, 7}},
                                                          {devices_[1], *ports_[1], {0x7F000002, 7}}});
  }

  void send(const Bytes& datagram) {
    const sockaddr_in to = socketAddress({0x7F000001, discovery_->endpoint().port});
    ASSERT_EQ(
        sendto(asker_.get(), datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
        static_cast<ssize_t>(datagram.size()));
  }
  // Runs the bench until it rests, and returns what came back.
  std::vector<Bytes> answers() {
    for (bool busy = true; busy;) {
      loop_.wait(std::min(steady_clock::now() + 100ms, discovery_->due()));
      busy = false;
      const TimePoint now = steady_clock::now();
      for (Port* port : {static_cast<Port*>(&*discovery_), static_cast<Port*>(ports_[0].get())}) {
        if (port->touched() || port->due() <= now) {
          port->service(now);
          busy = true;
        }
      }
    }
    std::vector<Bytes> received;
    Bytes buffer(2048);
    for (ssize_t count = 0; (count = recv(asker_.get(), buffer.data(), buffer.size(), 0)) >= 0;) {
      received.emplace_back(buffer.begin(), buffer.begin() + count);
    }
    return received;
  }

  const Log log_{LogLevel::Quiet};
  EventLoop loop_;
  std::array<Device, 2> devices_{Device(feroxA(), steady_clock::now()), Device(refusing(), steady_clock::now())};
  std::vector<std::unique_ptr<TcpPort>> ports_;
  Descriptor asker_;
  std::optional<DiscoveryPort> discovery_;
};

TEST_F(DiscoveryPortTest, EachDeviceAnswersForItself) {
  const Bytes request = buildFrame(GET_DEVICE_INFO, Bytes{0});
  send(request);
  const auto both = answers();
  ASSERT_EQ(both.size(), 2U);
  for (const Bytes& answer : both) {
    EXPECT_EQ(answer.size(), 6 + 135U);
    EXPECT_EQ(Bytes(answer.begin() + 3, answer.begin() + 5), (Bytes{GET_DEVICE_INFO, 1}));
  }
  // Garbage is no request, nor is what stands behind one.
  for (const Bytes& garbage : {Bytes{}, Bytes{2}, Bytes(2000, 2), Bytes{2, 0, 2, 252, 0, 13, 11}}) {
    send(garbage);
  }
  send(payload(request, request));
  EXPECT_EQ(answers().size(), 2U);
}

TEST_F(DiscoveryPortTest, AnOrderIsCarriedOutByTheDeviceOwnPort) {
  send(buildFrame(CHECK_MAC_AND_REBOOT, payload(u8(0), kMac)));
  EXPECT_EQ(answers().size(), 2U);  // both have this address here; the second one refuses
  EXPECT_TRUE(devices_[0].rebootPending());
  for (int rounds = 0; rounds < 100 && devices_[0].rebootPending(); ++rounds) {
    answers();
  }
  EXPECT_FALSE(devices_[0].rebootPending());
}

}  // namespace
}  // namespace qvx::bench
