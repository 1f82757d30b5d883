// Replies that are too short by a little, or hold what has no meaning.
#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

Bytes settings(std::uint8_t mode, std::uint8_t security, std::string_view ssid) {
  Bytes name = text(ssid);
  name.resize(32);
  return payload(u8(0), u8(mode), u8(security), name);
}

TEST(Replies, ThatCannotBeDecodedRaise) {
  struct Row {
    int code;
    Bytes reply;
    std::function<void(Bench&)> call;
  };
  Bytes short_name = settings(0, 1, "Lab");
  short_name.pop_back();
  const std::vector<Row> rows{
      {GET_DATE_TIME, {0, 1, 2, 3, 4, 5}, [](Bench& b) { b.system.Sys_getRTC(kTimeout); }},
      {RTC_GET_ALARM_CONFIG, {0, 0, 1, 2, 3, 4, 5}, [](Bench& b) { b.system._Sys_getRTCAlarmConfig(kTimeout); }},
      {RTC_GET_ALARM_STATE, {0}, [](Bench& b) { b.system._Sys_getRTCAlarmState(kTimeout); }},
      {GET_PIN_MODE_OF_SLOT, {0}, [](Bench& b) { b.system.Sys_getPinModeInPort(0, kTimeout); }},
      {GET_PIN_MODE_OF_SLOT, {0, 8, 1, 1, 1}, [](Bench& b) { b.system.Sys_getPinModeInPort(0, kTimeout); }},
      {GET_PIN_MODE_OF_SLOT, {0, 8, 0, 0, 0, 0xA0}, [](Bench& b) { b.system.Sys_getPinModeInPort(0, kTimeout); }},
      {GET_SLOT_MODE, {0}, [](Bench& b) { b.system.Sys_getMode(1, kTimeout); }},
      {GET_SLOT_MODE, {0, 7}, [](Bench& b) { b.system.Sys_getMode(1, kTimeout); }},
      {GET_DEV_ALIAS, text("alias\r"), [](Bench& b) { b.system.Sys_getDeviceAlias(kTimeout); }},
      {GET_DEV_ALIAS, {0xFF, 13, 10}, [](Bench& b) { b.system.Sys_getDeviceAlias(kTimeout); }},
      {GET_SERIAL_NUMBER, {0xC0}, [](Bench& b) { b.system.Sys_getSerialNumber(kTimeout); }},
      {GET_IP, {0, 1, 2, 3, 4, 255, 0, 0}, [](Bench& b) { b.network.Net_getIP(kTimeout); }},
      {GET_GATEWAY, {0, 1, 2, 3}, [](Bench& b) { b.network.Net_getGateway(kTimeout); }},
      {GET_MAC, {0, 1, 2, 3, 4, 5}, [](Bench& b) { b.network.Net_getMAC(kTimeout); }},
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

}  // namespace
}  // namespace qvx::test
