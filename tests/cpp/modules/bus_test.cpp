// Serial ports, I2C and CAN: when they open, what they receive.
#include "modules/bus/can.h"
#include "modules/bus/i2c.h"
#include "modules/bus/uart.h"
#include "tests/cpp/modules/bench.h"

#include <future>

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

struct BusBench : Bench {
  UARTOperations uart{Link(device), {{{1, {{2, 0}, {2, 1}}}, {2, {{2, 2}, {3, 3}}}}}};
  CANOperations can{Link(device), {{{1, {{1, 4}, {1, 5}}}}}};
  I2COperations i2c{Link(device), {{{1, {{2, 6}, {2, 7}}}, {2, {{3, 0}, {3, 1}}}}}};

  ~BusBench() { device.close(); }
};

// The range follows the size that was set last.
TEST(I2C, AddressesOfTenBitsHaveARangeOfTheirOwn) {
  BusBench bench;
  bench.replies[SET_I2C_ADDR_SIZE] = {1, 0};
  bench.i2c.I2C_setAddressSize(1, 1, kTimeout);
  const auto read = [](Bench& b) { static_cast<BusBench&>(b).i2c.I2C_read(1, 0x400, 1, kTimeout); };
  const auto write = [](Bench& b) { static_cast<BusBench&>(b).i2c.I2C_write(1, -1, List{}, kTimeout); };
  checkRefusals(bench, {{"read", read, "InputDataNotInRangeError"}, {"write", write, "InputDataNotInRangeError"}});
}

// The reply to a query of pin modes: status, 8 pins, their modes as hexadecimal digits, pin 7 first.
Bytes pinModes(std::uint32_t modes) {
  return payload(u8(0), u8(8), u32(modes));
}

TEST(Buses, WhatTheDeviceRefusedIsNotOpen) {
  BusBench bench;
  // What the splitter makes of a reply to OPEN_CAN with the payload [1, 57].
  bench.replies = {{GET_PIN_MODE_OF_SLOT, pinModes(0x11111111)}, {OPEN_UART, {1, 23}}, {OPEN_CAN << 8 | 1, {57}}};
  EXPECT_EQ(failureOf([&] { bench.can.CAN_open(1, kTimeout); }), "FirmwareCANError");
  EXPECT_EQ(failureOf([&] { bench.uart.UART_open(1, kTimeout); }), "FirmwareUARTError");
  EXPECT_FALSE(bench.can.canOpenFlag() || bench.uart.uartOpenFlag());
}

TEST(UART, BothPortsAreReadUntilTheLastIsClosed) {
  BusBench bench;
  bench.replies = {{GET_PIN_MODE_OF_SLOT, pinModes(0x11111111)},
                   {OPEN_UART, {1, 0}},
                   {STOP_UART_READING, {1, 0}},
                   {CLOSE_UART, {1, 0}}};
  bench.uart.UART_open(1, kTimeout);
  bench.uart.UART_open(2, kTimeout);
  bench.device.putToDataPool(START_UART_READING, {1, 0});  // an acknowledgement is no data
  bench.device.putToDataPool(START_UART_READING, {2, 0});
  bench.device.putToDataPool(START_UART_READING, {2, 'a', 'b', 'c'});
  bench.device.putToDataPool(START_UART_READING, {1, 0});  // a byte that looks like one is
  bench.device.putToDataPool(START_UART_READING, {2, 'd', 'e'});
  EXPECT_EQ(bench.uart.UART_read(2, 4, kTimeout), text("abcd"));
  EXPECT_EQ(bench.uart.UART_read(2, 1, kTimeout), text("e"));
  EXPECT_EQ(bench.uart.UART_read(1, 1, kTimeout), Bytes{0});
  bench.uart.UART_close(1, kTimeout);
  EXPECT_TRUE(bench.uart.uartOpenFlag());
  bench.device.putToDataPool(START_UART_READING, {2, 'f'});
  EXPECT_EQ(bench.uart.UART_read(2, 1, kTimeout), text("f"));
  EXPECT_TRUE(bench.uart.UART_read(2, 5, 0.01).empty());
  EXPECT_TRUE(bench.uart.UART_read(2, -1, 600).empty());
  bench.uart.UART_close(2, kTimeout);
  bench.uart.UART_close(2, kTimeout);
  EXPECT_FALSE(bench.uart.uartOpenFlag());
  const auto closing = std::async(std::launch::async, [&] { bench.device.close(); });
  EXPECT_TRUE(bench.uart.UART_read(1, 5, 600).empty());  // close() ends the wait
}

