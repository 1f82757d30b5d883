#include "modules/system/system.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

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

}  // namespace
}  // namespace qvx::test
