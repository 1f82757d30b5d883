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

}  // namespace
}  // namespace qvx