Bytes records(std::initializer_list<int> ids) {
  Bytes packet{1};
  for (const int id : ids) {
    const Bytes record = payload(u32(static_cast<std::uint32_t>(id) << 21), u8(2), Bytes{7, 8, 0, 0, 0, 0, 0, 0});
    packet.insert(packet.end(), record.begin(), record.end());
  }
  return packet;
}

std::vector<std::uint32_t> idsOf(const std::vector<CANFrame>& frames) {
  std::vector<std::uint32_t> ids(frames.size());
  std::transform(frames.begin(), frames.end(), ids.begin(), [](const CANFrame& frame) { return frame.id(); });
  return ids;
}

TEST(CAN, ReadsFramesInOrder) {
  BusBench bench;
  bench.can.decoder().open();
  bench.device.putToDataPool(START_CAN, {1, 0});  // a reply
  bench.device.putToDataPool(START_CAN, records({1, 2, 3}));
  auto broken = records({4, 5});
  broken.resize(broken.size() - 1);
  bench.device.putToDataPool(START_CAN, broken);
  bench.device.putToDataPool(START_CAN, records({6}));
  const auto frames = bench.can.CAN_read(1, 2, kTimeout);
  EXPECT_EQ(idsOf(frames), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_EQ(frames[0], CANFrame(1, List{7, 8}, false, false));
  EXPECT_EQ(frames[0].length(), 2);
  EXPECT_GT(frames[0].timestamp(), 1.7e9);
  EXPECT_EQ(idsOf(bench.can.CAN_read(1, 3, kTimeout)), (std::vector<std::uint32_t>{3, 4, 6}));
  EXPECT_TRUE(bench.can.CAN_read(1, -1, 600).empty());
  EXPECT_TRUE(bench.can.CAN_read(1, 1, 0.01).empty());
  const auto closing = std::async(std::launch::async, [&] { bench.device.close(); });
  EXPECT_TRUE(bench.can.CAN_read(1, 1, 600).empty());  // close() ends the wait
  EXPECT_TRUE(bench.can.can_killed);
}

TEST(Buses, FullQueuesDropAndWarn) {
  BusBench bench;
  bench.uart.decoder(0).open();
  bench.can.decoder().open();
  constexpr std::size_t kRows = QUEUE_SIZE_MAX / 10;
  for (int i = 0; i < 11; ++i) {
    bench.uart.rawQueue(0)->put(Bytes(kRows, 'x'));
    bench.can.rawQueue()->put(Bytes(kRows * CANFrame::kRecordSize));
  }
  EXPECT_TRUE(eventually([&] { return bench.uart.signalQueue(0)->dropped() == kRows; }));
  EXPECT_TRUE(eventually([&] { return bench.can.frameQueue()->dropped() == kRows; }));
  EXPECT_TRUE(eventually([&] { return bench.host.warnings().size() >= 2; }));
  auto warnings = bench.host.warnings();
  std::sort(warnings.begin(), warnings.end());
  EXPECT_EQ(warnings, (std::vector<std::string>{"CANQueueOverflowWarning", "UARTQueueOverflowWarning"}));
  EXPECT_EQ(bench.uart.UART_read(1, -1, 0).size(), static_cast<std::size_t>(QUEUE_SIZE_MAX));
}

}  // namespace
}  // namespace qvx::test
