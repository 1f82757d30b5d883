#include "transport/uart.h"

#include "tests/cpp/transport/checks.h"
#include "tests/cpp/transport/serial_line.h"

#include <asm/termbits.h>
#include <sys/fsuid.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cmath>
#include <thread>

namespace qvx {
namespace {

using namespace std::chrono_literals;
using test::contains;
using test::failureOf;
using test::nextFrames;
using test::openDescriptors;
using test::SerialLine;

constexpr int kRate = 115200;

class UARTClientTest : public testing::Test {
 protected:
  // Sends until that fails.
  static void flood(UARTClient& client) {
    for (const Bytes frame(1000, 7);;) {
      client.sendPacket(frame);
    }
  }

  SerialLine line;
};

TEST_F(UARTClientTest, CarriesFramesBothWays) {
  UARTClient client;
  EXPECT_EQ(client.socket(), 0);
  EXPECT_TRUE(client.connect(line.name(), kRate));
  EXPECT_GT(client.socket(), 0);
  test::carryFramesBothWays(client, line);
}

TEST_F(UARTClientTest, SetsAnyRateAndRaw8N1) {
  UARTClient client;
  for (const int rate : {300, 9600, 115200, 250'000, 1'234'567, 12'000'000, 2'147'483'647}) {
    client.connect(line.name(), rate);
    termios2 set{};
    ASSERT_EQ(::ioctl(line.fd(), TCGETS2, &set), 0);
    EXPECT_EQ(set.c_ospeed, static_cast<speed_t>(rate));
    EXPECT_EQ(set.c_ispeed, static_cast<speed_t>(rate));
    EXPECT_EQ(set.c_cflag & (CSIZE | PARENB | CSTOPB | CREAD | CLOCAL | CRTSCTS), tcflag_t{CS8 | CREAD | CLOCAL});
    EXPECT_EQ(set.c_lflag, 0u);
    EXPECT_EQ(set.c_oflag & OPOST, 0u);
    EXPECT_EQ(set.c_iflag & (ICRNL | INLCR | IGNCR | ISTRIP | IXON | IXOFF | PARMRK), 0u);
    client.disconnect();
  }
}

TEST_F(UARTClientTest, RefusesWhatIsNoPort) {
  const std::string fifo = testing::TempDir() + "qvx_fifo_" + std::to_string(::getpid());
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const auto before = openDescriptors();
  UARTClient client;
  for (const auto& [port, reason] :
       std::vector<std::pair<std::string, std::string>>{{"", "\"\": not the name"},
                                                        {line.name() + std::string("\0x", 2), "not the name"},
                                                        {"/dev/ttyNobodyHasThis", "No such file"},
                                                        {testing::TempDir(), "not a serial port"},
                                                        {"/proc/version", "not a serial port"},
                                                        {"/dev/null", "not a serial port"},
                                                        {fifo, "not a serial port"}}) {
    const auto text = failureOf(ErrorId::UARTConnectionError, [&] { client.connect(port, kRate); });
    EXPECT_TRUE(contains(text, reason)) << text;
    EXPECT_TRUE(contains(text, errorKind(ErrorId::UARTConnectionError).message)) << text;
  }
  for (const int rate : {0, -9600}) {
    failureOf(ErrorId::UARTBaudRateNotSupportError, [&] { client.connect("", rate); });
  }
  for (const double seconds : {-0.1, std::nan("")}) {
    failureOf(ErrorId::InputDataNotInRangeError, [&] { client.setReadTimeout(seconds); });
    failureOf(ErrorId::InputDataNotInRangeError, [&] { client.setTimeout(seconds); });
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(client.socket(), 0);
  ::unlink(fifo.c_str());
}

TEST_F(UARTClientTest, MissingRightsNameTheRemedy) {
  ASSERT_EQ(::chmod(line.name().c_str(), 0), 0);
  const int user = ::setfsuid(65534);  // root may open everything
  UARTClient client;
  const auto text = failureOf(ErrorId::UARTConnectionError, [&] { client.connect(line.name(), kRate); });
  ::setfsuid(static_cast<uid_t>(user));
  EXPECT_TRUE(contains(text, line.name() + ": no permission")) << text;
  EXPECT_TRUE(contains(text, "dialout")) << text;
}

TEST_F(UARTClientTest, APortHasOneUser) {
  UARTClient first;
  UARTClient second;
  first.connect(line.name(), kRate);
  for (UARTClient* client : {&first, &second}) {
    const auto text = failureOf(ErrorId::UARTConnectionError, [&] { client->connect(line.name(), 300); });
    EXPECT_TRUE(contains(text, client == &first ? "Already connected" : "in use by another program")) << text;
  }
  line.send({1, 2});
  EXPECT_EQ(first.recvPacket(64), (Bytes{1, 2}));
  termios2 set{};
  ASSERT_EQ(::ioctl(line.fd(), TCGETS2, &set), 0);
  EXPECT_EQ(set.c_ospeed, speed_t{kRate});  // the refused ones changed nothing

  // A forked child still holds the descriptor when the parent gives the port back.
  std::array<int, 2> hold{};
  ASSERT_EQ(::pipe(hold.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    char byte = 0;
    ::close(hold[1]);
    ::_exit(static_cast<int>(::read(hold[0], &byte, 1)));
  }
  first.disconnect();
  EXPECT_TRUE(second.connect(line.name(), kRate));
  ::close(hold[0]);
  ::close(hold[1]);
}

TEST_F(UARTClientTest, WithoutAConnectionNothingMoves) {
  UARTClient client;
  for (int round = 0; round < 2; ++round) {
    test::nothingMoves(client, ErrorId::UARTConnectionError);
    client.wake();
    line.send({9});  // while nobody listens
    client.connect(line.name(), kRate);
    EXPECT_EQ(client.recvPacket(64), Bytes{});
    client.disconnect();
    client.disconnect();
    EXPECT_EQ(client.socket(), 0);
  }
}

TEST_F(UARTClientTest, ASilentDeviceIsNoFailure) {
  UARTClient client;
  EXPECT_EQ(client.readTimeout(), 0.05);
  auto begin = Clock::now();
  client.connect(line.name(), kRate);
  EXPECT_EQ(client.recvPacket(64), Bytes{});
  EXPECT_GE(Clock::now() - begin, 50ms);
  client.disconnect();
  client.setReadTimeout(0.1);
  client.connect(line.name(), kRate);
  begin = Clock::now();
  EXPECT_EQ(client.recvAndSplitPacket(64), std::vector<Frame>{});
  EXPECT_GE(Clock::now() - begin, 100ms);

  test::wakeEndsReads(client);
  line.send({1, 2});
  EXPECT_EQ(client.recvPacket(64), (Bytes{1, 2}));
}

TEST_F(UARTClientTest, ADeviceThatTakesNothingLosesTheConnection) {
  UARTClient client(150ms);
  client.connect(line.name(), kRate);
  client.setTimeout(std::nullopt);
  std::thread reader([&] { failureOf(ErrorId::UARTConnectionError, [&] { nextFrames(client); }); });
  failureOf(ErrorId::UARTConnectionError, [&] { flood(client); });
  failureOf(ErrorId::UARTConnectionError, [&] { client.sendPacket(Bytes{1}); });
  reader.join();
  line.send({1, 2, 3});  // a stream that goes on does not hide the loss
  failureOf(ErrorId::UARTConnectionError, [&] { client.recvPacket(64); });
  EXPECT_TRUE(client.connect(line.name(), kRate));
}

}  // namespace
}  // namespace qvx
