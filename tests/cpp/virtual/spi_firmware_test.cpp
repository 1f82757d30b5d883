#include "bench_fixture.h"

#include "core/constants.h"
#include "virtual/session.h"

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

DeviceSetup parts() {
  DeviceSetup setup = feroxA();
  setup.model = findModel("CordlogF1D");
  setup.attachments = {Attachment::parse("spi1=74hc595")};
  return setup;
}

class SpiFirmwareTest : public BenchTest {
 protected:
  SpiFirmwareTest() : BenchTest(parts()) { play({{OPEN_SPI, {1}, {1, 0}}, {OPEN_SPI, {2}, {2, 0}}}); }
};

TEST_F(SpiFirmwareTest, AWordsFirstBitIsTheLastOfItsSecondByte) {
  play({
      {SET_SPI_DATA_SIZE, {1, 1}, {1, 0}},
      {READ_AND_WRITE_SPI, {1, 0x12, 0x34}, {1, 0, 0, 0x12}},
      {SET_SPI_FIRST_BIT, {1, 1}, {1, 0}},  // the byte that is written first goes second
      {READ_AND_WRITE_SPI, {1, 0x80, 0x01}, {1, 0, 0x01, 0x2C}},
      {READ_AND_WRITE_SPI, {1, 1}, {1, 22}},  // half a word
      {RESET_SPI, {1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 0, 0x01}},
      {READ_SPI, {2, 2}, {2, 0, 0xFF, 0xFF}},  // no slave: the input is high
  });
}

// It shifts at rising edges: in mode 1 data changes there, and every bit comes one edge late.
TEST_F(SpiFirmwareTest, OnlyTheClocksRightEdgeMovesData) {
  for (const std::uint8_t mode : {0, 1, 2, 3}) {
    SCOPED_TRACE(int{mode});
    play({
        {SET_SPI_CPOL, {1, static_cast<std::uint8_t>(mode >> 1)}, {1, 0}},
        {SET_SPI_CPHA, {1, static_cast<std::uint8_t>(mode & 1)}, {1, 0}},
        {WRITE_SPI, {1, 0xA5}, {1, 0}},
        {RESET_SPI, {1}, {1, 0}},
        {READ_SPI, {1, 1}, {1, 0, static_cast<std::uint8_t>(mode == 1 ? 0x52 : 0xA5)}},
    });
  }
}

TEST_F(SpiFirmwareTest, TransfersTakeTheirTimeOneAfterTheOther) {
  play({{READ_SPI, {2, 9}, payload(u8(2), u8(0), Bytes(9, 0xFF))}});
  EXPECT_EQ(outlet_.took, 256us);  // 72 bits of 256 / 72 MHz
  play({{SET_SPI_PRESCALER, {2, 0, 4}, {2, 0}}});
  EXPECT_EQ(outlet_.took, 0us);
  play({{WRITE_SPI, payload(u8(2), Bytes(9)), {2, 0}}});
  EXPECT_EQ(outlet_.took, 260us);
  play({{WRITE_SPI, payload(u8(1), Bytes(9)), {1, 0}}});  // another bus
  EXPECT_EQ(outlet_.took, 256us);
  pass(1s);
  play({{WRITE_SPI, payload(u8(2), Bytes(18)), {2, 0}}});
  EXPECT_EQ(outlet_.took, 8us);
}

TEST_F(SpiFirmwareTest, AReplyWaitsForItsTransferAndOthersDoNot) {
  const Log log(LogLevel::Quiet);
  Session session(device_, log, "test");
  session.receive(buildFrame(READ_SPI, Bytes{2, 9}), now_);
  session.receive(buildFrame(READ_SPI, Bytes{1, 1}), now_);
  EXPECT_TRUE(session.output().empty());
  const TimePoint first = session.due();
  EXPECT_EQ(first - now_, std::chrono::ceil<std::chrono::nanoseconds>(std::chrono::duration<double>(8 * 256 / 72e6)));
  session.advance(first);
  EXPECT_EQ(readBig<std::uint8_t>(session.output(), 4), 1);  // the port
  EXPECT_EQ(session.due(), now_ + 256us);
  session.receive(buildFrame(CLOSE_SPI, Bytes{2}), first);
  session.written(session.output().size() - 8);
  EXPECT_EQ(readBig<std::uint8_t>(session.output(), 4), 2);
  session.written(8);
  session.advance(now_ + 256us);
  EXPECT_EQ(session.output().size(), 6U + 11U);
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
      {WRITE_SPI, payload(u8(1), Bytes(256)), {1, 0}},
      {WRITE_SPI, payload(u8(1), Bytes(257)), {1, 22}},
      {READ_AND_WRITE_SPI, payload(u8(1), Bytes(65533)), {1, 22}},
      {CLOSE_SPI, {1}, {1, 0}},
      {SET_SPI_DATA_SIZE, {1, 1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 10}},
      {WRITE_SPI, {1, 1}, {1, 10}},
      {OPEN_SPI, {1}, {1, 0}},
      {READ_SPI, {1, 1}, {1, 22}},  // the data size has survived
  });
}

}  // namespace
}  // namespace qvx::bench
