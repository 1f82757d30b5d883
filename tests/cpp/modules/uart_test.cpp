#include "tests/cpp/modules/bus_bench.h"

#include <future>

namespace qvx::test {
namespace {

using Frames = std::vector<std::string>;

TEST(UART, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_BUS_CALL(uart.UART_setBaudRate(1, 400000, kTimeout)), "02 00 06 86 01 00 06 1A 80 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_setBaudRate(2, 9600, kTimeout)), "02 00 06 86 02 00 00 25 80 0D 0A", {2, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_setDataBit(1, 1, kTimeout)), "02 00 03 87 01 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_setParity(1, 3, kTimeout)), "02 00 03 88 01 03 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_setParity(1, 1, kTimeout)), "02 00 03 88 01 01 0D 0A", {1, 0}, "0", 1},  // reserved
      {QVX_BUS_CALL(uart.UART_setNumStopBit(2, 3, kTimeout)), "02 00 03 8B 02 03 0D 0A", {2, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_reset(2, kTimeout)), "02 00 02 85 02 0D 0A", {2, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_stopReading(1, kTimeout)), "02 00 02 83 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_write(1, "Hi\r\n", kTimeout)), "02 00 06 82 01 48 69 0D 0A 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_write(1, "\xC3\xBF", kTimeout)), "02 00 03 82 01 FF 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_write(1, "", kTimeout)), "02 00 02 82 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(uart.UART_write(2, (std::vector<Argument>{"a", 0, 255, "\xC2\x80"}), kTimeout)),
       "02 00 06 82 02 61 00 FF 80 0D 0A",
       {2, 0},
       "0",
       1},
  };
  BusBench bench;
  for (const auto& row : rows) {
    check(bench, row);
  }
  EXPECT_EQ(bench.framesOf([&] { EXPECT_EQ(bench.uart._UART_startReading(2), 0); }), Frames{"02 00 02 81 02 0D 0A"});
  bench.replies[WRITE_UART] = {1, 0};
  const auto sent = bench.frameOf([&] { bench.uart.UART_write(1, std::string(50, 'x'), kTimeout); });
  EXPECT_EQ(sent.substr(0, 17), "02 00 34 82 01 78");
}

TEST(UART, RefusesBeforeAnythingIsSent) {
  constexpr const char* kPort = "UARTPortNotAvaliableError";
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kType = "InputTypeNotCorrectError";
  BusBench bench;
  checkRefusals(
      bench,
      {
          {"port 0", QVX_BUS_REFUSAL(uart.UART_open(0, kTimeout)), kPort},
          {"port 3", QVX_BUS_REFUSAL(uart.UART_close(3, kTimeout)), kPort},
          {"port first", QVX_BUS_REFUSAL(uart.UART_setBaudRate(3, "x", kTimeout)), kPort},
          {"read", QVX_BUS_REFUSAL(uart.UART_read(0, 1, 0)), kPort},
          {"rate", QVX_BUS_REFUSAL(uart.UART_setBaudRate(1, 400001, kTimeout)), "UARTBaudRateNotSupportError"},
          {"below 0", QVX_BUS_REFUSAL(uart.UART_setBaudRate(1, -1, kTimeout)), "UARTBaudRateNotSupportError"},
          {"data", QVX_BUS_REFUSAL(uart.UART_setDataBit(1, 2, kTimeout)), "UARTDataBitNotSupportError"},
          {"parity", QVX_BUS_REFUSAL(uart.UART_setParity(1, 4, kTimeout)), "UARTParityNotSupportError"},
          {"stop", QVX_BUS_REFUSAL(uart.UART_setNumStopBit(1, -1, kTimeout)), "UARTStopBitNotSupportError"},
          {"51", QVX_BUS_REFUSAL(uart.UART_write(1, std::string(51, 'x'), kTimeout)), "UARTExceedMaxLengthError"},
          {"51 items", QVX_BUS_REFUSAL(uart.UART_write(1, std::vector<Argument>(51, 1), kTimeout)),
           "UARTExceedMaxLengthError"},
          {"256", QVX_BUS_REFUSAL(uart.UART_write(1, std::vector<Argument>{256}, kTimeout)), kRange},
          {"beyond a byte", QVX_BUS_REFUSAL(uart.UART_write(1, "\xC4\x80", kTimeout)), kRange},
          {"two at once", QVX_BUS_REFUSAL(uart.UART_write(1, std::vector<Argument>{"ab"}, kTimeout)), kType},
          {"a number", QVX_BUS_REFUSAL(uart.UART_write(1, 5, kTimeout)), kType},
          {"timeout", QVX_BUS_REFUSAL(uart.UART_open(1, "soon")), kType},
          {"timeout", QVX_BUS_REFUSAL(uart.UART_close(1, "soon")), kType},
          {"count", QVX_BUS_REFUSAL(uart.UART_read(1, -2, 0)), kRange},
          {"delay", QVX_BUS_REFUSAL(uart.UART_read(1, 1, -1)), kRange},
      });
}

