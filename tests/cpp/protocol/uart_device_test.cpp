// The serial handle, over a pseudo-terminal.
#include "protocol/uart_device.h"

#include "protocol/link.h"
#include "tests/cpp/protocol/fakes.h"
#include "tests/cpp/transport/serial_line.h"

#include <future>

namespace qvx::test {
namespace {

constexpr int kEcho = GET_SERIAL_NUMBER;

struct Bench {
  RecordingHost host;
  SerialLine line;
  UARTDevice device{ProductId::None, true};

  void answer(const Bytes& payload) {
    const Bytes request = buildFrame(kEcho, Bytes{});
    EXPECT_EQ(line.receive(request.size()), request);
    const Bytes reply = buildFrame(kEcho, payload);
    line.send(Bytes(reply.begin(), reply.begin() + 3));
    line.send(Bytes(reply.begin() + 3, reply.end()));
  }
  std::future<std::string> ask() {
    return std::async(std::launch::async, [this] { return Link(device).request(kEcho, {}, 20).text(); });
  }
  bool lost() { return device.commandChannel().state() == Channel::State::Lost; }
};

TEST(UARTDevice, AsksAndSaysWhatHappens) {
  Bench bench;
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(bench.device.connect(bench.line.name()));
    auto reply = bench.ask();
    bench.answer({'Q', static_cast<std::uint8_t>('0' + round)});
    EXPECT_EQ(reply.get(), round == 0 ? "Q0" : "Q1");
    bench.device.disconnect();
    EXPECT_EQ(failureOf([&] { Link(bench.device).send(kEcho, {}); }), "UARTConnectionError");
    bench.line = SerialLine();
  }
  bench.device.close();
  EXPECT_EQ(failureOf([&] { Link(bench.device).request(kEcho, {}, 1); }), "UARTConnectionError");
  EXPECT_EQ(failureOf([&] { bench.device.connect(bench.line.name()); }), "UARTConnectionError");
  EXPECT_EQ(bench.host.lines().front(), "Opened handle (UARTDevice)");
  EXPECT_EQ(bench.host.lines()[1].rfind("Connected to /dev/pts/", 0), 0u) << bench.host.lines()[1];
  EXPECT_EQ(bench.host.lines().back(), "Closed handle (UARTDevice)");
  EXPECT_TRUE(bench.host.failures().empty());
}

TEST(UARTDevice, RefusesArgumentsBeforeAnythingIsOpened) {
  const RecordingHost host;
  for (const auto& [rate, error] :
       std::vector<std::pair<Argument, std::string>>{{"9600", "InputTypeNotCorrectError"},
                                                     {9600.0, "InputTypeNotCorrectError"},
                                                     {Argument(), "InputTypeNotCorrectError"},
                                                     {0, "UARTBaudRateNotSupportError"},
                                                     {std::int64_t{1} << 31, "UARTBaudRateNotSupportError"}}) {
    EXPECT_EQ(failureOf([&] { UARTDevice(ProductId::None, true, rate); }), error) << rate.show();
  }
  EXPECT_TRUE(host.lines().empty());
  UARTDevice device(ProductId::None, false, 1'000'000);
  EXPECT_EQ(device.baudrate(), 1'000'000);
  EXPECT_EQ(UARTDevice(ProductId::None, false).baudrate(), 115200);
  EXPECT_EQ(failureOf([&] { device.connect(4); }), "InputTypeNotCorrectError");
  EXPECT_EQ(failureOf([&] { device.connect(""); }), "UARTConnectionError");
  EXPECT_FALSE(device.commandChannel().connected());
}

TEST(UARTDevice, AVanishedPortIsReportedOnceAndTheNextOneServes) {
  Bench bench;
  bench.device.connect(bench.line.name());
  bench.line.unplug();
  ASSERT_TRUE(eventually([&] { return bench.lost() && !bench.host.failures().empty(); }));
  EXPECT_EQ(failureOf([&] { Link(bench.device).request(kEcho, {}, 60); }), "UARTConnectionError");
  std::this_thread::sleep_for(kGlance);
  EXPECT_EQ(bench.host.failures(), std::vector<std::string>{"UARTConnectionError"});

  bench.line = SerialLine();
  bench.device.connect(bench.line.name());  // puts the lost one away
  auto reply = bench.ask();
  bench.answer({'Q'});
  EXPECT_EQ(reply.get(), "Q");
  bench.device.close();
  EXPECT_EQ(bench.host.failures().size(), 1u);
}

}  // namespace
}  // namespace qvx::test
