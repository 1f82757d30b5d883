#include "modules/bus/i2c.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

TEST(I2C, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_CALL(i2c.I2C_close(1, kTimeout)), "02 00 02 94 01 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setClockRate(1, 0, kTimeout)), "02 00 06 96 01 00 01 86 A0 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setClockRate(1, 1, kTimeout)), "02 00 06 96 01 00 06 1A 80 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setClockRate(2, 2, kTimeout)), "02 00 06 96 02 00 0F 42 40 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setClockRate(2, 3, kTimeout)), "02 00 06 96 02 00 33 E1 40 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_write(1, 0x50, List{0, 13, 10, 255}, kTimeout)),
       "02 00 07 92 01 50 00 0D 0A FF 0D 0A",
       {1, 0},
       "0",
       1},
      {QVX_CALL(i2c.I2C_write(1, 0x7F, List{}, kTimeout)), "02 00 03 92 01 7F 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_read(1, 0, 3, kTimeout)), "02 00 04 91 01 00 03 0D 0A", {1, 0, 7, 8, 9}, "[7,8,9]", 1},
      {QVX_CALL(i2c.I2C_read(2, 0x50, 255, kTimeout)), "02 00 04 91 02 50 FF 0D 0A", {2, 0}, "[]", 1},
      {QVX_CALL(i2c.I2C_reset(2, kTimeout)), "02 00 02 95 02 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setAddressSize(2, 0, kTimeout)), "02 00 03 97 02 00 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_setAddressSize(2, 1, kTimeout)), "02 00 03 97 02 01 0D 0A", {2, 0}, "0", 1},
      // From here on port 2 has addresses of 10 bits, port 1 has not.
      {QVX_CALL(i2c.I2C_write(2, 0x3FF, List{5}, kTimeout)), "02 00 05 92 02 03 FF 05 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(i2c.I2C_read(2, 0x50, 1, kTimeout)), "02 00 05 91 02 00 50 01 0D 0A", {2, 0, 9}, "[9]", 1},
      {QVX_CALL(i2c.I2C_read(1, 0x50, 1, kTimeout)), "02 00 04 91 01 50 01 0D 0A", {1, 0, 9}, "[9]", 1},
  };
  Bench bench;
  const auto loop = makeLoop();
  for (const auto& row : rows) {
    check(bench, row);
    bench.replies[codeOf(row.frame)] = row.reply;
    std::string result;
    EXPECT_EQ(bench.frameOf([&] { loop->runBody([&] { result = row.call(bench); }); }), row.frame);
    EXPECT_EQ(result, row.result);
  }
}

TEST(I2C, AddressesHaveTheSizeThatTheDeviceAccepted) {
  Bench bench;
  bench.replies = {{WRITE_I2C, {1, 0}}, {RESET_I2C, {1, 0}}, {SET_I2C_ADDR_SIZE, {1, 10}}};
  const auto tenBits = [&] {
    return bench.frameOf([&] { bench.i2c.I2C_write(1, 0x50, List{}, kTimeout); }) == "02 00 04 92 01 00 50 0D 0A";
  };
  EXPECT_EQ(failureOf([&] { bench.i2c.I2C_setAddressSize(1, 1, kTimeout); }), "FirmwareEnableError");
  EXPECT_FALSE(tenBits());
  bench.replies[SET_I2C_ADDR_SIZE] = {1, 0};
  bench.i2c.I2C_setAddressSize(1, 1, kTimeout);
  EXPECT_TRUE(tenBits());
  bench.replies[RESET_I2C] = {1, 10};
  EXPECT_EQ(failureOf([&] { bench.i2c.I2C_reset(1, kTimeout); }), "FirmwareEnableError");
  EXPECT_TRUE(tenBits());
  bench.replies[RESET_I2C] = {1, 0};
  bench.i2c.I2C_reset(1, kTimeout);
  EXPECT_FALSE(tenBits());
  bench.i2c.I2C_setAddressSize(1, 1, kTimeout);
  bench.i2c.I2C_setAddressSize(1, 0, kTimeout);
  EXPECT_FALSE(tenBits());
}

// 0 disabled, 1 idle, 2 DI, 3 DO, 4 UART, 5 I2C, 6 SPI. Port 2 uses pins 0 and 1 of digital port 3, which is asked
// once.
TEST(I2C, OpensPinsThatAreIdleOrDigital) {
  const std::string asked = "02 00 02 7F 03 0D 0A";
  Bench bench;
  bench.replies[OPEN_I2C] = {2, 0};
  for (const std::uint8_t modes : {0x11, 0x12, 0x23, 0x31}) {
    bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 8, 0x44, 0x44, 0x44, modes};
    bench.transport->sent();
    EXPECT_EQ(bench.i2c.I2C_open(2, kTimeout), 0);
    EXPECT_EQ(bench.transport->sent(), (std::vector<std::string>{asked, "02 00 02 90 02 0D 0A"}));
    EXPECT_EQ(failureOf([&] { bench.i2c._checkI2CPinState(2, List{"UART"}, kTimeout); }), "I2CPortNotAvaliableError");
    bench.transport->sent();
  }
  for (const std::uint8_t modes : {0x15, 0x41, 0x20, 0x63}) {
    bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 8, 0x11, 0x11, 0x11, modes};
    EXPECT_EQ(failureOf([&] { bench.i2c.I2C_open(2, kTimeout); }), "I2CPortNotAvaliableError");
    EXPECT_EQ(bench.transport->sent(), std::vector<std::string>{asked});
  }
  bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 8, 0x11, 0x11, 0x11, 0x11};
  bench.replies[OPEN_I2C] = {2, 21};
  EXPECT_EQ(failureOf([&] { bench.i2c.I2C_open(2, kTimeout); }), "FirmwareI2CError");
}

