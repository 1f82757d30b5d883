// What devices answer to a broadcast.
#include "bench_fixture.h"

#include "core/constants.h"

#include <optional>
#include <string>

namespace qvx::bench {
namespace {

const Bytes kMac{2, 'Q', 'V', 10, 0, 1};

class BroadcastFirmwareTest : public BenchTest {
 protected:
  using BenchTest::BenchTest;
  std::optional<Bytes> broadcast(int code, Bytes bytes) {
    return device_.answerBroadcast({code, std::move(bytes)}, now_);
  }
  static Bytes order(const Bytes& mac, const Bytes& rest = {}) { return payload(u8(0), mac, rest); }
};

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

TEST_F(BroadcastFirmwareTest, SaysWhenItCannotObeyAndNothingWhileItRestarts) {
  const Bytes impossible{10, 0, 0, 0, 255, 0, 0, 0};
  EXPECT_EQ(broadcast(CHECK_MAC_AND_SET_IP, order(kMac, impossible)), payload(u8(1), kMac, impossible, u8(71)));
  EXPECT_EQ(broadcast(CHECK_MAC_AND_REBOOT, order(kMac)), payload(u8(1), kMac, u8(0)));
  EXPECT_TRUE(device_.rebootPending());
  EXPECT_EQ(broadcast(GET_DEVICE_INFO, {0}), std::nullopt);
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
