#include "bench_fixture.h"

#include "core/constants.h"
#include "virtual/serial_line.h"

#include <algorithm>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

Bytes received(ByteView sent, const LineSettings& sender, const LineSettings& receiver) {
  Bytes values;
  for (const Character& character : receivedOf(sent, sender, receiver)) {
    values.push_back(character.value);
  }
  return values;
}

TEST(SerialLine, CarriesWhatBothEndsAgreeOn) {
  Bytes all(256);
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i] = static_cast<std::uint8_t>(i);
  }
  const LineSettings plain{};
  struct Case {
    const char* what;
    LineSettings sender;
    LineSettings receiver;
    bool same;
  };
  const Case cases[] = {
      {"equal", {.baud_rate = 9600}, {.baud_rate = 9600}, true},
      {"3 % slower", {.baud_rate = 100000}, {.baud_rate = 97000}, true},
      {"3 % faster", {.baud_rate = 100000}, {.baud_rate = 103000}, true},
      {"10 % slower", {.baud_rate = 100000}, {.baud_rate = 90000}, false},
      {"half", {.baud_rate = 115200}, {.baud_rate = 57600}, false},
      {"twice", {.baud_rate = 57600}, {.baud_rate = 115200}, false},
      {"more stop bits sent", {.stop_mode = 2}, plain, true},
      {"ninth bit sent", {.nine_bits = true}, plain, true},        // a 0 where the stop bit is due
      {"parity expected", plain, {.parity = Parity::Odd}, false},  // swallows the start bits that follow at once
  };
  for (const Case& c : cases) {
    EXPECT_EQ(received(all, c.sender, c.receiver) == all, c.same) << c.what;
  }
  // At half the rate the ends of two bits are sampled: 0 1 0 1 ... of a U (and its stop bit) read as it must be.
  EXPECT_EQ(received(Bytes{'U'}, {.baud_rate = 20000}, {.baud_rate = 10000}).size(), 1U);
  // A 0 at a tenth of the receiver's rate is a long low: one character of zeros.
  EXPECT_EQ(received(Bytes{0x00}, {.baud_rate = 10000}, {.baud_rate = 100000}), Bytes{0x00});
  EXPECT_EQ(received(Bytes{0xFF}, {.baud_rate = 10000}, {.baud_rate = 100000}), Bytes{0x00});
  EXPECT_TRUE(received(Bytes{}, plain, {.baud_rate = 1}).empty());
}

DeviceSetup crossed() {
  DeviceSetup setup = feroxA();
  setup.model = findModel("CordlogF1D");
  setup.wires = {Wire::parse("uart1=uart2"), Wire::parse("uart2=uart1")};
  return setup;
}

class UartFirmwareTest : public BenchTest {
 protected:
  UartFirmwareTest() : BenchTest(crossed()) {}

  void open(std::uint8_t port) {
    EXPECT_EQ(ask(OPEN_UART, {port}), (Bytes{port, 0}));
    EXPECT_EQ(ask(START_UART_READING, {port}), (Bytes{port, 0}));
    outlet_.frames.clear();
  }
  void write(std::uint8_t port, const Bytes& data) {
    EXPECT_EQ(ask(WRITE_UART, payload(u8(port), data)), (Bytes{port, 0}));
    outlet_.frames.clear();
  }
  Bytes streamedFrom(std::uint8_t port) {
    Bytes data;
    for (const Frame& frame : outlet_.frames) {
      EXPECT_EQ(frame.code, START_UART_READING);
      if (frame.payload.at(0) == port) {
        data.insert(data.end(), frame.payload.begin() + 1, frame.payload.end());
      }
    }
    outlet_.frames.clear();
    return data;
  }
};

TEST_F(UartFirmwareTest, RefusesWhatDoesNotFit) {
  play({
      {OPEN_UART, {3}, {3, 11}},
      {START_UART_READING, {1}, {1, 23}},  // not open
      {WRITE_UART, {1, 'x'}, {1, 23}},
      {OPEN_UART, {1}, {1, 0}},
      {SET_UART_BAUD_RATE, payload(u8(1), u32(400000)), {1, 0}},
      {SET_UART_BAUD_RATE, payload(u8(1), u32(400001)), {1, 23}},
      {SET_UART_BAUD_RATE, payload(u8(1), u32(0)), {1, 23}},
      {SET_UART_DATA_SIZE, {1, 2}, {1, 23}},
      {SET_UART_PARITY, {1, 4}, {1, 23}},
      {SET_UART_NUM_STOP_BITS, {1, 4}, {1, 23}},
      {SET_UART_NUM_STOP_BITS, {1}, {1, 80}},
      {WRITE_UART, Bytes(66, 1), {1, 80}},
      {STOP_UART_READING, {1}, {1, 0}},
  });
  DeviceSetup twice = crossed();
  twice.wires.push_back(Wire::parse("uart1=uart1"));
  EXPECT_THROW(Device(twice, now_), std::invalid_argument);
  for (const char* text : {"uart1", "uart1=di0", "uart1.2=uart2.2", "uart=uart", "uart1=uart", "=", "uart1=uart2="}) {
    EXPECT_THROW(Wire::parse(text), std::invalid_argument) << text;
  }
}

