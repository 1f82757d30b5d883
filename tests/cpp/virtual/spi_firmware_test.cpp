#include "bench_fixture.h"

#include "core/constants.h"

namespace qvx::bench {
namespace {

DeviceSetup parts() {
  DeviceSetup setup = feroxA();
  setup.model = findModel("CordlogF1D");
  setup.attachments = {Attachment::parse("spi1=74hc595"), Attachment::parse("spi2=loopback")};
  return setup;
}

class SpiFirmwareTest : public BenchTest {
 protected:
  explicit SpiFirmwareTest(const DeviceSetup& setup = parts()) : BenchTest(setup) {
    ask(OPEN_SPI, {1});
    ask(OPEN_SPI, {2});
  }

  struct Step {
    int code;
    Bytes request;
    Bytes reply;
  };
  void play(const std::vector<Step>& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      EXPECT_EQ(ask(steps[i].code, steps[i].request), steps[i].reply) << "step " << i << ", command " << steps[i].code;
    }
  }
};

TEST_F(SpiFirmwareTest, AShiftRegisterGivesWhatItGotAByteAgo) {
  play({
      {READ_AND_WRITE_SPI, {1, 0xA5, 0x3C}, {1, 0, 0, 0xA5}},
      {READ_SPI, {1, 2}, {1, 0, 0x3C, 0}},
      {WRITE_SPI, {1, 1, 0x81}, {1, 0}},
      {READ_AND_WRITE_SPI, {1, 0xFF}, {1, 0, 0x81}},
      {SET_SPI_FIRST_BIT, {1, 1}, {1, 0}},  // the bits of the byte, the other way round
      {WRITE_SPI, {1, 0x0D}, {1, 0}},
      {SET_SPI_FIRST_BIT, {1, 0}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 0, 0xB0}},
      {SET_SPI_DATA_SIZE, {1, 1}, {1, 0}},
      {READ_AND_WRITE_SPI, {1, 0x12, 0x34}, {1, 0, 0, 0x12}},
      {SET_SPI_FIRST_BIT, {1, 1}, {1, 0}},  // of the word: the byte that is written first goes second
      {READ_AND_WRITE_SPI, {1, 0x80, 0x01}, {1, 0, 0x01, 0x2C}},
      {READ_AND_WRITE_SPI, {1, 1}, {1, 22}},  // half a word
      {READ_SPI, {1, 3}, {1, 22}},
      {RESET_SPI, {1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 0, 0x01}},
  });
}

// It shifts at rising edges: in mode 1 data changes there, and every bit comes one edge late.
TEST_F(SpiFirmwareTest, OnlyTheClocksRightEdgeMovesData) {
  for (const std::uint8_t mode : {0, 1, 2, 3}) {
    const auto half = [&](int code, int bit) { return ask(code, {1, static_cast<std::uint8_t>(bit)}); };
    EXPECT_EQ(half(SET_SPI_CPOL, mode >> 1), (Bytes{1, 0}));
    EXPECT_EQ(half(SET_SPI_CPHA, mode & 1), (Bytes{1, 0}));
    EXPECT_EQ(ask(WRITE_SPI, {1, 0xA5}), (Bytes{1, 0}));
    ask(SET_SPI_CPOL, {1, 0});
    ask(SET_SPI_CPHA, {1, 0});
    EXPECT_EQ(ask(READ_SPI, {1, 1}), (Bytes{1, 0, static_cast<std::uint8_t>(mode == 1 ? 0x52 : 0xA5)})) << int{mode};
  }
}

TEST_F(SpiFirmwareTest, ALoopbackReturnsWhatIsSentInEveryMode) {
  for (const std::uint8_t polarity : {0, 1}) {
    for (const std::uint8_t phase : {0, 1}) {
      ask(SET_SPI_CPOL, {2, polarity});
      ask(SET_SPI_CPHA, {2, phase});
      EXPECT_EQ(ask(READ_AND_WRITE_SPI, {2, 1, 0x0D, 0x0A, 0xFE}), (Bytes{2, 0, 1, 0x0D, 0x0A, 0xFE}));
    }
  }
  Bytes longest(257, 0x5A);
  longest[0] = 2;
  Bytes back = longest;
  back.insert(back.begin() + 1, 0);
  EXPECT_EQ(ask(READ_AND_WRITE_SPI, longest), back);
  longest.push_back(1);
  EXPECT_EQ(ask(READ_AND_WRITE_SPI, longest), (Bytes{2, 22}));
  EXPECT_EQ(ask(WRITE_SPI, longest), (Bytes{2, 22}));
}

TEST_F(SpiFirmwareTest, RefusesWhatItCannotDo) {
  play({
      {OPEN_SPI, {3}, {3, 11}},
      {SET_SPI_PRESCALER, {1, 0, 2}, {1, 0}},
      {SET_SPI_PRESCALER, {1, 1, 0}, {1, 0}},
      {SET_SPI_PRESCALER, {1, 0, 3}, {1, 22}},
      {SET_SPI_PRESCALER, {1, 0, 1}, {1, 22}},
      {SET_SPI_PRESCALER, {1, 2, 0}, {1, 22}},
      {SET_SPI_PRESCALER, {1, 0, 0}, {1, 22}},
      {SET_SPI_DATA_SIZE, {1, 2}, {1, 22}},
      {SET_SPI_CPOL, {1, 2}, {1, 22}},
      {CLOSE_SPI, {1}, {1, 0}},
      {SET_SPI_DATA_SIZE, {1, 1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 10}},
      {WRITE_SPI, {1, 1}, {1, 10}},
      {OPEN_SPI, {1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 22}},  // the data size has survived
  });
}

class BareSpiTest : public SpiFirmwareTest {
 protected:
  static DeviceSetup bare() {
    DeviceSetup setup = parts();
    setup.attachments.clear();
    return setup;
  }
  BareSpiTest() : SpiFirmwareTest(bare()) {}
};

TEST_F(BareSpiTest, WithoutASlaveTheInputIsHigh) {
  play({{READ_AND_WRITE_SPI, {1, 0, 1}, {1, 0, 0xFF, 0xFF}}, {READ_SPI, {2, 1}, {2, 0, 0xFF}}});
}

}  // namespace
}  // namespace qvx::bench
