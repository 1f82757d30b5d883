#include "bench_fixture.h"

#include "core/constants.h"

#include <string>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

DeviceSetup skylog() {
  DeviceSetup setup = feroxA();
  setup.model = findModel("SkylogE3A");
  return setup;
}

class NetworkFirmwareTest : public BenchTest {
 protected:
  using BenchTest::BenchTest;
  void restart() {
    ask(REBOOT, {});
    device_.rebooted();
  }
};

class WirelessFirmwareTest : public NetworkFirmwareTest {
 protected:
  WirelessFirmwareTest() : NetworkFirmwareTest(skylog()) {}
};

TEST_F(NetworkFirmwareTest, WhatIsSetComesWithTheNextRestart) {
  struct Case {
    int set;
    Bytes value;
    int get;
    Bytes before;
  };
  const Case cases[] = {
      {SET_IP, {10, 13, 10, 2, 255, 255, 0, 0}, GET_IP, {0, 127, 0, 0, 1, 255, 0, 0, 0}},
      {SET_GATEWAY, {10, 13, 0, 1}, GET_GATEWAY, {0, 0, 0, 0, 0}},
      {SET_MAC, {2, 1, 2, 3, 4, 5}, GET_MAC, {0, 2, 'Q', 'V', 10, 0, 1}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ask(c.get, {}), c.before);
    EXPECT_EQ(ask(c.set, c.value), Bytes{0});
    EXPECT_EQ(ask(c.get, {}), c.before);
  }
  restart();
  for (const Case& c : cases) {
    EXPECT_EQ(ask(c.get, {}), payload(u8(0), c.value));
  }
  // The MAC address is the factory's own.
  EXPECT_EQ(ask(RESET_FACTORY, {}), Bytes{0});
  EXPECT_EQ(ask(GET_IP, {}), payload(u8(0), cases[0].value));
  restart();
  EXPECT_EQ(ask(GET_IP, {}), cases[0].before);
  EXPECT_EQ(ask(GET_GATEWAY, {}), cases[1].before);
  EXPECT_EQ(ask(GET_MAC, {}), payload(u8(0), cases[2].value));
}

TEST_F(NetworkFirmwareTest, RefusesAddressesThatNobodyCanHave) {
  for (const Bytes& wrong : {Bytes{0, 0, 0, 1, 255, 255, 255, 0}, Bytes{224, 0, 0, 1, 255, 255, 255, 0},
                             Bytes{10, 0, 0, 1, 255, 0, 255, 0}, Bytes{10, 0, 0, 1, 255, 255, 255, 255},
                             Bytes{10, 0, 0, 0, 255, 0, 0, 0}, Bytes{10, 0, 0, 255, 255, 255, 255, 0}}) {
    EXPECT_EQ(ask(SET_IP, wrong), Bytes{71});
  }
  EXPECT_EQ(ask(SET_GATEWAY, {240, 0, 0, 1}), Bytes{71});
  EXPECT_EQ(ask(SET_MAC, {1, 0, 0x5E, 0, 0, 1}), Bytes{71});
  EXPECT_EQ(ask(SET_IP, {10, 0, 0, 1}), Bytes{80});
  restart();
  EXPECT_EQ(ask(GET_IP, {}), (Bytes{0, 127, 0, 0, 1, 255, 0, 0, 0}));
}

Bytes configuration(std::uint8_t security, std::string ssid, std::string password) {
  ssid.resize(32);
  password.resize(64);
  return payload(u8(security), Bytes(ssid.begin(), ssid.end()), Bytes(password.begin(), password.end()));
}

Bytes kept(std::uint8_t mode, std::uint8_t security, std::string ssid) {
  ssid.resize(32);
  return payload(u8(0), u8(mode), u8(security), Bytes(ssid.begin(), ssid.end()));
}