TEST_F(UartFirmwareTest, CharactersArriveAtTheOtherPortAtTheirPace) {
  open(1);
  open(2);
  for (const std::uint8_t port : {std::uint8_t{1}, std::uint8_t{2}}) {
    EXPECT_EQ(ask(SET_UART_BAUD_RATE, payload(u8(port), u32(1000))), (Bytes{port, 0}));
  }
  write(1, {'a', 'b', 'c'});
  write(1, {'d'});
  pass(29ms);  // 10 ms for each character
  EXPECT_EQ(streamedFrom(2), (Bytes{'a', 'b'}));
  pass(12ms);
  EXPECT_EQ(streamedFrom(2), (Bytes{'c', 'd'}));
  write(2, {'e'});
  pass(1s);
  EXPECT_EQ(streamedFrom(1), Bytes{'e'});
  EXPECT_EQ(device_.due(now_), kNever);
}

TEST_F(UartFirmwareTest, WhatNobodyReadsIsKeptAsFarAsItFits) {
  open(1);
  EXPECT_EQ(ask(OPEN_UART, {2}), (Bytes{2, 0}));
  for (std::uint8_t i = 0; i < 40; ++i) {
    write(1, Bytes(50, i));
    pass(50ms);
  }
  outlet_.frames.clear();
  send(START_UART_READING, {2});
  ASSERT_FALSE(outlet_.frames.empty());
  EXPECT_EQ(outlet_.frames[0].payload, (Bytes{2, 0}));  // before any data
  outlet_.frames.erase(outlet_.frames.begin());
  pass(1s);
  const Bytes data = streamedFrom(2);
  ASSERT_EQ(data.size(), 1024U);
  EXPECT_EQ(data.front(), 0);
  EXPECT_EQ(data.back(), 1023 / 50);  // what came later was overrun
  write(1, {1, 2});
  pass(1s);
  EXPECT_EQ(streamedFrom(2), (Bytes{1, 2}));
  outlet_.space = 0;  // a client that does not read
  write(1, {3, 4});
  pass(1s);
  EXPECT_EQ(device_.due(now_), kNever);
  outlet_.space = 1 << 20;
  device_.tick(now_);
  EXPECT_EQ(streamedFrom(2), (Bytes{3, 4}));
  write(1, {5});
  pass(1s);
  device_.forget(outlet_);
  write(1, {6});
  pass(1s);
  EXPECT_EQ(streamedFrom(2), Bytes{});
}

TEST_F(UartFirmwareTest, AFullSendBufferRefuses) {
  open(1);
  EXPECT_EQ(ask(SET_UART_BAUD_RATE, payload(u8(1), u32(1000))), (Bytes{1, 0}));
  std::size_t written = 0;
  while (ask(WRITE_UART, Bytes(65, 1))[1] == 0) {
    written += 64;
    ASSERT_LE(written, 4096U);
  }
  EXPECT_EQ(written, 4096U);
  pass(640ms);
  EXPECT_EQ(ask(WRITE_UART, Bytes(65, 1)), (Bytes{1, 0}));
  EXPECT_EQ(ask(RESET_UART, {1}), (Bytes{1, 0}));
}

TEST_F(UartFirmwareTest, StoppingBringsWhatHasArrivedBeforeTheReply) {
  open(1);
  open(2);
  write(1, {'x'});
  pass(100us);  // the next packet is due in 5 ms
  write(1, {'a', 'b'});
  now_ += 1ms;
  send(STOP_UART_READING, {2});
  ASSERT_EQ(outlet_.frames.size(), 2U);
  EXPECT_EQ(outlet_.frames[0], (Frame{START_UART_READING, {2, 'a', 'b'}}));
  EXPECT_EQ(outlet_.frames[1], (Frame{STOP_UART_READING, {2, 0}}));
  // Closing ends reading too.
  play({{START_UART_READING, {2}, {2, 0}}, {CLOSE_UART, {2}, {2, 0}}, {OPEN_UART, {2}, {2, 0}}});
  write(1, {'c'});
  pass(1s);
  EXPECT_EQ(streamedFrom(2), Bytes{});
}

}  // namespace
}  // namespace qvx::bench
