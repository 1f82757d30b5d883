#include "bench_fixture.h"

#include "core/constants.h"

#include <string>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

class SystemFirmwareTest : public BenchTest {};

Bytes bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST_F(SystemFirmwareTest, RefusesInTheFormOfEachCommand) {
  struct Case {
    int code;
    Bytes request;
    Bytes reply;
  };
  // In this order: later rows read what earlier ones wrote.
  const Case cases[] = {
      {SET_SERIAL_NUMBER, bytes("AB12345"), {80}},
      {SET_DEV_ALIAS, Bytes(65, 'x'), {80}},
      {SET_SLOT_MODE, {1, 2}, {1, 0}},
      {GET_PIN_MODE_OF_SLOT, {1}, {0, 8, 0x33, 0x33, 0x33, 0x33}},
      {SET_SLOT_MODE, {4, 2}, {4, 11}},
      {SET_SLOT_MODE, {1, 7}, {1, 42}},
      {GET_SLOT_MODE, {4}, {11}},
      {GET_PIN_MODE_OF_SLOT, {4}, {11}},
      {GET_EEPROM_PAGE, {128}, {40}},
      {SET_EEPROM_PAGE, {128, 1}, {40}},
      {SET_EEPROM_PAGE, Bytes(66, 1), {80}},
      {SET_EEPROM_BYTE, {127, 64, 9}, {40}},
      {GET_EEPROM_DEVICE, {0}, {0, 'Q', 'V', 0, 64, 0, 128, 0, 0, 'F', 'A', '0', '0', '0', '0', '0', '1'}},
      {GET_EEPROM_DEVICE, {1}, {40}},
      // Malformed requests and unknown commands.
      {GET_DRIVER_INFO, {}, {80, 80}},
      {GET_DATE_TIME, {}, {80}},
      {SET_SLOT_MODE, {}, {0, 80}},
      {SET_SLOT_MODE, {3}, {3, 80}},
      {9999, {1, 2, 3}, {80, 80}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ask(c.code, c.request), c.reply) << "command " << c.code;
  }
}

TEST_F(SystemFirmwareTest, TheClockRuns) {
  EXPECT_EQ(ask(GET_DATE_TIME, {0}), (Bytes{0, 124, 2, 28, 23, 59, 58}));
  pass(2s);
  EXPECT_EQ(ask(GET_DATE_TIME, {0}), (Bytes{0, 124, 2, 29, 0, 0, 0}));  // a leap year
  EXPECT_EQ(ask(SET_DATE_TIME, {99, 12, 31, 23, 59, 59}), Bytes{0});
  pass(1500ms);
  EXPECT_EQ(ask(GET_DATE_TIME, {0}), (Bytes{0, 100, 1, 1, 0, 0, 0}));
  for (const Bytes& wrong : {Bytes{123, 2, 29, 0, 0, 0}, Bytes{124, 0, 1, 0, 0, 0}, Bytes{124, 1, 32, 0, 0, 0},
                             Bytes{124, 1, 1, 24, 0, 0}, Bytes{124, 1, 1, 0, 60, 0}, Bytes{124, 1, 1, 0, 0, 60}}) {
    EXPECT_EQ(ask(SET_DATE_TIME, wrong), Bytes{20});
  }
}

TEST_F(SystemFirmwareTest, TheAlarmGoesOffAndRepeats) {
  EXPECT_EQ(ask(RTC_START_ALARM, {0, 29, 0, 0, 1}), (Bytes{0, 0}));
  pass(2s);
  EXPECT_EQ(ask(RTC_GET_ALARM_TRIG, {0}), (Bytes{0, 0, 0}));
  pass(1s);
  EXPECT_EQ(ask(RTC_GET_ALARM_TRIG, {0}), (Bytes{0, 0, 1}));
  pass(1s);
  EXPECT_EQ(ask(RTC_GET_ALARM_CONFIG, {0}), (Bytes{0, 0, 124, 3, 29, 0, 0, 1}));
  // 29 February 2024 was a Thursday, day 4; a clock that jumps over the moment does not trigger.
  EXPECT_EQ(ask(RTC_START_ALARM, {1, 4, 0, 0, 0}), (Bytes{1, 0}));
  EXPECT_EQ(ask(RTC_GET_ALARM_CONFIG, {0}), (Bytes{0, 0, 124, 3, 7, 0, 0, 0}));
  EXPECT_EQ(ask(SET_DATE_TIME, {124, 3, 8, 0, 0, 0}), Bytes{0});
  EXPECT_EQ(ask(RTC_GET_ALARM_TRIG, {0}), (Bytes{0, 0, 0}));
  for (const Bytes& wrong : {Bytes{2, 1, 0, 0, 0}, Bytes{0, 0, 0, 0, 0}, Bytes{0, 32, 0, 0, 0}, Bytes{1, 8, 0, 0, 0},
                             Bytes{0, 1, 24, 0, 0}}) {
    EXPECT_EQ(ask(RTC_START_ALARM, wrong), (Bytes{wrong[0], 20}));
  }
}

TEST_F(SystemFirmwareTest, RebootKeepsAndFactoryResetForgets) {
  ask(SET_DEV_ALIAS, bytes("kept"));
  ask(SET_SLOT_MODE, {3, 1});
  ask(SET_EEPROM_BYTE, {0, 0, 77});
  ask(SET_AI_MODE, {0, 2});
  EXPECT_EQ(ask(REBOOT_ON_BOOTLOADER, {}), Bytes{0});
  EXPECT_TRUE(device_.rebootPending());
  outlet_.frames.clear();
  send(GET_SERIAL_NUMBER, {});
  EXPECT_TRUE(outlet_.frames.empty());  // nobody answers while it restarts
  device_.rebooted();
  EXPECT_EQ(ask(GET_DRIVER_INFO, {0}), bytes("Ferox-A_Bootloader_3.2.6"));
  EXPECT_EQ(ask(GET_DEV_ALIAS, {0}), bytes("kept\r\n"));
  EXPECT_EQ(ask(GET_SLOT_MODE, {3}), (Bytes{0, 1}));
  ask(OPEN_AI_STREAMING, {0});
  EXPECT_EQ(ask(START_AI_STREAMING, {0}), (Bytes{0, 52}));  // the mode is volatile: on demand again

  EXPECT_EQ(ask(RESET_FACTORY, {}), Bytes{0});
  EXPECT_FALSE(device_.rebootPending());
  EXPECT_EQ(ask(GET_DEV_ALIAS, {0}), bytes("FeroxA\r\n"));
  EXPECT_EQ(ask(GET_SLOT_MODE, {3}), (Bytes{0, 0}));
  EXPECT_EQ(ask(GET_EEPROM_PAGE, {0}), Bytes(65, 0));
}

}  // namespace
}  // namespace qvx::bench