TEST_F(WirelessFirmwareTest, KeepsItsConfiguration) {
  EXPECT_EQ(ask(GET_WIFI_CONFIGURATION, {}), kept(0, 0, "QVX"));
  EXPECT_EQ(ask(SET_WIFI_CONFIGURATION, configuration(1, "Lab 7", "password")), Bytes{0});
  EXPECT_EQ(ask(SET_WIFI_BANDWIDTH, {40}), Bytes{0});
  EXPECT_EQ(ask(SET_AP, {1}), Bytes{0});
  EXPECT_EQ(ask(GET_RSSI, {}).at(0), 0);  // still a station
  restart();
  EXPECT_EQ(ask(GET_WIFI_CONFIGURATION, {}), kept(1, 1, "Lab 7"));
  EXPECT_EQ(ask(GET_WIFI_BANDWIDTH, {}), (Bytes{0, 40}));
  EXPECT_EQ(ask(GET_RSSI, {}), Bytes{42});
  for (const Bytes& wrong : {configuration(3, "Lab", "password"), configuration(1, "", "password"),
                             configuration(0, "Lab", "password"), configuration(2, "Lab", "short"),
                             configuration(1, "Lab", std::string(64, 'p')), configuration(0, {"L\0b", 3}, "")}) {
    EXPECT_EQ(ask(SET_WIFI_CONFIGURATION, wrong), Bytes{42});
  }
  EXPECT_EQ(ask(SET_WIFI_CONFIGURATION, Bytes(96, 0)), Bytes{80});
  EXPECT_EQ(ask(SET_AP, {2}), Bytes{42});
  EXPECT_EQ(ask(SET_WIFI_BANDWIDTH, {80}), Bytes{42});
  EXPECT_EQ(ask(GET_WIFI_CONFIGURATION, {}), kept(1, 1, "Lab 7"));
  ask(RESET_FACTORY, {});
  EXPECT_EQ(ask(GET_WIFI_CONFIGURATION, {}), kept(0, 0, "QVX"));
  EXPECT_EQ(ask(GET_WIFI_BANDWIDTH, {}), (Bytes{0, 20}));
  EXPECT_EQ(ask(GET_RSSI, {}), Bytes{42});
}

TEST_F(WirelessFirmwareTest, TheRadioWaversAndTheBatteryDrains) {
  int weakest = 0;
  int strongest = -128;
  int charge = 101;
  const int full = ask(GET_BATTERY, {}).at(1);
  for (int minute = 0; minute < 5 * 60; ++minute) {
    const int rssi = readBig<std::int8_t>(ask(GET_RSSI, {}), 1);
    weakest = std::min(weakest, rssi);
    strongest = std::max(strongest, rssi);
    const int left = ask(GET_BATTERY, {}).at(1);
    EXPECT_LE(left, charge);
    charge = left;
    const auto degrees = readBig<float>(ask(GET_THERMOMETER, {}), 1);
    EXPECT_TRUE(degrees > 23 && degrees < 33) << degrees;
    const auto up = readBig<float>(ask(READ_ACCELERATION, {}), 9);
    EXPECT_NEAR(up, 9.81F, 0.05F);
    pass(1min);
  }
  EXPECT_LT(weakest, strongest - 5);
  EXPECT_TRUE(weakest >= -66 && strongest <= -44) << weakest << " " << strongest;
  EXPECT_TRUE(full >= 70 && full <= 100) << full;
  EXPECT_NEAR(charge, full - 50, 1);  // 300 of 600 minutes
  ask(REBOOT, {});
  device_.rebooted();
  EXPECT_LE(ask(GET_BATTERY, {}).at(1), charge);  // a restart charges nothing
  pass(20h);
  EXPECT_EQ(ask(GET_BATTERY, {}), (Bytes{0, 1}));
}

TEST_F(WirelessFirmwareTest, InputsAreOpenedAndStreamsNeedADataConnection) {
  EXPECT_EQ(ask(READ_AI_ON_DEMAND, {0}), (Bytes{0, 52}));
  EXPECT_EQ(ask(OPEN_AI_STREAMING, {0}), (Bytes{0, 52}));
  EXPECT_EQ(ask(OPEN_AI, {0}), (Bytes{0, 0}));
  EXPECT_EQ(ask(READ_AI_ON_DEMAND, {0}).size(), 18U);
  EXPECT_EQ(ask(SET_AI_MODE, {0, 2}), (Bytes{0, 0}));
  EXPECT_EQ(ask(OPEN_AI_STREAMING, {0}), payload(u8(0), u8(0), u32(2), f32(1000)));

  class CommandOutlet final : public Outlet {
   public:
    void send(int code, ByteView payload, TimePoint now) override { replies.send(code, payload, now); }
    std::size_t room() const override { return replies.room(); }
    Outlet* streams() override { return data; }
    RecordingOutlet replies;
    Outlet* data = nullptr;
  };
  CommandOutlet command;
  device_.handle({START_AI_STREAMING, {0}}, command, now_);
  ASSERT_EQ(command.replies.frames.size(), 1U);
  EXPECT_EQ(command.replies.frames[0].payload, (Bytes{0, 52}));

  command.data = &outlet_;
  outlet_.frames.clear();
  device_.handle({START_AI_STREAMING, {0}}, command, now_);
  pass(100ms);
  EXPECT_GE(streamed().size(), 90U * 8);
  EXPECT_EQ(command.replies.frames.size(), 1U);
  device_.forget(outlet_);
  pass(1s);
  EXPECT_TRUE(outlet_.frames.empty());
}

}  // namespace
}  // namespace qvx::bench