TEST(I2C, RefusesArgumentsBeforeAnythingIsSent) {
  constexpr const char* kPort = "I2CPortNotAvaliableError";
  constexpr const char* kType = "InputTypeNotCorrectError";
  constexpr const char* kRange = "InputDataNotInRangeError";
  std::vector<Refusal> rows{
      {"data", [](Bench& b) { b.i2c.I2C_write(1, 0x50, List{256}, kTimeout); }, kRange},
      {"data", [](Bench& b) { b.i2c.I2C_write(1, 0x50, List{"1"}, kTimeout); }, kType},
      {"data", [](Bench& b) { b.i2c.I2C_write(1, 0x50, 1, kTimeout); }, kType},
      {"count", [](Bench& b) { b.i2c.I2C_read(1, 0x50, 256, kTimeout); }, kRange},
      {"count", [](Bench& b) { b.i2c.I2C_read(1, 0x50, -1, kTimeout); }, kRange},
      {"count", [](Bench& b) { b.i2c.I2C_read(1, 0x50, Argument(), kTimeout); }, kType},
      {"address", [](Bench& b) { b.i2c.I2C_read(1, 80.0, 1, kTimeout); }, kType},
      {"clock", [](Bench& b) { b.i2c.I2C_setClockRate(1, 4, kTimeout); }, "I2CClockNotSupportError"},
      {"clock", [](Bench& b) { b.i2c.I2C_setClockRate(1, -1, kTimeout); }, "I2CClockNotSupportError"},
      {"clock", [](Bench& b) { b.i2c.I2C_setClockRate(1, 400000, kTimeout); }, "I2CClockNotSupportError"},
      {"size", [](Bench& b) { b.i2c.I2C_setAddressSize(1, 2, kTimeout); }, "I2CAddressSizeNotVaildError"},
      {"size", [](Bench& b) { b.i2c.I2C_setAddressSize(1, -1, kTimeout); }, "I2CAddressSizeNotVaildError"},
      {"modes", [](Bench& b) { b.i2c._checkI2CPinState(1, 1, kTimeout); }, kType},
      {"timeout", [](Bench& b) { b.i2c.I2C_open(1, "soon"); }, kType},
  };
  for (const int address : {-1, 0x80, 0x150}) {
    rows.push_back({"write", [address](Bench& b) { b.i2c.I2C_write(1, address, List{}, kTimeout); }, kRange});
    rows.push_back({"read", [address](Bench& b) { b.i2c.I2C_read(1, address, 1, kTimeout); }, kRange});
  }
  for (const Argument& port : {Argument(0), Argument(3), Argument(-1), Argument(257), Argument::hugeInt(true)}) {
    rows.push_back({"open", [port](Bench& b) { b.i2c.I2C_open(port, kTimeout); }, kPort});
    rows.push_back({"close", [port](Bench& b) { b.i2c.I2C_close(port, kTimeout); }, kPort});
    rows.push_back({"clock", [port](Bench& b) { b.i2c.I2C_setClockRate(port, 0, kTimeout); }, kPort});
    rows.push_back({"size", [port](Bench& b) { b.i2c.I2C_setAddressSize(port, 0, kTimeout); }, kPort});
    rows.push_back({"write", [port](Bench& b) { b.i2c.I2C_write(port, 0x50, List{1}, kTimeout); }, kPort});
    rows.push_back({"read", [port](Bench& b) { b.i2c.I2C_read(port, 0x50, 1, kTimeout); }, kPort});
    rows.push_back({"reset", [port](Bench& b) { b.i2c.I2C_reset(port, kTimeout); }, kPort});
    rows.push_back({"pins", [port](Bench& b) { b.i2c._checkI2CPinState(port, List{"Idle"}, kTimeout); }, kPort});
  }
  Bench bench;
  checkRefusals(bench, rows);
  bench.replies[SET_I2C_ADDR_SIZE] = {1, 0};
  bench.i2c.I2C_setAddressSize(1, 1, kTimeout);
  checkRefusals(bench, {
                           {"10 bits", [](Bench& b) { b.i2c.I2C_read(1, 0x400, 1, kTimeout); }, kRange},
                           {"10 bits", [](Bench& b) { b.i2c.I2C_write(1, -1, List{}, kTimeout); }, kRange},
                       });
}

}  // namespace
}  // namespace qvx::test
