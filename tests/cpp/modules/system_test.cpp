#include "modules/system/system.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

TEST(System, WirelessModelsCountYearsFrom2000OnReadingOnly) {
  struct Row {
    ProductId product;
    const char* year;
  };
  for (const Row& row :
       {Row{ProductId::SkylogE3A, "2024"}, Row{ProductId::SkylogE3AH, "2024"}, Row{ProductId::SkylogE3AO, "2024"},
        Row{ProductId::SkylogE3AOD, "2024"}, Row{ProductId::SkylogF4A, "2024"}, Row{ProductId::FeroxA, "1924"},
        Row{ProductId::LUMA, "1924"}, Row{ProductId::CordlogF1AD, "1924"}, Row{ProductId::None, "1924"}}) {
    Bench bench(row.product);
    bench.replies[GET_DATE_TIME] = {0, 24, 1, 1, 0, 0, 0};
    bench.replies[SET_DATE_TIME] = {0};
    EXPECT_EQ(bench.system.Sys_getRTC(kTimeout).substr(0, 4), row.year) << productLabel(row.product);
    EXPECT_EQ(bench.frameOf([&] { bench.system.Sys_setRTC(2024, 1, 1, 0, 0, 0, kTimeout); }),
              "02 00 07 F2 7C 01 01 00 00 00 0D 0A");
  }
}

TEST(System, RepliesThatCannotBeDecodedRaise) {
  struct Row {
    int code;
    Bytes reply;
    std::function<void(Bench&)> call;
  };
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
  };
  Bench bench;
  for (const auto& row : rows) {
    bench.replies[row.code] = row.reply;
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwareOtherError") << row.code << ": " << hex(row.reply);
  }
}

TEST(System, RefusesArgumentsBeforeAnythingIsSent) {
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kSlot = "LUMAPortNotAvaliableError";
  std::vector<Refusal> rows;
  for (const int slot : {-1, 0, 3, 5, 256 + 1}) {
    rows.push_back({"slot", [slot](Bench& b) { b.system.Sys_getMode(slot, kTimeout); }, kSlot});
    rows.push_back({"slot", [slot](Bench& b) { b.system.Sys_setMode<3>(slot, kTimeout); }, kSlot});
  }
  rows.push_back({"slot", [](Bench& b) { b.system.Sys_getMode(Argument::hugeInt(true), kTimeout); }, kSlot});
  for (const int byte : {-1, 256}) {
    rows.push_back({"port", [byte](Bench& b) { b.system.Sys_getPinModeInPort(byte, kTimeout); }, kRange});
    rows.push_back({"page", [byte](Bench& b) { b.system._getEEPROMPage(byte, kTimeout); }, kRange});
    rows.push_back({"page", [byte](Bench& b) { b.system._setEEPROMPage(byte, List{}, kTimeout); }, kRange});
    rows.push_back({"list", [byte](Bench& b) { b.system._setEEPROMPage(0, List{0, byte}, kTimeout); }, kRange});
    rows.push_back({"device", [byte](Bench& b) { b.system._getEEPROMDevice(byte, kTimeout); }, kRange});
    rows.push_back({"index", [byte](Bench& b) { b.system._setEEPROMByte(0, byte, 0, kTimeout); }, kRange});
    rows.push_back({"value", [byte](Bench& b) { b.system._setEEPROMByte(0, 0, byte, kTimeout); }, kRange});
    rows.push_back({"info", [byte](Bench& b) { b.system._getDriverInfo_dev(byte, kTimeout); }, kRange});
  }
  for (const int mode : {-1, 7}) {
    rows.push_back({"slot mode", [mode](Bench& b) { b.system._Sys_setSlotMode(1, mode, kTimeout); }, kRange});
  }
  // year, month, day, hour, minute, second, each just outside
  const std::array<int, 6> good{2024, 1, 1, 0, 0, 0};
  const std::array<std::array<int, 2>, 6> bad{{{1899, 2156}, {0, 13}, {0, 32}, {-1, 24}, {-1, 60}, {-1, 60}}};
  for (std::size_t field = 0; field < good.size(); ++field) {
    for (const int value : bad.at(field)) {
      auto t = good;
      t.at(field) = value;
      rows.push_back(
          {"clock", [t](Bench& b) { b.system.Sys_setRTC(t[0], t[1], t[2], t[3], t[4], t[5], kTimeout); }, kRange});
      if (field >= 2) {
        rows.push_back(
            {"alarm", [t](Bench& b) { b.system.Sys_startRTCAlarm(0, t[2], t[3], t[4], t[5], kTimeout); }, kRange});
      }
    }
  }
  rows.push_back({"weekday", [](Bench& b) { b.system.Sys_startRTCAlarm(1, 8, 0, 0, 0, kTimeout); }, kRange});
  rows.push_back({"mode", [](Bench& b) { b.system.Sys_startRTCAlarm(2, 1, 0, 0, 0, kTimeout); }, kRange});
  for (const char* alias : {"line\n", "\x7F", "caf\xC3\xA9"}) {
    rows.push_back({"alias", [alias](Bench& b) { b.system.Sys_setDeviceAlias(alias, kTimeout); }, kRange});
  }
  for (const char* serial : {"", "ABCD123", "ABCD12345"}) {
    rows.push_back({"serial", [serial](Bench& b) { b.system._setSerialNumber(serial, kTimeout); }, kRange});
  }
  Bench bench;
  checkRefusals(bench, rows);
}

}  // namespace
}  // namespace qvx::test