TEST(UART, OpensWhenItsPinsAreFree) {
  struct Row {
    int port;
    std::uint32_t modes;  // of every digital port
    bool opens;
  };
  for (const Row& row : {Row{1, 0x11111111, true}, Row{1, 0x99999932, true}, Row{1, 0x11111141, false},
                         Row{1, 0x11111110, false}, Row{2, 0x11112111, true}, Row{2, 0x11115111, false}}) {
    SCOPED_TRACE(row.modes);
    BusBench bench;
    bench.replies = {{GET_PIN_MODE_OF_SLOT, pinModes(row.modes)},
                     {OPEN_UART, {1, 0}},
                     {STOP_UART_READING, {1, 0}},
                     {CLOSE_UART, {1, 0}}};
    const std::string port = "0" + std::to_string(row.port);
    Frames frames{"02 00 02 7F 02 0D 0A"};
    if (row.port == 2 && row.opens) {
      frames.emplace_back("02 00 02 7F 03 0D 0A");  // its pins are on two digital ports
    }
    if (row.opens) {
      frames.push_back("02 00 02 80 " + port + " 0D 0A");
      frames.push_back("02 00 02 81 " + port + " 0D 0A");
    }
    std::string failure;
    const auto sent = bench.framesOf([&] { failure = failureOf([&] { bench.uart.UART_open(row.port, kTimeout); }); });
    EXPECT_EQ(failure, row.opens ? "" : "UARTPortNotAvaliableError");
    if (row.port == 1 || row.opens) {
      EXPECT_EQ(sent, frames);
    }
    EXPECT_EQ(bench.uart.uartOpenFlag(), row.opens);
    EXPECT_EQ(bench.uart.decoder(0).opened(), row.opens);
    if (row.opens) {
      EXPECT_EQ(bench.framesOf([&] { bench.uart.UART_close(row.port, kTimeout); }),
                (Frames{"02 00 02 83 " + port + " 0D 0A", "02 00 02 84 " + port + " 0D 0A"}));
      EXPECT_FALSE(bench.uart.uartOpenFlag());
      EXPECT_FALSE(bench.uart.decoder(1).opened());
    }
  }
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

TEST(UART, AFullQueueDropsAndWarns) {
  BusBench bench;
  bench.uart.decoder(0).open();
  const Bytes block(60000, 'x');
  const std::size_t blocks = QUEUE_SIZE_MAX / block.size() + 2;
  for (std::size_t i = 0; i < blocks; ++i) {
    bench.uart.rawQueue(0)->put(block);
  }
  const auto& queue = *bench.uart.signalQueue(0);
  EXPECT_TRUE(eventually([&] { return queue.dropped() == blocks * block.size() - QUEUE_SIZE_MAX; }));
  EXPECT_TRUE(eventually([&] { return !bench.host.warnings().empty(); }));
  EXPECT_EQ(bench.host.warnings().front(), "UARTQueueOverflowWarning");
  EXPECT_EQ(bench.uart.UART_read(1, -1, 0).size(), static_cast<std::size_t>(QUEUE_SIZE_MAX));
}

}  // namespace
}  // namespace qvx::test
