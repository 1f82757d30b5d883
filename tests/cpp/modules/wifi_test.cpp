#include "modules/system/wifi.h"

#include "modules/system/system_analog.h"
#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

Bytes settings(std::uint8_t mode, std::uint8_t security, std::string_view ssid) {
  Bytes name = text(ssid);
  name.resize(32);
  return payload(u8(0), u8(mode), u8(security), name);
}

TEST(Wifi, RepliesThatCannotBeDecodedRaise) {
  struct Row {
    int code;
    Bytes reply;
    std::function<void(Bench&)> call;
  };
  Bytes short_name = settings(0, 1, "Lab");
  short_name.pop_back();
  const std::vector<Row> rows{
      {GET_WIFI_CONFIGURATION, short_name, [](Bench& b) { b.wifi.Wifi_getConfiguration(kTimeout); }},
      {GET_WIFI_CONFIGURATION, settings(2, 0, "x"), [](Bench& b) { b.wifi.Wifi_getConfiguration(kTimeout); }},
      {GET_WIFI_CONFIGURATION, settings(0, 3, "x"), [](Bench& b) { b.wifi.Wifi_getConfiguration(kTimeout); }},
      {GET_WIFI_CONFIGURATION, settings(0, 0, "\xFF"), [](Bench& b) { b.wifi.Wifi_getConfiguration(kTimeout); }},
      {GET_RSSI, {0}, [](Bench& b) { b.wifi.Wifi_getRSSI(kTimeout); }},
      {GET_WIFI_BANDWIDTH, {0}, [](Bench& b) { b.wifi.Wifi_getBandwidth(kTimeout); }},
      {GET_BATTERY, {0}, [](Bench& b) { b.system_analog.Wifi_readBattery(kTimeout); }},
      {GET_THERMOMETER, {0, 1, 2, 3}, [](Bench& b) { b.system_analog._Wifi_readThermometer(kTimeout); }},
      {READ_ACCELERATION, Bytes(12, 0), [](Bench& b) { b.system_analog._Wifi_readAcceleration(kTimeout); }},
  };
  Bench bench;
  for (const auto& row : rows) {
    bench.replies[row.code] = row.reply;
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwareOtherError") << row.code << ": " << hex(row.reply);
  }
}

TEST(Wifi, NoMessageShowsAPassword) {
  Bench bench;
  for (const char* secret : {"sEcReT", "sEcReT\xC3\xA4 and more"}) {
    for (const int security : {0, 1}) {
      try {
        bench.wifi.Wifi_setConfiguration("Lab", secret, security, kTimeout);
        ADD_FAILURE() << secret;
      } catch (const Failure& failure) {
        EXPECT_EQ(std::string(failure.what()).find("sEcReT"), std::string::npos) << failure.what();
      }
    }
  }
}

}  // namespace
}  // namespace qvx::test
