#include "modules/bus/spi.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

TEST(SPI, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_CALL(spi.SPI_close(1, kTimeout)), "02 00 02 A4 01 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi.SPI_setDataSize(2, 1, kTimeout)), "02 00 03 A6 02 01 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(spi.SPI_setFirstBit(1, 1, kTimeout)), "02 00 03 A7 01 01 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi.SPI_setPrescaler(1, 2, kTimeout)), "02 00 04 A8 01 00 02 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi.SPI_setPrescaler(1, 256, kTimeout)), "02 00 04 A8 01 01 00 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi._SPI_setCPOL(1, 1, kTimeout)), "02 00 03 A9 01 01 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi._SPI_setCPHA(2, 1, kTimeout)), "02 00 03 AA 02 01 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(spi.SPI_write(1, List{0, 13, 10, 255}, kTimeout)), "02 00 06 A2 01 00 0D 0A FF 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi.SPI_write(1, List{}, kTimeout)), "02 00 02 A2 01 0D 0A", {1, 0}, "0", 1},
      {QVX_CALL(spi.SPI_read(1, 3, kTimeout)), "02 00 03 A1 01 03 0D 0A", {1, 0, 7, 8, 9}, "[7,8,9]", 1},
      {QVX_CALL(spi.SPI_read(1, 255, kTimeout)), "02 00 03 A1 01 FF 0D 0A", {1, 0}, "[]", 1},
      {QVX_CALL(spi.SPI_readAndWrite(2, List{1, 2}, kTimeout)),
       "02 00 04 A3 02 01 02 0D 0A",
       {2, 0, 254, 253},
       "[254,253]",
       1},
      {QVX_CALL(spi.SPI_reset(2, kTimeout)), "02 00 02 A5 02 0D 0A", {2, 0}, "0", 1},
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

TEST(SPI, AModeIsPolarityThenPhase) {
  Bench bench;
  bench.replies = {{SET_SPI_CPOL, {1, 0}}, {SET_SPI_CPHA, {1, 0}}};
  bench.transport->sent();
  for (int mode = 0; mode < 4; ++mode) {
    EXPECT_EQ(bench.spi.SPI_setMode(1, mode, kTimeout), 0);
    const std::string polarity = mode < 2 ? "00" : "01";
    const std::string phase = mode % 2 == 0 ? "00" : "01";
    EXPECT_EQ(bench.transport->sent(), (std::vector<std::string>{"02 00 03 A9 01 " + polarity + " 0D 0A",
                                                                 "02 00 03 AA 01 " + phase + " 0D 0A"}));
  }
  bench.replies[SET_SPI_CPHA] = {1, 22};
  EXPECT_EQ(failureOf([&] { bench.spi.SPI_setMode(1, 3, kTimeout); }), "FirmwareSPIError");
  bench.transport->sent();
  bench.replies[SET_SPI_CPOL] = {1, 10};
  EXPECT_EQ(failureOf([&] { bench.spi.SPI_setMode(1, 3, kTimeout); }), "FirmwareEnableError");
  EXPECT_EQ(bench.transport->sent(), std::vector<std::string>{"02 00 03 A9 01 01 0D 0A"});
}

// The modes of pins 2 and 4 of a digital port; all others are UART.
Bytes modesOf(int pin2, int pin4) {
  return {0, 8, 0x44, static_cast<std::uint8_t>(0x40 | pin4), static_cast<std::uint8_t>(0x40 | pin2), 0x44};
}

// 0 disabled, 1 idle, 2 DI, 3 DO, 4 UART, 5 I2C, 6 SPI. Port 2 uses pin 4 of digital port 2 and pin 2 of port 3.
TEST(SPI, OpensPinsThatAreIdleOrDigital) {
  const std::vector<std::string> asked{"02 00 02 7F 02 0D 0A", "02 00 02 7F 03 0D 0A"};
  Bench bench;
  bench.replies[OPEN_SPI] = {2, 0};
  for (const int mode : {1, 2, 3}) {
    bench.replies[GET_PIN_MODE_OF_SLOT] = modesOf(mode, 1);
    bench.transport->sent();
    EXPECT_EQ(bench.spi.SPI_open(2, kTimeout), 0);
    auto frames = asked;
    frames.emplace_back("02 00 02 A0 02 0D 0A");
    EXPECT_EQ(bench.transport->sent(), frames);
  }
  for (const int mode : {0, 4, 5, 6}) {
    bench.replies[GET_PIN_MODE_OF_SLOT] = modesOf(mode, 1);
    EXPECT_EQ(failureOf([&] { bench.spi.SPI_open(2, kTimeout); }), "SPIPortNotAvaliableError");
    EXPECT_EQ(bench.transport->sent(), asked);
    EXPECT_EQ(failureOf([&] {
                bench.spi._checkSPIPinState(2, List{"Idle", "DI"}, kTimeout);
              }),
              "SPIPortNotAvaliableError");
    bench.replies[GET_PIN_MODE_OF_SLOT] = modesOf(2, mode);
    EXPECT_EQ(failureOf([&] { bench.spi.SPI_open(2, kTimeout); }), "SPIPortNotAvaliableError");
    bench.transport->sent();
  }
  bench.replies[GET_PIN_MODE_OF_SLOT] = modesOf(6, 2);
  bench.spi._checkSPIPinState(2, List{"DI", "SPI"}, kTimeout);
  EXPECT_EQ(failureOf([&] { bench.spi._checkSPIPinState(2, List{}, kTimeout); }), "SPIPortNotAvaliableError");
  bench.replies[GET_PIN_MODE_OF_SLOT] = {11};
  EXPECT_EQ(failureOf([&] { bench.spi.SPI_open(2, kTimeout); }), "FirmwarePinIndexError");
  bench.replies[GET_PIN_MODE_OF_SLOT] = modesOf(1, 1);
  bench.replies[OPEN_SPI] = {2, 22};
  EXPECT_EQ(failureOf([&] { bench.spi.SPI_open(2, kTimeout); }), "FirmwareSPIError");
}

