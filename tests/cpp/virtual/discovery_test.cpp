// What devices answer to a broadcast.
#include "bench_fixture.h"

#include "core/constants.h"

#include <optional>
#include <string>

namespace qvx::bench {
namespace {

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

}  // namespace
}  // namespace qvx::bench
