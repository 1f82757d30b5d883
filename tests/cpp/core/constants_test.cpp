#include "core/constants.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>

namespace qvx {
namespace {

bool isRegister(const std::string& name) {
  static const std::regex pattern("(MOTION|DVST|DSVT)_[0-9A-F]{2}_.*");
  return std::regex_match(name, pattern);
}

bool isPacketCommand(const std::string& name) {
  static const std::regex other("(CMD_|USB_|TCP_|UART_|UDP_|NUM_|QUEUE_).*|.*_TIMEOUT");
  return !isRegister(name) && !std::regex_match(name, other);
}

int countNamed(const std::string& pattern) {
  int count = 0;
  for (const NamedConstant& constant : constants()) {
    count += std::regex_match(constant.name, std::regex(pattern)) ? 1 : 0;
  }
  return count;
}

TEST(Constants, FamiliesAreComplete) {
  EXPECT_EQ(countNamed("MOTION_[0-9A-F]{2}_.*"), 199);
  EXPECT_EQ(countNamed("(DVST|DSVT)_[0-9A-F]{2}_.*"), 68);
  EXPECT_EQ(countNamed("DRONE_.*"), 102);
  EXPECT_EQ(constants().size(), 644U);
}

TEST(Constants, NamesAreUniqueAndRegistersCarryTheirAddress) {
  std::set<std::string> names;
  for (const NamedConstant& constant : constants()) {
    const std::string name = constant.name;
    EXPECT_TRUE(names.insert(name).second) << name;
    if (isRegister(name)) {
      EXPECT_EQ(std::stoi(name.substr(name.find('_') + 1, 2), nullptr, 16), constant.value) << name;
    }
  }
}

TEST(Constants, OnlyTheInstrumentSharesACommandCode) {
  std::map<int, std::string> owner;
  for (const NamedConstant& constant : constants()) {
    if (!isPacketCommand(constant.name)) {
      continue;
    }
    const auto [first, fresh] = owner.emplace(constant.value, constant.name);
    EXPECT_TRUE(fresh || constant.value == SET_LAMP) << constant.name << " and " << first->second;
    // A code of one byte at or below 48 could not be told from the high byte of a wide one.
    EXPECT_GE(constant.value, OPEN_CAN) << constant.name;
    EXPECT_LE(constant.value, DRONE_SET_BAROMETER_MODE) << constant.name;
  }
  for (const int unassigned : {137, 138, 147, 193, 194, 195, 196, 198, 199, 200, 201}) {
    EXPECT_FALSE(owner.contains(unassigned)) << owner[unassigned];
  }
}

TEST(Constants, CodesLieInTheBlockOfTheirFunction) {
  struct Block {
    const char* pattern;
    int low;
    int high;
  };
  const Block blocks[] = {
      {".*_CAN(_.*)?", 48, 61},
      {".*_THERMAL(_.*)?", 64, 77},
      {".*_PWM(_.*)?", 80, 85},
      {"(OPEN|START|WRITE|STOP|CLOSE|RESET|SET)_UART(_[A-Z_]+)?", 128, 139},
      {".*_I2C(_.*)?", 144, 151},
      {"(OPEN|CLOSE)_AIO", 158, 159},
      {"[A-Z_]+_SPI(_.*)?", 160, 170},
      {"PULSE_.*", 4128, 4148},
      {"ENCODER_.*", 4160, 4180},
      {"MOTION_[A-Z]{3,}_.*", 7172, 7330},
      {"POT_.*", 8512, 8516},
      {"AHRS_.*", 9216, 9251},
      {"SD_.*", 2240, 2247},
      {"SNTP_.*", 2624, 2629},
      {"RTC_.*", 2212, 2216},
      {"DRONE_(READ_|WRITE_)?MOVE_.*", 10288, 10369},
      {"DRONE_READ_(ATTITUDE|POSITION)_.*", 10376, 10382},
  };
  for (const Block& block : blocks) {
    int members = 0;
    for (const NamedConstant& constant : constants()) {
      if (std::regex_match(constant.name, std::regex(block.pattern)) && isPacketCommand(constant.name)) {
        ++members;
        EXPECT_TRUE(constant.value >= block.low && constant.value <= block.high) << constant.name;
      }
    }
    EXPECT_GT(members, 1) << block.pattern;
  }
}

}  // namespace
}  // namespace qvx