TEST(SPI, RefusesArgumentsBeforeAnythingIsSent) {
  constexpr const char* kPort = "SPIPortNotAvaliableError";
  constexpr const char* kType = "InputTypeNotCorrectError";
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kMode = "SPIModeNotVaildError";
  std::vector<Refusal> rows{
      {"data", [](Bench& b) { b.spi.SPI_write(1, List{256}, kTimeout); }, kRange},
      {"data", [](Bench& b) { b.spi.SPI_write(1, 5, kTimeout); }, kType},
      {"data", [](Bench& b) { b.spi.SPI_readAndWrite(1, List{-1}, kTimeout); }, kRange},
      {"data",
       [](Bench& b) {
         b.spi.SPI_readAndWrite(1, List{1, 1.0}, kTimeout);
       },
       kType},
      {"data", [](Bench& b) { b.spi.SPI_write(1, List(65534, 0), kTimeout); }, kRange},  // no frame holds so many
      {"count", [](Bench& b) { b.spi.SPI_read(1, 256, kTimeout); }, kRange},
      {"count", [](Bench& b) { b.spi.SPI_read(1, -1, kTimeout); }, kRange},
      {"count", [](Bench& b) { b.spi.SPI_read(1, 1.0, kTimeout); }, kType},
      {"polarity", [](Bench& b) { b.spi._SPI_setCPOL(1, 2, kTimeout); }, kMode},
      {"phase", [](Bench& b) { b.spi._SPI_setCPHA(1, -1, kTimeout); }, kMode},
      {"mode", [](Bench& b) { b.spi.SPI_setMode(1, "0", kTimeout); }, kType},
      {"modes", [](Bench& b) { b.spi._checkSPIPinState(1, "Idle", kTimeout); }, kType},
      {"modes",
       [](Bench& b) {
         b.spi._checkSPIPinState(1, List{"Idle", 1}, kTimeout);
       },
       kType},
      {"timeout", [](Bench& b) { b.spi.SPI_open(1, "soon"); }, kType},
      {"timeout", [](Bench& b) { b.spi.SPI_setMode(1, 0, Argument()); }, kType},
  };
  for (const int mode : {-1, 2}) {
    rows.push_back(
        {"size", [mode](Bench& b) { b.spi.SPI_setDataSize(1, mode, kTimeout); }, "SPIDataSizeNotVaildError"});
    rows.push_back({"bit", [mode](Bench& b) { b.spi.SPI_setFirstBit(1, mode, kTimeout); }, "SPIFirstBitNotVaildError"});
    rows.push_back({"mode", [mode](Bench& b) { b.spi.SPI_setMode(1, mode == 2 ? 4 : mode, kTimeout); }, kMode});
  }
  for (const int prescaler : {-2, 0, 1, 3, 6, 255, 257, 512, 65536}) {
    rows.push_back({"prescaler", [prescaler](Bench& b) { b.spi.SPI_setPrescaler(1, prescaler, kTimeout); },
                    "SPIPrescalerNotVaildError"});
  }
  for (const Argument& port : {Argument(0), Argument(3), Argument(-1), Argument(257), Argument::hugeInt(false)}) {
    rows.push_back({"open", [port](Bench& b) { b.spi.SPI_open(port, kTimeout); }, kPort});
    rows.push_back({"close", [port](Bench& b) { b.spi.SPI_close(port, kTimeout); }, kPort});
    rows.push_back({"size", [port](Bench& b) { b.spi.SPI_setDataSize(port, 0, kTimeout); }, kPort});
    rows.push_back({"bit", [port](Bench& b) { b.spi.SPI_setFirstBit(port, 0, kTimeout); }, kPort});
    rows.push_back({"prescaler", [port](Bench& b) { b.spi.SPI_setPrescaler(port, 2, kTimeout); }, kPort});
    rows.push_back({"mode", [port](Bench& b) { b.spi.SPI_setMode(port, 0, kTimeout); }, kPort});
    rows.push_back({"polarity", [port](Bench& b) { b.spi._SPI_setCPOL(port, 0, kTimeout); }, kPort});
    rows.push_back({"phase", [port](Bench& b) { b.spi._SPI_setCPHA(port, 0, kTimeout); }, kPort});
    rows.push_back({"write", [port](Bench& b) { b.spi.SPI_write(port, List{1}, kTimeout); }, kPort});
    rows.push_back({"read", [port](Bench& b) { b.spi.SPI_read(port, 1, kTimeout); }, kPort});
    rows.push_back({"both", [port](Bench& b) { b.spi.SPI_readAndWrite(port, List{1}, kTimeout); }, kPort});
    rows.push_back({"reset", [port](Bench& b) { b.spi.SPI_reset(port, kTimeout); }, kPort});
    rows.push_back({"pins", [port](Bench& b) { b.spi._checkSPIPinState(port, List{"Idle"}, kTimeout); }, kPort});
  }
  Bench bench;
  checkRefusals(bench, rows);
}

}  // namespace
}  // namespace qvx::test
